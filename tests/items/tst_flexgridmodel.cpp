#include "items/FlexGridModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest>

class TestFlexGridModel : public QObject {
    Q_OBJECT

private slots:
    void modelStaysConsistentThroughGridOperations();
    void addItemSpreadsTabsOverColumns_data();
    void addItemSpreadsTabsOverColumns();
    void headingShowsWhileFixedAndOutsideCellsAreIgnored();
};

// The item grid's life: a design-time grid, emptied, a heading, a load, marks, a reload.
void TestFlexGridModel::modelStaysConsistentThroughGridOperations() {
    FlexGridModel model(4);
    QAbstractItemModelTester tester(&model);
    model.setRows(2);
    model.setFixedRows(1);
    model.setRows(0); // emptying a grid drops its fixed rows too
    QCOMPARE(model.FixedRows(), 0);
    model.AddItem(QStringLiteral("Mark\tName\tCode\tSymbol"));
    model.setFixedRows(1);
    QList<QStringList> rows;
    for (int i = 0; i < 1000; ++i)
        rows.append({" ", QStringLiteral("Item %1").arg(i), QStringLiteral("<wpt>%1</wpt>").arg(i),
                     "Flag, Blue"});
    model.appendRows(rows);
    model.appendRows({});
    QCOMPARE(model.rowCount(), 1001);
    for (int r = 1; r < model.Rows(); r += 7)
        model.setTextMatrix(r, 0, QStringLiteral("X"));
    QVERIFY(model.setData(model.index(5, 3), QStringLiteral("Pin, Red")));
    QCOMPARE(model.TextMatrix(5, 3), QStringLiteral("Pin, Red"));
    QCOMPARE(model.TextMatrix(8, 2), QStringLiteral("<wpt>7</wpt>"));
    // TextMatrix reads what the model holds, hidden columns included.
    for (int r = 0; r < model.rowCount(); ++r)
        for (int c = 0; c < model.columnCount(); ++c)
            QCOMPARE(model.data(model.index(r, c)).toString(), model.TextMatrix(r, c));
    model.setRows(500);
    model.setRows(600);
    QCOMPARE(model.TextMatrix(599, 1), QString());
    QCOMPARE(model.TextMatrix(499, 1), QStringLiteral("Item 498"));
}

void TestFlexGridModel::addItemSpreadsTabsOverColumns_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("cells");
    QTest::newRow("one text") << "Waypoint" << QStringList{"Waypoint", "", ""};
    QTest::newRow("every column") << "a\tb\tc" << QStringList{"a", "b", "c"};
    QTest::newRow("empty leading cell") << "\tb" << QStringList{"", "b", ""};
    QTest::newRow("more texts than columns") << "a\tb\tc\td" << QStringList{"a", "b", "c"};
    QTest::newRow("empty text") << "" << QStringList{"", "", ""};
}

void TestFlexGridModel::addItemSpreadsTabsOverColumns() {
    QFETCH(QString, text);
    QFETCH(QStringList, cells);
    FlexGridModel model(3);
    QAbstractItemModelTester tester(&model);
    model.AddItem(QStringLiteral("first"));
    model.AddItem(text);
    QCOMPARE(model.Rows(), 2);
    QCOMPARE(model.TextMatrix(0, 0), QStringLiteral("first"));
    for (int c = 0; c < 3; ++c)
        QCOMPARE(model.TextMatrix(1, c), cells.at(c));
}

// The heading stays row 0 of the model, so that row numbers match the grid's.
void TestFlexGridModel::headingShowsWhileFixedAndOutsideCellsAreIgnored() {
    FlexGridModel model(2);
    QAbstractItemModelTester tester(&model);
    model.AddItem(QStringLiteral("NUVI SYMBOL\tDELORME SYMBOL"));
    model.AddItem(QStringLiteral("Waypoint\tQVN_WAYPOINT"));
    QCOMPARE(model.headerData(0, Qt::Horizontal), QVariant());
    model.setFixedRows(1);
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("DELORME SYMBOL"));
    QCOMPARE(model.data(model.index(1, 0)).toString(), QStringLiteral("Waypoint"));
    QSignalSpy headerChanged(&model, &QAbstractItemModel::headerDataChanged);
    model.setTextMatrix(0, 1, QStringLiteral("DELORME"));
    QCOMPARE(headerChanged.count(), 1);
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("DELORME"));
    model.setFixedRows(0);
    QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant());

    // Cells outside the grid are ignored.
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    for (const auto& [row, col] : {std::pair{2, 0}, {0, 2}, {-1, 0}})
        model.setTextMatrix(row, col, QStringLiteral("x"));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(model.TextMatrix(2, 0), QString());
    QCOMPARE(model.TextMatrix(0, -1), QString());
}

QTEST_APPLESS_MAIN(TestFlexGridModel)
#include "tst_flexgridmodel.moc"
