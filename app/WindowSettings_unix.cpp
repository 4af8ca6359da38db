#include "app/WindowSettings.h"

#include <QSettings>
#include <QStandardPaths>

// The user's configuration folder, looked up each time rather than through QSettings' own
// paths, which are fixed at the first use and would miss a changed HOME.
std::unique_ptr<QSettings> WindowSettings::open() {
    return std::make_unique<QSettings>(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QStringLiteral("/tarnwick/tarnwick.conf"),
        QSettings::IniFormat);
}
