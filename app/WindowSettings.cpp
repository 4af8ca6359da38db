#include "app/WindowSettings.h"

#include <QEvent>
#include <QFileInfo>
#include <QMainWindow>
#include <QSettings>

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
    const std::unique_ptr<QSettings> settings = open();
    m_window->restoreGeometry(settings->value(geometryKey).toByteArray());
    settings->beginGroup(foldersGroup);
    for (const QString& device : settings->childKeys())
        m_folders.insert(device, settings->value(device).toString());
    window->installEventFilter(this);
}

QString WindowSettings::folderFor(const QString& deviceFolder) const {
    const QString folder = m_folders.value(deviceKey(deviceFolder));
    return !folder.isEmpty() && QFileInfo(folder).isDir() ? folder : deviceFolder;
}

void WindowSettings::rememberFolder(const QString& deviceFolder, const QString& folder) {
    open()->setValue(foldersGroup + QLatin1Char('/') + deviceKey(deviceFolder), folder);
}

bool WindowSettings::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_window && event->type() == QEvent::Close) {
        open()->setValue(geometryKey, m_window->saveGeometry());
    }
    return QObject::eventFilter(watched, event);
}
