#include "items/ScratchFile.h"

#include "text/BackgroundWriter.h"
#include "text/DiskFiles.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>

#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <unistd.h>
#endif

ScratchFile::ScratchFile(const QString& path)
    : m_path(path) {}

ScratchFile::~ScratchFile() {
    m_writer.reset();
    m_file.close();
    if (!m_tempName.isEmpty() && !m_placed)
        QFile::remove(m_tempName);
}

QString ScratchFile::open() {
    if (QFileInfo(m_path).isDir())
        return QStringLiteral("Filename refers to a directory");
        // Unbuffered: the scanner writes large blocks, and a failed write shows at once.
#ifdef Q_OS_LINUX
    const auto mode = QIODevice::WriteOnly | QIODevice::Unbuffered;
    const int fd =
        ::open(QFile::encodeName(folder()).constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (fd >= 0) {
        if (m_file.open(fd, mode, QFileDevice::AutoCloseHandle)) {
            m_writer = std::make_unique<BackgroundWriter>(m_file);
            return {};
        }
        ::close(fd);
    }
#endif
    if (!DiskFiles::openUnique(m_file, folder(), prefix(), QIODevice::Unbuffered))
        return m_file.errorString();
    m_tempName = m_file.fileName();
    m_writer = std::make_unique<BackgroundWriter>(m_file);
    return {};
}

QIODevice& ScratchFile::file() {
    return *m_writer;
}

QString ScratchFile::place() {
    if (const QString reason = m_writer->finish(); !reason.isEmpty())
        return reason;
#ifdef Q_OS_LINUX
    if (m_tempName.isEmpty()) {
        const QByteArray handle = "/proc/self/fd/" + QByteArray::number(m_file.handle());
        for (int attempt = 0; attempt < 100 && m_tempName.isEmpty(); ++attempt) {
            const QString name = DiskFiles::temporaryName(folder(), prefix());
            if (::linkat(AT_FDCWD, handle.constData(), AT_FDCWD,
                         QFile::encodeName(name).constData(), AT_SYMLINK_FOLLOW) == 0)
                m_tempName = name;
            else if (errno != EEXIST)
                return QString::fromLocal8Bit(std::strerror(errno));
        }
    }
#endif
    m_file.close();
    if (m_file.error() != QFileDevice::NoError)
        return m_file.errorString();
    QString reason;
    if (!DiskFiles::replace(m_tempName, m_path, reason))
        return reason;
    m_placed = true;
    return {};
}

QString ScratchFile::folder() const {
    return QFileInfo(m_path).absolutePath();
}

QString ScratchFile::prefix() const {
    return QFileInfo(m_path).fileName() + QLatin1Char('.');
}
