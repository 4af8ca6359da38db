#include "app/WindowSettings.h"

#include <QSettings>
#include <QStandardPaths>

// Where Windows programs keep a user's settings: the registry, under HKEY_CURRENT_USER.
std::unique_ptr<QSettings> WindowSettings::open() {
    const QString application = QStandardPaths::isTestModeEnabled()
                                    ? QStringLiteral("Tarnwick tests")
                                    : QStringLiteral("Tarnwick");
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                       QStringLiteral("Tarnwick"), application);
}
