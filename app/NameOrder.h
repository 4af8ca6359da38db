#pragma once

#include <QStringList>

namespace NameOrder {

// Sorts names the way the lists show them: without regard to case, and names that differ
// only in case ("a.gpx", "A.gpx") in a fixed order by their exact text.
void sortNames(QStringList& names);

} // namespace NameOrder
