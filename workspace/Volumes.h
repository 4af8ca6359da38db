#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>

// The volumes a source file can be chosen from: the root file system, separately mounted
// folders such as /home, and removable media such as a nüvi plugged in over USB. On Windows,
// the drive letters.
struct Volume {
    // The mount point, e.g. "/" or "/media/anna/GARMIN"; on Windows the drive's root, "E:/".
    QString rootPath;
    // What a person recognises: the volume's label (or its device) and its mount point; on
    // Windows the drive as Explorer names it, "GARMIN (E:)".
    QString label;
    // The unit's model description from Garmin/GarminDevice.xml, or empty.
    QString garminModel;
    // The unit's Garmin/GPX folder when the volume has one, else empty.
    QString gpxFolder;
};

// The mounted volumes a person would choose from, the root file system first, the others
// by mount point. Pseudo file systems (proc, sysfs, tmpfs, cgroups, snap images, container
// layers under /run ...) are left out. On Windows, the drive letters from A: to Z:, a drive
// with no disk in it included.
QList<Volume> mountedVolumes();

// The same volumes with their mount points only, without looking into them: quick enough to
// call whenever a folder list changes folder. Each is labelled by its mount point, on Windows
// by its drive letter ("E:"), until it is described.
QList<Volume> mountedRoots();

// Describes the volume mounted at rootPath as mountedVolumes() does: its label, and the Garmin
// unit on it. This asks the drive itself, which may take seconds (a network drive that was
// disconnected, a DVD spinning up), so a window asks it on a thread of its own.
Volume describeVolume(const QString& rootPath);

// The kinds of drive Windows tells apart; a drive with no label is named by its kind.
enum class DriveKind { Removable, Fixed, Network, CdRom, RamDisk, Unknown };

// A drive letter ("E:") as Windows' own dialogs show it: its volume's label and the letter,
// "GARMIN (E:)"; with no label, the kind of drive, "Removable Disk (E:)"; with no disk in it,
// the letter alone, "E: (no disk)".
QString driveLabel(const QString& letter, const QString& volumeName, DriveKind kind, bool ready);

// Whether a mount belongs in the volume list. The root file system always does.
bool isUserVolume(const QString& rootPath, const QByteArray& fileSystemType);

// Describes the volume mounted at rootPath, labelled with the name and the root as the
// system writes paths: looks for a Garmin unit's folders on it, whose names the unit writes in
// any case ("Garmin/GPX", "GARMIN/gpx").
Volume volumeAt(const QString& rootPath, const QString& name);

// The volume that holds the path: the one with the longest mount point that is the path or
// one of its ancestors; on Windows, where a root is a drive letter, the path's drive letter
// in either case. A default Volume when none does, as for a network path (//server/share).
Volume volumeOf(const QString& path, const QList<Volume>& volumes);

// The model description of a Garmin unit from its GarminDevice.xml
// (<Device><Model><Description>nüvi 200W</Description>...), or empty when the text has none.
QString garminModelFrom(QByteArrayView garminDeviceXml);

// Makes a read of a drive with no disk in it (an empty card reader or CD drive) fail, where
// Windows would bring up its "There is no disk in the drive" box, which the program would then
// wait on; the drive list says what is wrong instead. Nothing to do elsewhere.
void quietNoDiskErrors();

// Why a volume's root can't be listed, or empty when it can.
QString unreadableReason(const QString& rootPath);
