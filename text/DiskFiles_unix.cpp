#include "text/DiskFiles.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace DiskFiles {

// Linux moves with renameat2(RENAME_NOREPLACE); a file system that does not know that flag
// (and other systems) get a hard link under the new name, which fails just as surely on an
// existing name, and the temporary name is then dropped.
Move moveNoReplace(const QString& from, const QString& to, QString& reason) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    int err = EINVAL;
#ifdef Q_OS_LINUX
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return Move::Done;
    err = errno;
#endif
    if (err == EINVAL || err == ENOSYS) {
        if (::link(source.constData(), target.constData()) == 0) {
            ::unlink(source.constData());
            return Move::Done;
        }
        err = errno;
    }
    if (err == EEXIST)
        return Move::TargetExists;
    reason = QString::fromLocal8Bit(std::strerror(err));
    return Move::Failed;
}

// A Unix rename replaces a file whoever has it open.
bool replace(const QString& from, const QString& to, QString& reason) {
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    reason = QString::fromLocal8Bit(std::strerror(errno));
    return false;
}

QString whyNotReplaced(const QString&, const QString& reason) {
    return reason;
}

void hideWhileWritten(const QString&) {}

bool isHidden(const QString&) {
    return false;
}

QString syncToDisk(QFileDevice& file) {
    if (::fsync(file.handle()) != 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    return {};
}

} // namespace DiskFiles
