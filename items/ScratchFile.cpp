#include "items/ScratchFile.h"

#include "text/BackgroundWriter.h"
#include "text/DiskFiles.h"

#include <QFileInfo>

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
    if (!DiskFiles::openUnnamed(m_file, folder(), QIODevice::Unbuffered)) {
        if (!DiskFiles::openUnique(m_file, folder(), prefix(), QIODevice::Unbuffered))
            return m_file.errorString();
        m_tempName = m_file.fileName();
    }
    m_writer = std::make_unique<BackgroundWriter>(m_file);
    return {};
}

QIODevice& ScratchFile::file() {
    return *m_writer;
}

QString ScratchFile::place() {
    if (const QString reason = m_writer->finish(); !reason.isEmpty())
        return reason;
    // A file without a name gets a temporary one first: a name can't replace another.
    for (int attempt = 0; attempt < 100 && m_tempName.isEmpty(); ++attempt) {
        const QString name = DiskFiles::temporaryName(folder(), prefix());
        QString reason;
        switch (DiskFiles::nameUnnamed(m_file, name, reason)) {
        case DiskFiles::Move::Done:
            m_tempName = name;
            break;
        case DiskFiles::Move::TargetExists:
            break;
        case DiskFiles::Move::Failed:
            return reason;
        }
    }
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
