#include "app/DriveListBox.h"

#include "dialogs/Dialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>

DriveListBox::DriveListBox(QWidget* parent)
    : QComboBox(parent) {
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(this, &QComboBox::activated, this, &DriveListBox::userPicked);
    connect(this, &QComboBox::currentIndexChanged, this,
            [this](int index) { setToolTip(itemData(index, Qt::ToolTipRole).toString()); });
    refresh();
}

QString DriveListBox::Drive() const {
    return m_drive;
}

void DriveListBox::setDrive(const QString& path) {
    const Volume volume = volumeOf(path, m_volumes);
    if (volume.rootPath.isEmpty())
        return;
    const QString root = QDir::cleanPath(volume.rootPath);
    selectIndex(indexOfRoot(root));
    if (root == m_drive)
        return;
    m_drive = root;
    emit Change();
}

QString DriveListBox::currentFolderOf(const QString& drive) const {
    const qsizetype index = indexOfRoot(QDir::cleanPath(drive));
    const Volume volume = index >= 0 ? m_volumes[index] : volumeOf(drive, m_volumes);
    if (volume.rootPath.isEmpty())
        return drive;
    const QString root = QDir::cleanPath(volume.rootPath);

    // A folder shown earlier may have been removed since; its nearest ancestor that is left
    // stands in for it.
    QString folder = m_folders.value(root);
    while (folder.size() > root.size() && !QFileInfo(folder).isDir())
        folder = QFileInfo(folder).path();
    if (!folder.isEmpty() && QFileInfo(folder).isDir())
        return folder;

    if (!volume.gpxFolder.isEmpty() && QFileInfo(volume.gpxFolder).isDir())
        return volume.gpxFolder;
    return root;
}

void DriveListBox::rememberFolder(const QString& folder) {
    const Volume volume = volumeOf(folder, m_volumes);
    if (!volume.rootPath.isEmpty())
        m_folders.insert(QDir::cleanPath(volume.rootPath), QDir::cleanPath(folder));
}

void DriveListBox::refresh() {
    if (m_useMounted)
        m_volumes = mountedVolumes();
    fill();
}

void DriveListBox::setVolumes(const QList<Volume>& volumes) {
    m_useMounted = false;
    m_volumes = volumes;
    fill();
}

void DriveListBox::updateVolumes(const QList<Volume>& volumes) {
    m_volumes = volumes;
    fill();
}

void DriveListBox::showPopup() {
    refresh();
    QComboBox::showPopup();
}

void DriveListBox::fill() {
    {
        const QSignalBlocker blocker(this);
        clear();
        for (const Volume& volume : std::as_const(m_volumes)) {
            QString text = volume.label;
            if (!volume.garminModel.isEmpty())
                text += QStringLiteral(" - ") + volume.garminModel;
            addItem(text, QDir::cleanPath(volume.rootPath));
            // The box is narrow: the tooltip shows the whole name, and where the unit's
            // files are.
            if (!volume.gpxFolder.isEmpty())
                text += QLatin1Char('\n') + QDir::toNativeSeparators(volume.gpxFolder);
            setItemData(count() - 1, text, Qt::ToolTipRole);
        }
    }

    // The selected volume stays selected while it is mounted. When it has gone (the unit
    // was unplugged) the selection moves to the volume that now holds its path, and the
    // lists follow it.
    QString drive = m_drive;
    if (indexOfRoot(drive) < 0) {
        drive = volumeOf(m_drive.isEmpty() ? QDir::rootPath() : m_drive, m_volumes).rootPath;
        if (drive.isEmpty() && !m_volumes.isEmpty())
            drive = m_volumes.first().rootPath;
        drive = drive.isEmpty() ? QString() : QDir::cleanPath(drive);
    }
    selectIndex(indexOfRoot(drive));
    if (drive != m_drive) {
        m_drive = drive;
        emit Change();
    }
}

qsizetype DriveListBox::indexOfRoot(const QString& root) const {
    if (root.isEmpty())
        return -1;
    for (qsizetype i = 0; i < m_volumes.size(); ++i) {
        if (QDir::cleanPath(m_volumes[i].rootPath) == root)
            return i;
    }
    return -1;
}

void DriveListBox::selectIndex(qsizetype index) {
    {
        const QSignalBlocker blocker(this);
        setCurrentIndex(int(index));
    }
    setToolTip(itemData(int(index), Qt::ToolTipRole).toString());
}

void DriveListBox::userPicked(int index) {
    const QString root = itemData(index).toString();
    if (root == m_drive)
        return;
    const QString reason = unreadableReason(root);
    if (!reason.isEmpty()) {
        // The lists stay on the drive they show; the message names the one that failed.
        const QString label = itemText(index);
        selectIndex(indexOfRoot(m_drive));
        Dialogs::MsgBox(this, QStringLiteral("The drive %1 can't be read: %2.").arg(label, reason));
        return;
    }
    m_drive = root;
    emit Change();
}
