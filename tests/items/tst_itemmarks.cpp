#include "items/FlexGridModel.h"
#include "items/ItemMarks.h"

#include <QAbstractItemModelTester>
#include <QTest>

namespace {

// A grid as a load leaves it: the header row and one unmarked row per item.
void fillGrid(FlexGridModel& grid, int items) {
    grid.setRows(0);
    grid.AddItem(QStringLiteral(" "));
    grid.setTextMatrix(0, 1, QStringLiteral("NAME"));
    for (int i = 0; i < items; ++i)
        grid.AddItem(QStringLiteral(" "));
    grid.setFixedRows(1);
}

QStringList marks(const FlexGridModel& grid) {
    QStringList out;
    for (int row = 0; row < grid.Rows(); ++row)
        out << grid.TextMatrix(row, 0);
    return out;
}

} // namespace

class ItemMarksTest : public QObject {
    Q_OBJECT
private slots:
    void clickTogglesByCharacterCodes_data();
    void clickTogglesByCharacterCodes();
    void clickingTwiceRestoresUnmarked();
    void setAllMarksLeavesHeaderRow();
    void headerOnlyGridStaysUnchanged();
    void selectAllThenOneClickUnmarksOnlyThatRow();
};

void ItemMarksTest::clickTogglesByCharacterCodes_data() {
    QTest::addColumn<QString>("mark");
    QTest::addColumn<QString>("toggled");
    QTest::newRow("unmarked") << " "
                              << "X";
    QTest::newRow("marked") << "X"
                            << " ";
    QTest::newRow("empty cell") << ""
                                << "X";
    QTest::newRow("lower-case x") << "x"
                                  << " ";
    QTest::newRow("other letter") << "Y"
                                  << " ";
    QTest::newRow("exclamation mark sorts after space") << "!"
                                                        << " ";
    QTest::newRow("tab sorts before space") << "\t"
                                            << "X";
    QTest::newRow("two spaces sort after one") << "  "
                                               << " ";
    QTest::newRow("space then letter") << " X"
                                       << " ";
    QTest::newRow("control character") << QString(QChar(0x1f)) << "X";
    QTest::newRow("accented letter") << QString(QChar(0xe9)) << " ";
}

void ItemMarksTest::clickTogglesByCharacterCodes() {
    QFETCH(QString, mark);
    QFETCH(QString, toggled);
    QCOMPARE(toggledMark(mark), toggled);
}

void ItemMarksTest::clickingTwiceRestoresUnmarked() {
    QCOMPARE(toggledMark(toggledMark(QStringLiteral(" "))), QStringLiteral(" "));
    QCOMPARE(toggledMark(toggledMark(QString())), QStringLiteral(" "));
}

void ItemMarksTest::setAllMarksLeavesHeaderRow() {
    FlexGridModel grid(4);
    QAbstractItemModelTester tester(&grid);
    fillGrid(grid, 3);
    setAllMarks(grid, QStringLiteral("X"));
    QCOMPARE(marks(grid), (QStringList{" ", "X", "X", "X"}));
    QCOMPARE(grid.TextMatrix(0, 1), QStringLiteral("NAME"));
    setAllMarks(grid, QStringLiteral(" "));
    QCOMPARE(marks(grid), (QStringList{" ", " ", " ", " "}));
}

void ItemMarksTest::headerOnlyGridStaysUnchanged() {
    FlexGridModel grid(4);
    fillGrid(grid, 0);
    setAllMarks(grid, QStringLiteral("X"));
    QCOMPARE(marks(grid), QStringList{" "});
    FlexGridModel empty(4);
    setAllMarks(empty, QStringLiteral("X"));
    QCOMPARE(empty.Rows(), 0);
}

void ItemMarksTest::selectAllThenOneClickUnmarksOnlyThatRow() {
    FlexGridModel grid(4);
    fillGrid(grid, 4);
    setAllMarks(grid, QStringLiteral("X"));
    grid.setTextMatrix(2, 0, toggledMark(grid.TextMatrix(2, 0)));
    QCOMPARE(marks(grid), (QStringList{" ", "X", " ", "X", "X"}));
}

QTEST_APPLESS_MAIN(ItemMarksTest)
#include "tst_itemmarks.moc"
