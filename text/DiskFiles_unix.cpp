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

bool openUnnamed(QFile& file, const QString& folder, QIODevice::OpenMode extra) {
#ifdef Q_OS_LINUX
    const int fd =
        ::open(QFile::encodeName(folder).constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (fd >= 0) {
        if (file.open(fd, QIODevice::WriteOnly | extra, QFileDevice::AutoCloseHandle))
            return true;
        ::close(fd);
    }
#else
    Q_UNUSED(file);
    Q_UNUSED(folder);
    Q_UNUSED(extra);
#endif
    return false;
}

Move nameUnnamed(QFileDevice& file, const QString& name, QString& reason) {
    int err = ENOTSUP;
#ifdef Q_OS_LINUX
    const QByteArray handle = "/proc/self/fd/" + QByteArray::number(file.handle());
    if (::linkat(AT_FDCWD, handle.constData(), AT_FDCWD, QFile::encodeName(name).constData(),
                 AT_SYMLINK_FOLLOW) == 0)
        return Move::Done;
    err = errno;
#else
    Q_UNUSED(file);
    Q_UNUSED(name);
#endif
    if (err == EEXIST)
        return Move::TargetExists;
    reason = QString::fromLocal8Bit(std::strerror(err));
    return Move::Failed;
}

// The whole file (offset 0, length 0): pages already on their way are left alone, and the call
// does not wait. A failure shows in the sync, which still follows.
void startWriteback(QFileDevice& file) {
#ifdef Q_OS_LINUX
    ::sync_file_range(file.handle(), 0, 0, SYNC_FILE_RANGE_WRITE);
#else
    Q_UNUSED(file);
#endif
}

QString whyWriteStopped(QFileDevice& file) {
    const int handle = file.handle();
    const char probe = 0;
    if (handle >= 0 && ::write(handle, &probe, 1) < 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    return {};
}

QString syncToDisk(QFileDevice& file) {
    if (::fsync(file.handle()) != 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    return {};
}

} // namespace DiskFiles
