#include "text/DiskFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

namespace DiskFiles {

QString heldByAnotherProgram() {
    return QStringLiteral("Another program is using the file; close it and try again.");
}

QString temporaryName(const QString& folder, const QString& prefix) {
    return QDir(folder).filePath(
        prefix + QStringLiteral("%1.tmp").arg(QRandomGenerator::global()->generate64(), 16, 16,
                                              QLatin1Char('0')));
}

bool isTemporaryName(const QString& fileName, const QString& prefix) {
    static const QRegularExpression randomPart(QStringLiteral("^[0-9a-f]{16}\\.tmp$"),
                                               QRegularExpression::CaseInsensitiveOption);
    return fileName.startsWith(prefix, Qt::CaseInsensitive) &&
           randomPart.match(QStringView(fileName).mid(prefix.size())).hasMatch();
}

bool openUnique(QFile& file, const QString& folder, const QString& prefix,
                QIODevice::OpenMode extra) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        file.setFileName(temporaryName(folder, prefix));
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly | extra)) {
            hideWhileWritten(file.fileName());
            return true;
        }
        if (!QFileInfo::exists(file.fileName()))
            break;
    }
    return false;
}

} // namespace DiskFiles
