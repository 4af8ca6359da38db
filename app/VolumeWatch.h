#pragma once

#include <QObject>
#include <QStringList>

class DriveListBox;
class QTimer;

// Notices a unit plugged in or pulled out while the program runs: every couple of seconds
// the mount points (on Windows the drive letters in use, which asks no drive) are compared
// with the last ones, and the drive list is filled again only when they changed.
class VolumeWatch : public QObject {
    Q_OBJECT
public:
    explicit VolumeWatch(DriveListBox* drives);

    // Compares the mount points once; true when they changed.
    bool poll();

private:
    DriveListBox* m_drives;
    QStringList m_last;
    QTimer* m_timer;
};
