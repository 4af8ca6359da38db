#include "cli/Console.h"

#include <QString>

#include <cstdio>

#include <windows.h>

namespace Console {

// A console is written UTF-16 text, which it shows whatever its code page; the C runtime's
// own writes to a console may pass the bytes through its locale's code page on the way. A
// file or a pipe gets the UTF-8 bytes, lines ending in CR LF as Windows programs write them.
void write(Stream stream, QByteArrayView utf8) {
    std::FILE* file = stream == Stream::Output ? stdout : stderr;
    const HANDLE handle =
        GetStdHandle(stream == Stream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode)) {
        std::fflush(file);
        const std::wstring text = QString::fromUtf8(utf8).toStdWString();
        for (size_t done = 0; done < text.size();) {
            DWORD written = 0;
            if (!WriteConsoleW(handle, text.data() + done, DWORD(text.size() - done), &written,
                               nullptr) ||
                written == 0)
                return;
            done += written;
        }
        return;
    }
    std::fwrite(utf8.data(), 1, size_t(utf8.size()), file);
    std::fflush(file);
}

bool hasDisplay() {
    return true;
}

bool hasStandardError() {
    const HANDLE handle = GetStdHandle(STD_ERROR_HANDLE);
    return handle != nullptr && handle != INVALID_HANDLE_VALUE &&
           GetFileType(handle) != FILE_TYPE_UNKNOWN;
}

} // namespace Console
