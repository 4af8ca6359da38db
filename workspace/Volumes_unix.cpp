// The volumes as Linux and other Unix systems mount them.

#include "workspace/Volumes.h"

#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>

Volume describeVolume(const QString& rootPath) {
    const QStorageInfo storage(rootPath);
    QString name = storage.name();
    if (name.isEmpty())
        name = QString::fromLocal8Bit(storage.device());
    // A volume that is not ready (an empty card reader) is listed without looking into it;
    // the drive list says what is wrong when it is chosen.
    return storage.isReady() ? volumeAt(rootPath, name) : Volume{rootPath, name, {}, {}};
}

void quietNoDiskErrors() {}

// The user volumes as the system reports them, by mount point, the root file system first.
QList<Volume> mountedRoots() {
    const QString systemRoot = QStorageInfo::root().rootPath();
    QStringList roots{systemRoot};
    for (const QStorageInfo& storage : QStorageInfo::mountedVolumes()) {
        if (isUserVolume(storage.rootPath(), storage.fileSystemType()))
            roots.append(storage.rootPath());
    }
    roots.sort();
    roots.removeDuplicates(); // a mount point mounted over
    QList<Volume> volumes;
    for (const QString& root : std::as_const(roots)) {
        // Containers bind single files (/etc/hosts) as mounts; only folders are volumes.
        if (QFileInfo(root).isDir())
            volumes.append(Volume{root, root, {}, {}});
    }
    std::stable_partition(volumes.begin(), volumes.end(),
                          [&](const Volume& volume) { return volume.rootPath == systemRoot; });
    return volumes;
}
