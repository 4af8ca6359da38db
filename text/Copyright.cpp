#include "text/Copyright.h"

namespace Copyright {

QString notice() {
    return QStringLiteral("Copyright ") + QChar(169) + QStringLiteral(" 2026 Tarnwick");
}

} // namespace Copyright
