#include "app/VolumeWatch.h"

#include "app/DriveListBox.h"

#include <QTimer>

namespace {

QStringList rootPathsOf(const QList<Volume>& volumes) {
    QStringList paths;
    for (const Volume& volume : volumes)
        paths.append(volume.rootPath);
    return paths;
}

} // namespace

VolumeWatch::VolumeWatch(DriveListBox* drives)
    : QObject(drives)
    , m_drives(drives)
    , m_last(rootPathsOf(drives->volumes()))
    , m_timer(new QTimer(this)) {
    connect(m_timer, &QTimer::timeout, this, &VolumeWatch::poll);
    m_timer->start(2000);
}

bool VolumeWatch::poll() {
    const QList<Volume> roots = m_drives->readRoots();
    const QStringList paths = rootPathsOf(roots);
    if (paths == m_last)
        return false;
    m_last = paths;
    m_drives->updateRoots(roots);
    return true;
}
