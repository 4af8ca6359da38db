#include "workspace/Volumes.h"

#include "text/CodePage.h"
#include "workspace/SystemPaths.h"
#include "workspace/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

// GarminDevice.xml is a few kilobytes; anything far larger is not the unit's file.
constexpr qint64 maxDeviceFileSize = 4 * 1024 * 1024;

bool isUnder(const QString& path, const QString& folder) {
    const Qt::CaseSensitivity pathCase = SystemPaths::pathCase();
    if (path.compare(folder, pathCase) == 0)
        return true;
    const QString prefix = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    return path.startsWith(prefix, pathCase);
}

QString cleanAbsolute(const QString& path) {
    return QDir::cleanPath(QDir(path).absolutePath());
}

QString modelFromReader(QXmlStreamReader& xml) {
    // Only <Device><Model><Description>: the file has other Description elements (of data
    // types and extensions) that do not name the unit.
    QStringList open;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const QString name = xml.name().toString();
            if (name == QLatin1String("Description") && open.size() == 2 &&
                open[0] == QLatin1String("Device") && open[1] == QLatin1String("Model")) {
                const QString text = xml.readElementText(QXmlStreamReader::IncludeChildElements);
                return xml.hasError() ? QString() : text.simplified();
            }
            open.append(name);
        } else if (token == QXmlStreamReader::EndElement) {
            if (!open.isEmpty())
                open.removeLast();
        }
    }
    return {};
}

// The names Explorer gives a drive with no label.
QString kindName(DriveKind kind) {
    switch (kind) {
    case DriveKind::Removable:
        return QStringLiteral("Removable Disk");
    case DriveKind::Fixed:
        return QStringLiteral("Local Disk");
    case DriveKind::Network:
        return QStringLiteral("Network Drive");
    case DriveKind::CdRom:
        return QStringLiteral("CD Drive");
    case DriveKind::RamDisk:
        return QStringLiteral("RAM Disk");
    case DriveKind::Unknown:
        break;
    }
    return QStringLiteral("Drive");
}

} // namespace

bool isUserVolume(const QString& rootPath, const QByteArray& fileSystemType) {
    if (rootPath == QLatin1String("/"))
        return true;

    static const QList<QByteArray> pseudoTypes = {
        "autofs",     "binfmt_misc", "bpf",       "cgroup",    "cgroup2",  "configfs",
        "debugfs",    "devfs",       "devpts",    "devtmpfs",  "efivarfs", "fuse.gvfsd-fuse",
        "fuse.lxcfs", "fuse.portal", "fusectl",   "hugetlbfs", "mqueue",   "nfsd",
        "nsfs",       "overlay",     "proc",      "pstore",    "ramfs",    "rootfs",
        "rpc_pipefs", "securityfs",  "selinuxfs", "squashfs",  "sysfs",    "tmpfs",
        "tracefs"};
    if (pseudoTypes.contains(fileSystemType))
        return false;

    // Places the system keeps for itself. Removable media under /run/media (where udisks
    // mounts them on several distributions) are a person's own.
    if (isUnder(rootPath, QStringLiteral("/run/media")))
        return true;
    static const QStringList systemFolders = {QStringLiteral("/proc"),
                                              QStringLiteral("/sys"),
                                              QStringLiteral("/dev"),
                                              QStringLiteral("/run"),
                                              QStringLiteral("/var/run"),
                                              QStringLiteral("/var/lock"),
                                              QStringLiteral("/snap"),
                                              QStringLiteral("/var/snap"),
                                              QStringLiteral("/var/lib/docker"),
                                              QStringLiteral("/var/lib/containers")};
    return std::none_of(systemFolders.begin(), systemFolders.end(),
                        [&](const QString& folder) { return isUnder(rootPath, folder); });
}

Volume volumeAt(const QString& rootPath, const QString& name) {
    Volume volume;
    volume.rootPath = rootPath;
    const QString shown = QDir::toNativeSeparators(rootPath);
    volume.label = name.isEmpty() ? shown : name + QStringLiteral(" (") + shown + u')';

    const QString garmin = Workspace::findEntry(rootPath, QStringLiteral("Garmin"));
    if (!QFileInfo(garmin).isDir())
        return volume;

    const QString gpx = Workspace::findEntry(garmin, QStringLiteral("GPX"));
    if (QFileInfo(gpx).isDir())
        volume.gpxFolder = gpx;

    QFile device(Workspace::findEntry(garmin, QStringLiteral("GarminDevice.xml")));
    if (device.open(QIODevice::ReadOnly) && device.size() <= maxDeviceFileSize)
        volume.garminModel = garminModelFrom(device.readAll());
    return volume;
}

QString driveLabel(const QString& letter, const QString& volumeName, DriveKind kind, bool ready) {
    // A drive that is not ready is not looked into: its letter is all there is to show.
    if (!ready) {
        return letter + (kind == DriveKind::Network ? QStringLiteral(" (not connected)")
                                                    : QStringLiteral(" (no disk)"));
    }
    return (volumeName.isEmpty() ? kindName(kind) : volumeName) + QStringLiteral(" (") + letter +
           u')';
}

QList<Volume> mountedVolumes() {
    QList<Volume> volumes;
    for (const Volume& root : mountedRoots())
        volumes.append(describeVolume(root.rootPath));
    return volumes;
}

Volume volumeOf(const QString& path, const QList<Volume>& volumes) {
    const QString target = cleanAbsolute(path);
    Volume best;
    qsizetype bestLength = -1;
    for (const Volume& volume : volumes) {
        const QString root = QDir::cleanPath(volume.rootPath);
        if (root.size() > bestLength && isUnder(target, root)) {
            best = volume;
            bestLength = root.size();
        }
    }
    return best;
}

QString garminModelFrom(QByteArrayView garminDeviceXml) {
    const QByteArray bytes(garminDeviceXml.data(), garminDeviceXml.size());
    QXmlStreamReader xml(bytes);
    const QString model = modelFromReader(xml);
    if (!model.isEmpty() || xml.error() != QXmlStreamReader::NotWellFormedError)
        return model;
    // Some units write their model name in their 8-bit code page under a UTF-8 declaration;
    // read such a file byte for byte.
    QXmlStreamReader retry(CodePage::toUnicode(bytes));
    return modelFromReader(retry);
}

QString unreadableReason(const QString& rootPath) {
    const QFileInfo info(rootPath);
    if (!info.exists())
        return QStringLiteral("it is not there any more (was the unit unplugged?)");
    if (!info.isDir())
        return QStringLiteral("it is not a folder");
    if (!QDir(rootPath).isReadable())
        return QStringLiteral("permission to read it is denied");
    return {};
}
