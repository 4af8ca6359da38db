#include "workspace/Workspace.h"

#include "text/DiskFiles.h"
#include "workspace/NameOrder.h"
#include "workspace/SystemPaths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace Workspace {

namespace {

// Set, it names the workspace instead of the fixed root: a test's temporary folder, or a
// workspace on another drive. Read at every call, so that a test can change it.
QString chosenRoot() {
    const QString chosen = qEnvironmentVariable("TARNWICK_WORKSPACE");
    return chosen.isEmpty() ? QString() : QDir::cleanPath(QDir::fromNativeSeparators(chosen));
}

} // namespace

QString rootPath() {
    const QString chosen = chosenRoot();
    return chosen.isEmpty() ? SystemPaths::defaultRoot() : chosen;
}

QString displayRoot() {
    const QString chosen = chosenRoot();
    return chosen.isEmpty() ? SystemPaths::defaultRootShown() : displayPath(chosen);
}

QString displayPath(const QString& path) {
    return SystemPaths::shown(path);
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
    // The name as the folder holds it: a file system that ignores case (Windows, a unit's FAT)
    // finds "Garmin" as "GARMIN" too, but the name shown and compared is the one on the disk.
    // The exact name wins where a folder holds both.
    const QStringList entries =
        dir.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    if (entries.contains(name))
        return dir.filePath(name);
    for (const QString& entry : entries) {
        if (entry.compare(name, Qt::CaseInsensitive) == 0)
            return dir.filePath(entry);
    }
    return dir.filePath(name);
}

void MakeFolder(const QString& path) {
    QDir().mkdir(path);
}

qsizetype removeLeftovers(const QDateTime& now) {
    static const QStringList prefixes = {QStringLiteral("TEMP.TMP."),
                                         QStringLiteral(".tarnwick-copy-"),
                                         QStringLiteral(".tarnwick-export-")};
    static const QStringList patterns = [] {
        QStringList list;
        for (const QString& prefix : prefixes)
            list.append(prefix + u'*');
        return list;
    }();
    const QDateTime cutoff = now.addSecs(-leftoverAge);
    const QDir root(rootPath());
    qsizetype removed = 0;
    for (const QString& device : deviceNames()) {
        const QDir deviceFolder(root.filePath(device));
        QStringList folders{deviceFolder.path()};
        for (const QString& sub : deviceFolder.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            folders.append(deviceFolder.filePath(sub));
        // Only names that begin as the program's own are looked at further: an output folder
        // may hold thousands of exports. (The patterns ignore letter case.)
        for (const QString& folder : std::as_const(folders)) {
            const QDir dir(folder);
            for (const QString& name :
                 dir.entryList(patterns, QDir::Files | QDir::Hidden | QDir::System)) {
                const bool ours = std::any_of(prefixes.begin(), prefixes.end(), [&](const auto& p) {
                    return DiskFiles::isTemporaryName(name, p);
                });
                const QString path = dir.filePath(name);
                // Windows refuses to remove a file that a running export still has open.
                if (ours && QFileInfo(path).lastModified() <= cutoff && QFile::remove(path))
                    ++removed;
            }
        }
    }
    return removed;
}

} // namespace Workspace
