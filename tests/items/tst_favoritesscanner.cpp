#include "ScanTestSupport.h"

#include "export/CodePage.h"
#include "items/FavoritesScanner.h"

#include <QTest>

namespace {

// The whole source in one feed.
ReferenceFavorites load(QByteArrayView source) {
    return scanFavorites(source, source.size() + 1);
}

const QByteArray workedExample =
    joinLines({"<?xml version=\"1.0\"?>", "<gpx creator=\"x\">",
               "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, Blue</sym></wpt>",
               "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt>", "</gpx>"});

} // namespace

class FavoritesScannerTest : public QObject {
    Q_OBJECT
private slots:
    void workedExampleListsTwoFavorites();
    void nameAndSymbolRules_data();
    void nameAndSymbolRules();
    void terminatorsEndTheScan_data();
    void terminatorsEndTheScan();
    void favoriteStartRecognisedOnlyAsExactTagText_data();
    void favoriteStartRecognisedOnlyAsExactTagText();
    void lineBreaksDoNotChangeTheItems();
    void routeBeforeTracksStaysInLastFavorite();
    void bytesAfterStopAreIgnored();
    void everyByteValueSurvivesInCodeAndHeader();
    void positionsBeyond16BitsStillWork();
    void garminEtrexFileListsItsWaypoints();
    void garminTrackOnlyFileHasHeaderAndNoRows();
};

void FavoritesScannerTest::workedExampleListsTwoFavorites() {
    const ReferenceFavorites r = load(workedExample);
    QVERIFY(r.hasHeader);
    QCOMPARE(r.header, QStringLiteral("<?xml version=\"1.0\"?> <gpx creator=\"x\"> "));
    QCOMPARE(r.rows.size(), 2);
    QCOMPARE(r.rows[0].name, QStringLiteral("A & B"));
    QCOMPARE(r.rows[0].code,
             QStringLiteral(
                 "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, Blue</sym></wpt> "));
    QCOMPARE(r.rows[0].symbol, QStringLiteral("Flag, Blue"));
    QCOMPARE(r.rows[1].name, QStringLiteral("Home"));
    QCOMPARE(r.rows[1].code, QStringLiteral("<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt> "));
    QCOMPARE(r.rows[1].symbol, QStringLiteral("--- NONE ---"));
    QCOMPARE(r.itemStarts, qint64(2));
    QVERIFY(r.stopped);
}

void FavoritesScannerTest::nameAndSymbolRules_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("symbol");
    QTest::newRow("entities decoded") << QByteArray("><name>Joe&apos;s &amp; &lt;</name>"
                                                    "<sym>A&amp;B</sym>")
                                      << "Joe's & &lt;"
                                      << "A&B";
    QTest::newRow("first name and symbol win")
        << QByteArray("><name>one</name><name>two</name><sym>S1</sym><sym>S2</sym>") << "one"
        << "S1";
    QTest::newRow("empty symbol element") << QByteArray("><name>N</name><sym></sym>") << "N"
                                          << "--- NONE ---";
    QTest::newRow("no symbol") << QByteArray("><name>N</name>") << "N"
                               << "--- NONE ---";
    QTest::newRow("symbol tags out of order") << QByteArray("><name>N</name></sym>x<sym>") << "N"
                                              << "--- NONE ---";
    // "<sym>" absent counts as position 0: the symbol starts at position 5 of the text.
    QTest::newRow("symbol end without start") << QByteArray(">abc</sym>") << ""
                                              << ">abc";
    // "<name>" absent: the name starts at position 6, right after "<wpt>".
    QTest::newRow("name end without start") << QByteArray(">abcde</name>") << "abcde"
                                            << "--- NONE ---";
    QTest::newRow("name end without start, length 0") << QByteArray("></name>") << ""
                                                      << "--- NONE ---";
    QTest::newRow("name end too early, negative length") << QByteArray("</name>x") << ""
                                                         << "--- NONE ---";
    QTest::newRow("name without end") << QByteArray("><name>lost<sym>S</sym>") << ""
                                      << "S";
    QTest::newRow("name end before name start") << QByteArray("></name><name>x") << ""
                                                << "--- NONE ---";
    QTest::newRow("empty name") << QByteArray("><name></name><sym>S</sym>") << ""
                                << "S";
    QTest::newRow("multi-byte characters stay bytes")
        << QByteArray("><name>Caf\xc3\xa9</name>") << QString::fromUtf16(u"Caf\u00c3\u00a9")
        << "--- NONE ---";
    QTest::newRow("tags of another element count too")
        << QByteArray("></wpt><rte><name>R</name><sym>RS</sym></rte>") << "R"
        << "RS";
}

void FavoritesScannerTest::nameAndSymbolRules() {
    QFETCH(QByteArray, text);
    QFETCH(QString, name);
    QFETCH(QString, symbol);
    const ReferenceFavorites r = load("<gpx><wpt" + text + "</gpx>");
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(r.rows[0].name, name);
    QCOMPARE(r.rows[0].symbol, symbol);
    QCOMPARE(r.rows[0].code, CodePage::toUnicode("<wpt" + text));
    QCOMPARE(firstDifference(referenceFavorites("<gpx><wpt" + text + "</gpx>"), r), QString());
}

