#include "items/FlexGridModel.h"
#include "items/ItemMarks.h"

#include <QAbstractItemModelTester>
#include <QTest>

class ItemMarksTest : public QObject {
    Q_OBJECT
private slots:
    void clickTogglesByCharacterCodes_data();
    void clickTogglesByCharacterCodes();
    void setAllMarksLeavesHeaderRow();
};

void ItemMarksTest::clickTogglesByCharacterCodes_data() {
    QTest::addColumn<QString>("mark");
    QTest::addColumn<QString>("toggled");
    QTest::newRow("unmarked") << " " << QString("X");
    QTest::newRow("marked") << "X" << QString(" ");
    QTest::newRow("empty cell") << "" << QString("X");
    QTest::newRow("lower-case x") << "x" << QString(" ");
    QTest::newRow("other letter") << "Y" << QString(" ");
    QTest::newRow("exclamation mark sorts after space") << "!" << QString(" ");
    QTest::newRow("tab sorts before space") << "\t" << QString("X");
    QTest::newRow("two spaces sort after one") << "  " << QString(" ");
    QTest::newRow("space then letter") << " X" << QString(" ");
    QTest::newRow("control character") << QString(QChar(0x1f)) << QString("X");
    QTest::newRow("accented letter") << QString(QChar(0xe9)) << QString(" ");
}

void ItemMarksTest::clickTogglesByCharacterCodes() {
    QFETCH(QString, mark);
    QFETCH(QString, toggled);
    QCOMPARE(toggledMark(mark), toggled);
}

// Select All and Unselect All mark every item row; the header row keeps its text.
void ItemMarksTest::setAllMarksLeavesHeaderRow() {
    FlexGridModel empty(4);
    setAllMarks(empty, QStringLiteral("X"));
    QCOMPARE(empty.Rows(), 0);

    FlexGridModel grid(4);
    QAbstractItemModelTester tester(&grid, QAbstractItemModelTester::FailureReportingMode::QtTest);
    grid.AddItem(QStringLiteral(" \tNAME"));
    grid.setFixedRows(1);
    const auto marks = [&grid] {
        QStringList out;
        for (int row = 0; row < grid.Rows(); ++row)
            out << grid.TextMatrix(row, 0);
        return out;
    };
    setAllMarks(grid, QStringLiteral("X"));
    QCOMPARE(marks(), QStringList{" "});
    for (int i = 0; i < 4; ++i)
        grid.AddItem(QStringLiteral(" "));
    setAllMarks(grid, QStringLiteral("X"));
    QCOMPARE(marks(), (QStringList{" ", "X", "X", "X", "X"}));
    QCOMPARE(grid.TextMatrix(0, 1), QStringLiteral("NAME"));
    // After Select All, one click unmarks only its own row.
    grid.setTextMatrix(2, 0, toggledMark(grid.TextMatrix(2, 0)));
    QCOMPARE(marks(), (QStringList{" ", "X", " ", "X", "X"}));
    setAllMarks(grid, QStringLiteral(" "));
    QCOMPARE(marks(), (QStringList{" ", " ", " ", " ", " "}));
}

QTEST_APPLESS_MAIN(ItemMarksTest)
#include "tst_itemmarks.moc"
