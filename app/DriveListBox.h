#pragma once

#include "workspace/DriveDetails.h"
#include "workspace/Volumes.h"

#include <QComboBox>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>

// The drive list: the mounted volumes, one of them selected. Each volume remembers the folder
// last shown on it in this run, so that coming back to a drive comes back to that folder.
// The list shows each drive by its root at once and by its label when the drive has answered:
// the drives are asked on threads of their own, and the window never waits for one.
class DriveListBox : public QComboBox {
    Q_OBJECT
public:
    using Roots = std::function<QList<Volume>()>;

    // roots lists the mounted volumes quickly, without asking the drives; describe asks a
    // drive for its details, off the window's thread (tests give stand-ins for both).
    explicit DriveListBox(QWidget* parent = nullptr, Roots roots = mountedRoots,
                          DriveDetails::Describe describe = describeVolume);

    // The root path of the selected volume; empty only when no volume is listed.
    QString Drive() const;
    // Selects the volume that holds the path. Emits Change() before it returns when that
    // selects another volume.
    void setDrive(const QString& path);

    // The folder to show on a drive: the one last shown there in this run (or its nearest
    // folder that still exists), else a Garmin unit's GPX folder, else the drive's root.
    QString currentFolderOf(const QString& drive) const;
    // Records the folder now shown, for its drive.
    void rememberFolder(const QString& folder);

    // Lists the mounted volumes again (a unit was plugged in or out), keeping the selection
    // where the selected volume is still mounted, and asks each drive for its details anew.
    void refresh();
    // Lists the given volumes instead of the mounted ones, as they are (tests use made-up
    // volumes); no drive is asked.
    void setVolumes(const QList<Volume>& volumes);
    QList<Volume> volumes() const { return m_volumes; }
    // The mounted volumes' roots as they are now, without asking the drives.
    QList<Volume> readRoots() const;
    // Lists the volumes of roots read elsewhere (a watch that noticed a change), as refresh()
    // would.
    void updateRoots(const QList<Volume>& roots);

    void showPopup() override;

signals:
    void Change();

private:
    void fill();
    void showVolume(qsizetype index);
    void described(const Volume& volume);
    qsizetype indexOfRoot(const QString& root) const;
    void selectIndex(qsizetype index);
    void userPicked(int index);

    Roots m_roots;
    DriveDetails* m_details;
    // The latest details of each listed drive, by root.
    QHash<QString, Volume> m_described;
    QList<Volume> m_volumes;
    QString m_drive;
    QHash<QString, QString> m_folders;
    bool m_useMounted = true;
};
