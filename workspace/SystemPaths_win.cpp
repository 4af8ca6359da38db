#include "workspace/SystemPaths.h"

#include <QDir>

namespace SystemPaths {

QString defaultRoot() {
    return QStringLiteral("C:/GPX");
}

QString defaultRootShown() {
    return QStringLiteral("C:\\GPX");
}

QString shown(const QString& path) {
    return QDir::toNativeSeparators(path);
}

Qt::CaseSensitivity pathCase() {
    return Qt::CaseInsensitive;
}

} // namespace SystemPaths
