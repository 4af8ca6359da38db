// The volumes as Windows shows them: one per drive letter, named as Explorer names it.

#include "workspace/Volumes.h"

#include <QDir>

#include <windows.h>

#include <string>

namespace {

DriveKind kindOf(UINT driveType) {
    switch (driveType) {
    case DRIVE_REMOVABLE:
        return DriveKind::Removable;
    case DRIVE_FIXED:
        return DriveKind::Fixed;
    case DRIVE_REMOTE:
        return DriveKind::Network;
    case DRIVE_CDROM:
        return DriveKind::CdRom;
    case DRIVE_RAMDISK:
        return DriveKind::RamDisk;
    default:
        return DriveKind::Unknown;
    }
}

} // namespace

Volume describeVolume(const QString& rootPath) {
    const std::wstring nativeRoot = QDir::toNativeSeparators(rootPath).toStdWString();
    wchar_t name[MAX_PATH + 1] = {};
    // Fails when there is no disk in the drive (or a network drive is not connected); such a
    // drive is listed without looking into it, and the drive list says what is wrong when it
    // is chosen.
    const bool ready = GetVolumeInformationW(nativeRoot.c_str(), name, MAX_PATH + 1, nullptr,
                                             nullptr, nullptr, nullptr, 0) != 0;
    Volume volume = ready ? volumeAt(rootPath, {}) : Volume{rootPath, {}, {}, {}};
    volume.label = driveLabel(rootPath.left(2), QString::fromWCharArray(name),
                              kindOf(GetDriveTypeW(nativeRoot.c_str())), ready);
    return volume;
}

// Process-wide, as Windows advises every program to set it at start.
void quietNoDiskErrors() {
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);
}

// The letters in use, from A: to Z:, from a bit mask the system keeps: no drive is asked
// anything. Each root is "C:/" as Qt writes it.
QList<Volume> mountedRoots() {
    QList<Volume> volumes;
    const DWORD letters = GetLogicalDrives();
    for (int i = 0; i < 26; ++i) {
        if (letters & (DWORD(1) << i)) {
            const QString letter = QChar(u'A' + i) + QStringLiteral(":");
            volumes.append(Volume{letter + u'/', letter, {}, {}});
        }
    }
    return volumes;
}
