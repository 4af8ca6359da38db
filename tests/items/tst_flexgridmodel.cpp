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
    void headingRowShowsAsHeaderOnlyWhileFixed();
    void cellsOutsideTheGridAreIgnored();
};

void TestFlexGridModel::modelStaysConsistentThroughGridOperations() {
    FlexGridModel model(4);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);

    // The item grid's life: a design-time grid, emptied, a heading, a load, marks, a reload.
    model.setRows(2);
    model.setFixedRows(1);
    model.setRows(0);
    QCOMPARE(model.rowCount(), 0);
    model.AddItem(QStringLiteral("Mark\tName\tCode\tSymbol"));
    model.setFixedRows(1);
    QList<QStringList> rows;
    for (int i = 0; i < 1000; ++i)
        rows.append({QStringLiteral(" "), QStringLiteral("Item %1").arg(i),
                     QStringLiteral("<wpt>%1</wpt>").arg(i), QStringLiteral("Flag, Blue")});
    model.appendRows(rows);
    model.appendRows({});
    QCOMPARE(model.rowCount(), 1001);
    for (int r = 1; r < model.Rows(); r += 7)
        model.setTextMatrix(r, 0, QStringLiteral("X"));
    QVERIFY(model.setData(model.index(5, 3), QStringLiteral("Pin, Red")));
    QCOMPARE(model.TextMatrix(5, 3), QStringLiteral("Pin, Red"));
    model.setRows(500);
    model.setRows(600);
    QCOMPARE(model.TextMatrix(599, 1), QString());
    QCOMPARE(model.TextMatrix(499, 1), QStringLiteral("Item 498"));
    model.setRows(0);
    QCOMPARE(model.FixedRows(), 0);
    model.AddItem(QStringLiteral("only\tone"));
    QCOMPARE(model.rowCount(), 1);
}

void TestFlexGridModel::addItemSpreadsTabsOverColumns_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("cells");
    QTest::newRow("one text") << QStringLiteral("Waypoint")
                              << QStringList{QStringLiteral("Waypoint"), {}, {}};
    QTest::newRow("every column") << QStringLiteral("a\tb\tc")
                                  << QStringList{QStringLiteral("a"), QStringLiteral("b"),
                                                 QStringLiteral("c")};
    QTest::newRow("empty leading cell")
        << QStringLiteral("\tb") << QStringList{{}, QStringLiteral("b"), {}};
    QTest::newRow("more texts than columns")
        << QStringLiteral("a\tb\tc\td")
        << QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    QTest::newRow("empty text") << QString() << QStringList{{}, {}, {}};
}

void TestFlexGridModel::addItemSpreadsTabsOverColumns() {
    QFETCH(QString, text);
    QFETCH(QStringList, cells);
    FlexGridModel model(3);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.AddItem(QStringLiteral("first"));
    model.AddItem(text);
    QCOMPARE(model.Rows(), 2);
    for (int c = 0; c < 3; ++c)
        QCOMPARE(model.TextMatrix(1, c), cells.at(c));
    QCOMPARE(model.TextMatrix(0, 0), QStringLiteral("first"));
}

void TestFlexGridModel::headingRowShowsAsHeaderOnlyWhileFixed() {
    FlexGridModel model(2);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy headerChanged(&model, &QAbstractItemModel::headerDataChanged);
    model.AddItem(QStringLiteral("NUVI SYMBOL\tDELORME SYMBOL"));
    model.AddItem(QStringLiteral("Waypoint\tQVN_WAYPOINT"));
    QCOMPARE(model.headerData(0, Qt::Horizontal), QVariant());
    model.setFixedRows(1);
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("DELORME SYMBOL"));
    // The heading stays row 0 of the model, so row numbers match the grid's.
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.data(model.index(1, 0)).toString(), QStringLiteral("Waypoint"));

    headerChanged.clear();
    model.setTextMatrix(0, 1, QStringLiteral("DELORME"));
    QCOMPARE(headerChanged.count(), 1);
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("DELORME"));
    model.setFixedRows(0);
    QCOMPARE(model.headerData(1, Qt::Horizontal), QVariant());
}

void TestFlexGridModel::cellsOutsideTheGridAreIgnored() {
    FlexGridModel model(2);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setRows(1);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.setTextMatrix(1, 0, QStringLiteral("x"));
    model.setTextMatrix(0, 2, QStringLiteral("x"));
    model.setTextMatrix(-1, 0, QStringLiteral("x"));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(model.TextMatrix(1, 0), QString());
    QCOMPARE(model.TextMatrix(0, -1), QString());
    QVERIFY(!model.setData(model.index(0, 0), QStringLiteral("x"), Qt::DecorationRole));
    // Setting a cell to the text it holds changes nothing.
    model.setTextMatrix(0, 0, QStringLiteral("y"));
    model.setTextMatrix(0, 0, QStringLiteral("y"));
    QCOMPARE(changed.count(), 1);
}

QTEST_APPLESS_MAIN(TestFlexGridModel)
#include "tst_flexgridmodel.moc"
