#include "app/NameOrder.h"

#include <algorithm>

namespace NameOrder {

void sortNames(QStringList& names) {
    std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
        const int folded = a.compare(b, Qt::CaseInsensitive);
        return folded != 0 ? folded < 0 : a < b;
    });
}

} // namespace NameOrder
