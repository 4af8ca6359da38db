// The volumes as Linux and other Unix systems mount them.

#include "workspace/Volumes.h"

#include <QFileInfo>
#include <QMap>
#include <QStorageInfo>

#include <algorithm>

namespace {

// The user volumes as the system reports them, the root file system first. A mount point
// can be mounted over; the last mount is the one that shows.
QList<QStorageInfo> userMounts() {
    QMap<QString, QStorageInfo> mounts;
    for (const QStorageInfo& storage : QStorageInfo::mountedVolumes()) {
        if (isUserVolume(storage.rootPath(), storage.fileSystemType()))
            mounts.insert(storage.rootPath(), storage);
    }
    const QStorageInfo systemRoot = QStorageInfo::root();
    mounts.insert(systemRoot.rootPath(), systemRoot);

    QList<QStorageInfo> result;
    for (const QStorageInfo& storage : std::as_const(mounts)) {
        // Containers bind single files (/etc/hosts) as mounts; only folders are volumes.
        if (QFileInfo(storage.rootPath()).isDir())
            result.append(storage);
    }
    std::stable_partition(result.begin(), result.end(), [&](const QStorageInfo& storage) {
        return storage.rootPath() == systemRoot.rootPath();
    });
    return result;
}

} // namespace

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

QList<Volume> mountedRoots() {
    QList<Volume> volumes;
    for (const QStorageInfo& storage : userMounts())
        volumes.append(Volume{storage.rootPath(), storage.rootPath(), {}, {}});
    return volumes;
}
