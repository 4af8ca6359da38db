#include "cli/Console.h"

#include <QByteArray>

#include <cstdio>

namespace Console {

// A Unix terminal takes the bytes as the locale says, UTF-8 on every current system.
void write(Stream stream, QByteArrayView utf8) {
    std::FILE* file = stream == Stream::Output ? stdout : stderr;
    std::fwrite(utf8.data(), 1, size_t(utf8.size()), file);
    std::fflush(file);
}

bool hasDisplay() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb") && !platform.startsWith("wayland"))
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// A terminal, a file or the session's journal.
bool hasStandardError() {
    return true;
}

} // namespace Console
