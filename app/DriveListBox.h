#pragma once

#include "workspace/Volumes.h"

#include <QComboBox>
#include <QHash>
#include <QList>
#include <QString>

// The drive list: the mounted volumes, one of them selected. Each volume remembers the folder
// last shown on it in this run, so that coming back to a drive comes back to that folder.
class DriveListBox : public QComboBox {
    Q_OBJECT
public:
    explicit DriveListBox(QWidget* parent = nullptr);

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

    // Reads the mounted volumes again (a unit was plugged in or out), keeping the selection
    // where the selected volume is still mounted.
    void refresh();
    // Lists the given volumes instead of the mounted ones (tests use made-up volumes).
    void setVolumes(const QList<Volume>& volumes);
    QList<Volume> volumes() const { return m_volumes; }
    // Lists volumes read elsewhere (a watch that noticed a change), as refresh() would.
    void updateVolumes(const QList<Volume>& volumes);

    void showPopup() override;

signals:
    void Change();

private:
    void fill();
    qsizetype indexOfRoot(const QString& root) const;
    void selectIndex(qsizetype index);
    void userPicked(int index);

    QList<Volume> m_volumes;
    QString m_drive;
    QHash<QString, QString> m_folders;
    bool m_useMounted = true;
};
