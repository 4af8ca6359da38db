#pragma once

#include "symbols/symtable.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

class FlexGridModel;

// The export bodies written straight from the export's rules, the whole scratch file at hand:
// the oracle of the writer. rows are the grid's item rows (mark, name, code, symbol);
// sourceNames[r] is the name searched for grid row r, rows beyond it are searched by name.
QByteArray referenceFavoritesBody(const QList<QStringList>& rows, const QList<SymbolPair>* table);
QByteArray referenceTracksBody(const QList<QStringList>& rows, const QStringList& sourceNames,
                               const QByteArray& scratch);

// The grid as a load leaves it: the heading row, then the item rows.
void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows);
