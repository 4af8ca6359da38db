#include "items/ItemMarks.h"

#include "items/FlexGridModel.h"

QString toggledMark(const QString& mark) {
    static const QString space = QStringLiteral(" ");
    return QString::compare(space, mark, Qt::CaseSensitive) < 0 ? space : QStringLiteral("X");
}

void setAllMarks(FlexGridModel& grid, const QString& mark) {
    grid.setColumn(0, 1, [&mark](int) { return mark; });
}
