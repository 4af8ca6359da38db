// The item grid: its cells, the heading row, widths in twips, the current cell and its events,
// and the marks.

#include "app/MainWindowFixture.h"
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
        QAbstractItemModelTester tester(&model);
        model.AddItem("a\tb\tc\td");
        model.AddItem("\tx");
        QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant());
        model.setFixedRows(1);
        QSignalSpy headerChanged(&model, &QAbstractItemModel::headerDataChanged);
        model.setTextMatrix(0, 1, "B");
        QVERIFY(headerChanged.count() == 1 && model.headerData(1, Qt::Horizontal) == "B");
        model.appendRows({{"1", "2", "3"}, {"4"}});
        QVERIFY(model.setData(model.index(2, 2), "z"));
        QVERIFY(!model.setData(model.index(2, 2), "y", Qt::DisplayRole));
        QCOMPARE(model.data(model.index(1, 1), Qt::DecorationRole), QVariant());
        QCOMPARE(model.flags(model.index(1, 1)), Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        model.setTextMatrix(4, 0, "outside");
        model.setTextMatrix(0, 3, "outside");
        QStringList rows; // one beyond the last row and column as well
        for (int r = 0; r <= model.rowCount(); ++r) {
            QStringList cells;
            for (int c = 0; c <= model.columnCount(); ++c) {
                cells << model.TextMatrix(r, c);
                QCOMPARE(model.data(model.index(r, c)).toString(), cells.last());
            }
            rows << cells.join(u',');
        }
        QCOMPARE(rows.join(u'|'), "a,B,c,|,x,,|1,2,z,|4,,,|,,,");
        QVERIFY(model.TextMatrix(-1, 0).isEmpty() && model.TextMatrix(0, -1).isEmpty());
        model.setRows(2);
        model.setRows(3);
        QCOMPARE(model.TextMatrix(1, 1) + model.TextMatrix(2, 0), "x");
        // Select All and UnSelect All mark every item row; the heading keeps its text.
        setAllMarks(model, "X");
        QCOMPARE(model.TextMatrix(0, 0) + model.TextMatrix(1, 0) + model.TextMatrix(2, 0), "aXX");
        setAllMarks(model, " ");
        QCOMPARE(model.TextMatrix(2, 0) + model.TextMatrix(0, 1), " B");
        model.setRows(0);
        QVERIFY(model.FixedRows() == 0);
    }

    void clickTogglesByCharacterCodes() {
        for (const QStringList& row : tableRows("items_marks.tsv"))
            QVERIFY2(toggledMark(row[1]) == row[2], qPrintable(row[0]));
    }

    void gridEventsAndCurrentCell() {
        FlexGrid grid(4);
        grid.resize(600, 300);
        grid.show();
        QVERIFY(QTest::qWaitForWindowExposed(&grid));
        QVERIFY(grid.ColWidth(1) == 960 && grid.columnWidth(1) == 64);
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
        QVERIFY(grid.Row() == 2 && grid.Col() == 3 && change.count() == 2);
        const QRect cell = grid.visualRect(grid.gridModel()->index(3, 1));
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell.center());
        QVERIFY(click.count() == 1 && grid.Row() == 3 && grid.Col() == 1);
        const QRect other = grid.visualRect(grid.gridModel()->index(2, 1));
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, Qt::ShiftModifier, other.center());
        QCOMPARE(grid.selectionModel()->selectedIndexes().size(), 1); // one cell at a time
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell.center());
        QTest::keyClick(&grid, Qt::Key_A);
        QTest::keyClick(&grid, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(&grid, Qt::Key_Up);
        QVERIFY(key.count() == 1 && key.first().first().value<QChar>() == u'a' && grid.Row() == 2);
        grid.setFixedRows(0);
        QVERIFY(!grid.isRowHidden(0) && !grid.horizontalHeader()->isVisible());
        grid.setRow(1);
        grid.setFixedRows(1); // the first item stays current
        QVERIFY(grid.currentIndex().row() == 1);
    }
};

QTEST_MAIN(ItemGridTest)
#include "tst_itemgrid.moc"
