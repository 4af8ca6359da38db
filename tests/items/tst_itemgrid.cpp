// The item grid: its cells, the heading row, widths in twips, the current cell and its
// events, and the marks.

#include "items/FlexGrid.h"
#include "items/ItemMarks.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>

class ItemGridTest : public QObject {
    Q_OBJECT
private slots:
    void modelKeepsCellsThroughRowChanges() {
        FlexGridModel model(3);
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.AddItem(QStringLiteral("a\tb\tc\td"));
        model.AddItem(QStringLiteral("\tx"));
        QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant());
        model.setFixedRows(1);
        QSignalSpy headerChanged(&model, &QAbstractItemModel::headerDataChanged);
        model.setTextMatrix(0, 1, QStringLiteral("B"));
        QCOMPARE(headerChanged.count(), 1);
        QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("B"));
        model.appendRows({{"1", "2", "3"}, {"4"}});
        QVERIFY(model.setData(model.index(2, 2), QStringLiteral("z")));
        QVERIFY(!model.setData(model.index(2, 2), QStringLiteral("y"), Qt::DisplayRole));
        QCOMPARE(model.data(model.index(1, 1), Qt::DecorationRole), QVariant());
        QCOMPARE(model.flags(model.index(1, 1)), Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        model.setTextMatrix(4, 0, QStringLiteral("outside"));
        model.setTextMatrix(0, 3, QStringLiteral("outside"));
        QStringList rows; // one beyond the last row and column as well
        for (int r = 0; r <= model.rowCount(); ++r) {
            QStringList cells;
            for (int c = 0; c <= model.columnCount(); ++c) {
                cells << model.TextMatrix(r, c);
                QCOMPARE(model.data(model.index(r, c)).toString(), cells.last());
            }
            rows << cells.join(u',');
        }
        QCOMPARE(rows.join(u'|'), QStringLiteral("a,B,c,|,x,,|1,2,z,|4,,,|,,,"));
        QVERIFY(model.TextMatrix(-1, 0).isEmpty() && model.TextMatrix(0, -1).isEmpty());
        model.setRows(2);
        model.setRows(3);
        QCOMPARE(model.TextMatrix(1, 1) + model.TextMatrix(2, 0), QStringLiteral("x"));
        model.setRows(0);
        QCOMPARE(model.FixedRows(), 0);
    }

    void clickTogglesByCharacterCodes_data() {
        QTest::addColumn<QString>("mark");
        QTest::addColumn<QString>("toggled");
        const QString x = QStringLiteral("X"), space = QStringLiteral(" ");
        for (const auto& [row, mark, toggled] : {std::tuple{"unmarked", " ", x},
                                                 {"marked", "X", space},
                                                 {"empty cell", "", x},
                                                 {"lower-case x", "x", space},
                                                 {"exclamation mark", "!", space},
                                                 {"tab sorts before space", "\t", x},
                                                 {"two spaces", "  ", space},
                                                 {"space then letter", " X", space},
                                                 {"control character", "\x1f", x}})
            QTest::newRow(row) << QString::fromLatin1(mark) << toggled;
        QTest::newRow("accented letter") << QString(QChar(0xe9)) << space;
    }

    void clickTogglesByCharacterCodes() {
        QFETCH(QString, mark);
        QFETCH(QString, toggled);
        QCOMPARE(toggledMark(mark), toggled);
    }

    // Select All and UnSelect All mark every item row; the heading keeps its text.
    void setAllMarksLeavesTheHeading() {
        FlexGridModel grid(2);
        setAllMarks(grid, QStringLiteral("X"));
        for (const char* row : {" \tNAME", "\ta", " \tb", "X\tc"})
            grid.AddItem(QString::fromLatin1(row));
        setAllMarks(grid, QStringLiteral("X"));
        QCOMPARE(grid.TextMatrix(0, 0) + grid.TextMatrix(1, 0) + grid.TextMatrix(3, 0),
                 QStringLiteral(" XX"));
        setAllMarks(grid, QStringLiteral(" "));
        QCOMPARE(grid.TextMatrix(2, 0) + grid.TextMatrix(3, 0) + grid.TextMatrix(0, 1),
                 QStringLiteral("  NAME"));
    }

    void gridEventsAndCurrentCell() {
        FlexGrid grid(4);
        grid.resize(600, 300);
        grid.show();
        QVERIFY(QTest::qWaitForWindowExposed(&grid));
        QCOMPARE(grid.ColWidth(1), 960);
        QCOMPARE(grid.columnWidth(1), 64);
        grid.setColWidth(0, -5);
        grid.setColWidth(9, 100);
        QVERIFY(grid.ColWidth(0) == 0 && grid.isColumnHidden(0) && grid.ColWidth(9) == 0);
        grid.setColWidth(0, 240);
        QVERIFY(!grid.isColumnHidden(0) && grid.columnWidth(0) == 16);
        for (const char* row : {" \tNAME", " \ta", " \tb", " \tc"})
            grid.AddItem(QString::fromLatin1(row));
        grid.setRow(0);
        QVERIFY(grid.currentIndex().isValid());
        grid.setFixedRows(1); // the heading can never be the current row
        QVERIFY(!grid.currentIndex().isValid() && grid.isRowHidden(0) && !grid.isRowHidden(1));
        QVERIFY(grid.horizontalHeader()->isVisible() && !grid.verticalHeader()->isVisible());
        QSignalSpy click(&grid, &FlexGrid::Click), change(&grid, &FlexGrid::RowColChange),
            key(&grid, &FlexGrid::KeyPress);
        for (const auto& [row, col] : {std::pair{0, 0}, {2, 0}, {2, 3}, {4, 3}, {2, 4}, {-1, 3}})
            (grid.setRow(row), grid.setCol(col));
        QCOMPARE(QString::number(grid.Row()) + QString::number(grid.Col()), QStringLiteral("23"));
        QCOMPARE(change.count(), 2);
        const QRect cell = grid.visualRect(grid.gridModel()->index(3, 1));
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell.center());
        QVERIFY(click.count() == 1 && grid.Row() == 3 && grid.Col() == 1);
        QTest::keyClick(&grid, Qt::Key_A);
        QTest::keyClick(&grid, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(&grid, Qt::Key_Up);
        QCOMPARE(key.count(), 1);
        QCOMPARE(key.first().first().value<QChar>(), QChar(u'a'));
        QCOMPARE(grid.Row(), 2);
        grid.setFixedRows(0);
        QVERIFY(!grid.isRowHidden(0) && !grid.horizontalHeader()->isVisible());
    }
};

QTEST_MAIN(ItemGridTest)
#include "tst_itemgrid.moc"
