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

VolumeWatch::VolumeWatch(DriveListBox* drives, std::function<QList<Volume>()> roots,
                         std::function<QList<Volume>()> volumes)
    : QObject(drives)
    , m_drives(drives)
    , m_roots(std::move(roots))
    , m_volumes(std::move(volumes))
    , m_last(rootPathsOf(drives->volumes()))
    , m_timer(new QTimer(this)) {
    connect(m_timer, &QTimer::timeout, this, &VolumeWatch::poll);
    m_timer->start(2000);
}

bool VolumeWatch::poll() {
    const QStringList roots = rootPathsOf(m_roots());
    if (roots == m_last)
        return false;
    m_last = roots;
    m_drives->updateVolumes(m_volumes());
    return true;
}
