#include "app/DriveListBox.h"

#include "dialogs/Dialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>

DriveListBox::DriveListBox(QWidget* parent, Roots roots, DriveDetails::Describe describe)
    : QComboBox(parent)
    , m_roots(std::move(roots))
    , m_details(new DriveDetails(std::move(describe), this)) {
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(this, &QComboBox::activated, this, &DriveListBox::userPicked);
    connect(this, &QComboBox::currentIndexChanged, this,
            [this](int index) { setToolTip(itemData(index, Qt::ToolTipRole).toString()); });
    connect(m_details, &DriveDetails::described, this, &DriveListBox::described);
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
        updateRoots(readRoots());
    else
        fill();
}

void DriveListBox::setVolumes(const QList<Volume>& volumes) {
    m_useMounted = false;
    m_volumes = volumes;
    fill();
}

QList<Volume> DriveListBox::readRoots() const {
    return m_useMounted ? m_roots() : m_volumes;
}

void DriveListBox::updateRoots(const QList<Volume>& roots) {
    if (!m_useMounted)
        return;
    // A drive shows as it was last described until it answers again; a new one by its root.
    QHash<QString, Volume> described;
    m_volumes.clear();
    for (const Volume& root : roots) {
        const QString key = QDir::cleanPath(root.rootPath);
        m_volumes.append(m_described.value(key, root));
        if (m_described.contains(key))
            described.insert(key, m_described.value(key));
    }
    m_described = described;
    fill();
    for (const Volume& volume : std::as_const(m_volumes))
        m_details->request(volume.rootPath);
}

void DriveListBox::described(const Volume& volume) {
    const QString key = QDir::cleanPath(volume.rootPath);
    const qsizetype index = indexOfRoot(key);
    // A drive pulled out before it answered, or a list of made-up volumes, takes no answer.
    if (!m_useMounted || index < 0)
        return;
    m_described.insert(key, volume);
    m_volumes[index] = volume;
    showVolume(index);
    if (index == currentIndex())
        setToolTip(itemData(int(index), Qt::ToolTipRole).toString());
}

void DriveListBox::showPopup() {
    refresh();
    QComboBox::showPopup();
}

void DriveListBox::fill() {
    {
        const QSignalBlocker blocker(this);
        clear();
        for (qsizetype i = 0; i < m_volumes.size(); ++i) {
            addItem(QString(), QDir::cleanPath(m_volumes[i].rootPath));
            showVolume(i);
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

void DriveListBox::showVolume(qsizetype index) {
    const Volume& volume = m_volumes[index];
    QString text = volume.label;
    if (!volume.garminModel.isEmpty())
        text += QStringLiteral(" - ") + volume.garminModel;
    setItemText(int(index), text);
    // The box is narrow: the tooltip shows the whole name, and where the unit's files are.
    if (!volume.gpxFolder.isEmpty())
        text += QLatin1Char('\n') + QDir::toNativeSeparators(volume.gpxFolder);
    setItemData(int(index), text, Qt::ToolTipRole);
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
