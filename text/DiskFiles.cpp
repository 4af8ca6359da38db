#include "text/DiskFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

namespace DiskFiles {

QString heldByAnotherProgram() {
    return QStringLiteral("Another program is using the file; close it and try again.");
}

bool openUnique(QFile& file, const QString& folder, const QString& prefix) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name =
            prefix + QStringLiteral("%1.tmp").arg(QRandomGenerator::global()->generate64(), 16, 16,
                                                  QLatin1Char('0'));
        file.setFileName(QDir(folder).filePath(name));
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            return true;
        if (!QFileInfo::exists(file.fileName()))
            break;
    }
    return false;
}

} // namespace DiskFiles
