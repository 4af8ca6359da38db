#pragma once

#include "workspace/Volumes.h"

#include <QObject>
#include <QStringList>

#include <functional>

class DriveListBox;
class QTimer;

// Notices a unit plugged in or pulled out while the program runs: every couple of seconds
// the mount points are compared with the last ones, and the drive list is filled again only
// when they changed.
class VolumeWatch : public QObject {
    Q_OBJECT
public:
    // roots lists the mount points cheaply; volumes describes them fully (looking for a
    // Garmin unit on each) and is asked only after a change.
    explicit VolumeWatch(DriveListBox* drives, std::function<QList<Volume>()> roots = mountedRoots,
                         std::function<QList<Volume>()> volumes = mountedVolumes);

    // Compares the mount points once; true when they changed.
    bool poll();

private:
    DriveListBox* m_drives;
    std::function<QList<Volume>()> m_roots;
    std::function<QList<Volume>()> m_volumes;
    QStringList m_last;
    QTimer* m_timer;
};
