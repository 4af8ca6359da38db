#include "workspace/SystemPaths.h"

#include <QDir>

namespace SystemPaths {

QString defaultRoot() {
    return QDir::cleanPath(QDir::homePath() + QStringLiteral("/GPX"));
}

QString defaultRootShown() {
    return QStringLiteral("~/GPX");
}

QString shown(const QString& path) {
    const QString home = QDir::cleanPath(QDir::homePath());
    if (home != QStringLiteral("/")) {
        if (path == home)
            return QStringLiteral("~");
        if (path.startsWith(home + QLatin1Char('/')))
            return QLatin1Char('~') + path.mid(home.size());
    }
    return path;
}

Qt::CaseSensitivity pathCase() {
    return Qt::CaseSensitive;
}

} // namespace SystemPaths
