#include "text/WriteError.h"

#include <QFile>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <cstring>
#include <unistd.h>
#endif

QString writeErrorOf(QFileDevice& file) {
    const QString told = file.errorString();
    const bool knowsWhy = file.error() != QFileDevice::NoError && told != QFile().errorString();
    if (knowsWhy)
        return told;
#ifdef Q_OS_UNIX
    const int handle = file.handle();
    const char probe = 0;
    if (handle >= 0 && ::write(handle, &probe, 1) < 0)
        return QString::fromLocal8Bit(std::strerror(errno));
#endif
    return told;
}