void FavoritesScannerTest::terminatorsEndTheScan_data() {
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("hasHeader");
    QTest::addColumn<QString>("header");
    QTest::addColumn<bool>("stopped");
    QTest::newRow("no favorite, a track") << QByteArray("<gpx> <trk><name>T</name></trk></gpx>")
                                          << QStringList() << true << "<gpx> " << true;
    QTest::newRow("one favorite then file end")
        << QByteArray("<gpx><wpt><name>A</name></wpt></gpx>") << QStringList{"A"} << true << "<gpx>"
        << true;
    QTest::newRow("last favorite without terminator is missing")
        << QByteArray("<gpx><wpt><name>A</name></wpt><wpt><name>B</name></wpt>") << QStringList{"A"}
        << true << "<gpx>" << false;
    QTest::newRow("favorites after the first track are not listed")
        << QByteArray("<wpt><name>A</name></wpt><trk></trk><wpt><name>B</name></wpt></gpx>")
        << QStringList{"A"} << true << "" << true;
    QTest::newRow("track with attributes does not terminate")
        << QByteArray("<wpt><name>A</name></wpt><trk x=\"1\"><wpt><name>B</name></wpt></gpx>")
        << QStringList{"A", "B"} << true << "" << true;
    QTest::newRow("segment tag does not terminate")
        << QByteArray("<wpt><name>A</name><trkseg><wpt><name>B</name></gpx>")
        << QStringList{"A", "B"} << true << "" << true;
    QTest::newRow("upper-case terminator is text")
        << QByteArray("<wpt><name>A</name></GPX><TRK></gpx>") << QStringList{"A"} << true << ""
        << true;
    QTest::newRow("neither favorite nor terminator")
        << QByteArray("<?xml?><gpx><rte></rte>") << QStringList() << false << "" << false;
    QTest::newRow("empty source") << QByteArray() << QStringList() << false << "" << false;
}

void FavoritesScannerTest::terminatorsEndTheScan() {
    QFETCH(QByteArray, source);
    QFETCH(QStringList, names);
    QFETCH(bool, hasHeader);
    QFETCH(QString, header);
    QFETCH(bool, stopped);
    const ReferenceFavorites r = load(source);
    QStringList got;
    for (const FavoriteItem& item : r.rows)
        got << item.name;
    QCOMPARE(got, names);
    QCOMPARE(r.hasHeader, hasHeader);
    QCOMPARE(r.header, header);
    QCOMPARE(r.stopped, stopped);
}

void FavoritesScannerTest::favoriteStartRecognisedOnlyAsExactTagText_data() {
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<int>("rows");
    QTest::newRow("without attributes") << QByteArray("<wpt>") << 1;
    QTest::newRow("with attributes") << QByteArray("<wpt lat=\"1\" lon=\"2\">") << 1;
    QTest::newRow("longer tag name") << QByteArray("<wpts>") << 1;
    QTest::newRow("CR inside the tag name") << QByteArray("<wp\rt>") << 1;
    QTest::newRow("CR after the tag name") << QByteArray("<wpt\r\n lat=\"1\">") << 1;
    QTest::newRow("LF inside the tag name is a space") << QByteArray("<w\r\npt>") << 0;
    QTest::newRow("namespace prefix") << QByteArray("<gpx:wpt>") << 0;
    QTest::newRow("upper case") << QByteArray("<WPT>") << 0;
    QTest::newRow("space after the angle") << QByteArray("< wpt>") << 0;
}

// Two starts are needed for one row: the given one and a plain one after it.
void FavoritesScannerTest::favoriteStartRecognisedOnlyAsExactTagText() {
    QFETCH(QByteArray, start);
    QFETCH(int, rows);
    const QByteArray source = "<gpx><wpt>first</wpt>" + start + "<name>N</name></wpt></gpx>";
    const ReferenceFavorites r = load(source);
    QCOMPARE(r.rows.size(), rows + 1);
    // Either way the named text ends up in the last row.
    QCOMPARE(r.rows.last().name, QStringLiteral("N"));
}

void FavoritesScannerTest::lineBreaksDoNotChangeTheItems() {
    const QList<QByteArray> lines = {
        "<gpx>",  "<wpt lat=\"1\">", "  <name>A</name>", "  <sym>Flag, Blue</sym>",
        "</wpt>", "<wpt>",           "<name>B</name>",   "</wpt>",
        "</gpx>"};
    const ReferenceFavorites crlf = load(joinLines(lines, "\r\n"));
    const ReferenceFavorites lf = load(joinLines(lines, "\n"));
    const ReferenceFavorites oneLine = load(joinLines(lines, ""));
    QCOMPARE(firstDifference(crlf, lf), QString());
    QCOMPARE(crlf.rows.size(), 2);
    QCOMPARE(oneLine.rows.size(), 2);
    for (qsizetype i = 0; i < 2; ++i) {
        QCOMPARE(oneLine.rows[i].name, crlf.rows[i].name);
        QCOMPARE(oneLine.rows[i].symbol, crlf.rows[i].symbol);
        // Line feeds leave one space each and nothing else.
        QCOMPARE(QString(crlf.rows[i].code).remove(QLatin1Char(' ')),
                 QString(oneLine.rows[i].code).remove(QLatin1Char(' ')));
    }
    QCOMPARE(crlf.rows[0].code,
             QStringLiteral("<wpt lat=\"1\">   <name>A</name>   <sym>Flag, Blue</sym> </wpt> "));
}

