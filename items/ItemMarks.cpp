#include "items/ItemMarks.h"

#include "items/FlexGridModel.h"

QString toggledMark(const QString& mark) {
    static const QString space = QStringLiteral(" ");
    return QString::compare(space, mark, Qt::CaseSensitive) < 0 ? space : QStringLiteral("X");
}

void setAllMarks(FlexGridModel& grid, const QString& mark) {
    const int lastRow = grid.Rows() - 1;
    for (int row = 1; row <= lastRow; ++row)
        grid.setTextMatrix(row, 0, mark);
}
