#pragma once

#include <QString>

class FlexGridModel;

// The marks of the item grid: column 0 of every item row holds " " (not marked) or "X"
// (marked for export).

// The mark a click leaves: a mark that sorts after a single space (by character codes, so
// "X" and any other visible text) is taken away, any other (" ", empty) becomes "X".
QString toggledMark(const QString& mark);

// Writes the mark into column 0 of rows 1 to Rows - 1; the header row keeps its text.
void setAllMarks(FlexGridModel& grid, const QString& mark);