void FavoritesScannerTest::routeBeforeTracksStaysInLastFavorite() {
    const QByteArray source = "<gpx><wpt><name>A</name><sym>S</sym></wpt>"
                              "<rte><name>Route</name><sym>RS</sym><rtept/></rte>"
                              "<trk><name>T</name></trk></gpx>";
    const ReferenceFavorites r = load(source);
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(r.rows[0].name, QStringLiteral("A"));
    QCOMPARE(r.rows[0].symbol, QStringLiteral("S"));
    QVERIFY(r.rows[0].code.endsWith(QStringLiteral("<rtept/></rte>")));
}

void FavoritesScannerTest::bytesAfterStopAreIgnored() {
    FavoritesScanner scanner;
    QVERIFY(scanner.feed("<gpx><wpt><name>A</name>"));
    QVERIFY(!scanner.stopped());
    QVERIFY(scanner.takeItems().isEmpty());
    QVERIFY(!scanner.feed("</wpt></gpx><wpt><name>B</name></wpt></gpx>"));
    QVERIFY(scanner.stopped());
    QCOMPARE(scanner.takeItems().size(), 1);
    QVERIFY(scanner.takeItems().isEmpty());
    QVERIFY(!scanner.feed("<wpt><name>C</name></wpt></gpx>"));
    QVERIFY(scanner.takeItems().isEmpty());
    QCOMPARE(scanner.itemStarts(), qint64(1));
    QCOMPARE(scanner.header(), QStringLiteral("<gpx>"));
}

// Every byte but CR (dropped) and LF (a space) comes back out of the code and the header.
void FavoritesScannerTest::everyByteValueSurvivesInCodeAndHeader() {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    QByteArray expected = all;
    expected.remove(13, 1);
    expected[10] = ' ';
    const ReferenceFavorites r = load(all + "<wpt>" + all + "</gpx>");
    QVERIFY(r.hasHeader);
    QCOMPARE(CodePage::fromUnicode(r.header), expected);
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(CodePage::fromUnicode(r.rows[0].code), "<wpt>" + expected);
}

void FavoritesScannerTest::positionsBeyond16BitsStillWork() {
    const QByteArray padding(70000, 'x');
    const QByteArray source =
        "<wpt>" + padding + "<name>Far</name>" + padding + "<sym>Flag</sym></wpt></gpx>";
    const ReferenceFavorites r = load(source);
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(r.rows[0].name, QStringLiteral("Far"));
    QCOMPARE(r.rows[0].symbol, QStringLiteral("Flag"));
    QCOMPARE(r.rows[0].code.size(), source.size() - 6);
}

void FavoritesScannerTest::garminEtrexFileListsItsWaypoints() {
    const QByteArray source = readAll(QStringLiteral(TARNWICK_TEST_DATA) +
                                      QStringLiteral("/etrex10_waypoints_track.gpx"));
    QVERIFY(!source.isEmpty());
    const ReferenceFavorites r = load(source);
    QCOMPARE(r.rows.size(), 2);
    QCOMPARE(r.rows[0].name, QStringLiteral("001"));
    QCOMPARE(r.rows[1].name, QStringLiteral("002"));
    QCOMPARE(r.rows[0].symbol, QStringLiteral("Flag, Blue"));
    QCOMPARE(r.rows[1].symbol, QStringLiteral("Flag, Blue"));
    QVERIFY(r.rows[1].code.startsWith(QStringLiteral("<wpt lat=\"37.085751\"")));
    QVERIFY(r.rows[1].code.endsWith(QStringLiteral("</wpt>   ")));
    QVERIFY(r.header.startsWith(QStringLiteral("<?xml version=\"1.0\"")));
    QVERIFY(r.header.endsWith(QStringLiteral("</metadata>   ")));
    QVERIFY(r.stopped);
}

void FavoritesScannerTest::garminTrackOnlyFileHasHeaderAndNoRows() {
    const QByteArray source =
        readAll(QStringLiteral(TARNWICK_TEST_DATA) + QStringLiteral("/oregon400t_track.gpx"));
    QVERIFY(!source.isEmpty());
    const ReferenceFavorites r = load(source);
    QVERIFY(r.rows.isEmpty());
    QVERIFY(r.hasHeader);
    QVERIFY(r.header.endsWith(QStringLiteral("</metadata>   ")));
    QCOMPARE(r.itemStarts, qint64(0));
}

QTEST_APPLESS_MAIN(FavoritesScannerTest)
#include "tst_favoritesscanner.moc"
