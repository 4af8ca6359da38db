#pragma once

#include <QStringList>

namespace NameOrder {

// Sorts names the way the lists show them: without regard to case, and names that differ
// only in case ("a.gpx", "A.gpx") in a fixed order by their exact text.
void sortNames(QStringList& names);

// Sorts device names as an owner counts units: without regard to case, and runs of digits
// by their value, so that "Nuvi_2" comes before "Nuvi_10". The order does not depend on the
// locale; names equal under it keep a fixed order by their exact text.
void sortNaturally(QStringList& names);

// The order of sortNaturally: negative, zero or positive as a comes before, with or after b.
int naturalCompare(const QString& a, const QString& b);

} // namespace NameOrder
