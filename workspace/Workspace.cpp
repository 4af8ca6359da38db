#include "workspace/Workspace.h"

#include "workspace/NameOrder.h"

#include <QDir>
#include <QFileInfo>

namespace Workspace {

QString rootPath() {
#ifdef Q_OS_WIN
    return QStringLiteral("C:/GPX");
#else
    return QDir::cleanPath(QDir::homePath() + QStringLiteral("/GPX"));
#endif
}

QString displayRoot() {
#ifdef Q_OS_WIN
    return QStringLiteral("C:\\GPX");
#else
    return QStringLiteral("~/GPX");
#endif
}

QString displayPath(const QString& path) {
#ifndef Q_OS_WIN
    const QString home = QDir::cleanPath(QDir::homePath());
    if (home != QStringLiteral("/")) {
        if (path == home)
            return QStringLiteral("~");
        if (path.startsWith(home + QLatin1Char('/')))
            return QLatin1Char('~') + path.mid(home.size());
    }
#endif
    return QDir::toNativeSeparators(path);
}

QStringList deviceNames() {
    QStringList names =
        QDir(rootPath()).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
    // A folder whose name begins with a dot belongs to some tool (a file-sync tool's
    // ".stfolder"), not to a unit.
    names.removeIf([](const QString& name) { return name.startsWith(QLatin1Char('.')); });
    NameOrder::sortNaturally(names);
    return names;
}

QString findEntry(const QString& folder, const QString& name) {
    const QDir dir(folder);
    if (QFileInfo::exists(dir.filePath(name)))
        return dir.filePath(name);
    const QStringList entries =
        dir.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    for (const QString& entry : entries) {
        if (entry.compare(name, Qt::CaseInsensitive) == 0)
            return dir.filePath(entry);
    }
    return dir.filePath(name);
}

void MakeFolder(const QString& path) {
    QDir().mkdir(path);
}

} // namespace Workspace
