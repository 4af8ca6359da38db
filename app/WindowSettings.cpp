#include "app/WindowSettings.h"

#include <QEvent>
#include <QFileInfo>
#include <QMainWindow>
#include <QSettings>
#include <QStandardPaths>

namespace {

const QString geometryKey = QStringLiteral("window/geometry");
const QString foldersGroup = QStringLiteral("sourceFolders");

QString deviceKey(const QString& deviceFolder) {
    return QFileInfo(deviceFolder).fileName();
}

} // namespace

WindowSettings::WindowSettings(QMainWindow* window)
    : QObject(window)
    , m_window(window) {
    QSettings settings(filePath(), QSettings::IniFormat);
    m_window->restoreGeometry(settings.value(geometryKey).toByteArray());
    settings.beginGroup(foldersGroup);
    for (const QString& device : settings.childKeys())
        m_folders.insert(device, settings.value(device).toString());
    window->installEventFilter(this);
}

QString WindowSettings::filePath() {
    // Looked up each time rather than through QSettings' own paths, which are fixed at the
    // first use and would miss a changed HOME.
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/tarnwick/tarnwick.conf");
}

QString WindowSettings::folderFor(const QString& deviceFolder) const {
    const QString folder = m_folders.value(deviceKey(deviceFolder));
    return !folder.isEmpty() && QFileInfo(folder).isDir() ? folder : deviceFolder;
}

void WindowSettings::rememberFolder(const QString& deviceFolder, const QString& folder) {
    QSettings settings(filePath(), QSettings::IniFormat);
    settings.setValue(foldersGroup + QLatin1Char('/') + deviceKey(deviceFolder), folder);
}

bool WindowSettings::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_window && event->type() == QEvent::Close) {
        QSettings settings(filePath(), QSettings::IniFormat);
        settings.setValue(geometryKey, m_window->saveGeometry());
    }
    return QObject::eventFilter(watched, event);
}
