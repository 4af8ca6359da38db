#include "ScanTestSupport.h"

#include "items/FavoritesScanner.h"
#include "text/CodePage.h"

#include <QTest>

namespace {

// The whole source in one feed; fed a byte at a time, the result must be the same.
ReferenceFavorites load(QByteArrayView source) {
    const ReferenceFavorites whole = scanFavorites(source, source.size() + 1);
    const QString diff = firstDifference(whole, scanFavorites(source, 1));
    QTest::qVerify(diff.isEmpty(), "fed a byte at a time", qPrintable(diff), __FILE__, __LINE__);
    return whole;
}

QStringList names(const ReferenceFavorites& r) {
    QStringList out;
    for (const FavoriteItem& item : r.rows)
        out << item.name;
    return out;
}

void addRuleRow(const char* tag, const QByteArray& text, const QString& name,
                const QString& symbol) {
    QTest::newRow(tag) << text << name << symbol;
}

// A null header means none was found.
void addEndRow(const char* tag, const QByteArray& source, const QStringList& names,
               const QString& header, bool stopped) {
    QTest::newRow(tag) << source << names << header << stopped;
}

const QString none = QStringLiteral("--- NONE ---");

// Its lines end in LF here, replaced by each line end under test.
const QByteArray workedExample =
    "<?xml version=\"1.0\"?>\n<gpx creator=\"x\">\n"
    "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, Blue</sym></wpt>\n"
    "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt>\n</gpx>\n";

} // namespace

class FavoritesScannerTest : public QObject {
    Q_OBJECT
private slots:
    void workedExampleListsTwoFavorites_data();
    void workedExampleListsTwoFavorites();
    void nameAndSymbolRules_data();
    void nameAndSymbolRules();
    void terminatorsEndTheScan_data();
    void terminatorsEndTheScan();
    void favoriteStartRecognisedOnlyAsExactTagText_data();
    void favoriteStartRecognisedOnlyAsExactTagText();
    void bytesAfterStopAreIgnored();
    void everyByteValueSurvivesInCodeAndHeader();
    void positionsBeyond16BitsStillWork();
    void garminFilesListTheirWaypoints();
};

void FavoritesScannerTest::workedExampleListsTwoFavorites_data() {
    QTest::addColumn<QByteArray>("lineEnd");
    QTest::newRow("CR LF") << QByteArray("\r\n");
    QTest::newRow("LF") << QByteArray("\n");
    QTest::newRow("one line") << QByteArray();
}

// A line break leaves one space and nothing else; the unit may write its file in one line.
void FavoritesScannerTest::workedExampleListsTwoFavorites() {
    QFETCH(QByteArray, lineEnd);
    const ReferenceFavorites r = load(QByteArray(workedExample).replace('\n', lineEnd));
    const QString space = lineEnd.isEmpty() ? QString() : QStringLiteral(" ");
    QVERIFY(r.hasHeader && r.stopped);
    QCOMPARE(r.header, "<?xml version=\"1.0\"?>" + space + "<gpx creator=\"x\">" + space);
    const QList<FavoriteItem> expected = {
        {"A & B",
         "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, Blue</sym></wpt>" + space,
         "Flag, Blue"},
        {"Home", "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt>" + space, none}};
    QCOMPARE(r.rows, expected);
    QCOMPARE(r.itemStarts, qint64(2));
}

void FavoritesScannerTest::nameAndSymbolRules_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("symbol");
    addRuleRow("entities decoded", "><name>Joe&apos;s &amp; &lt;</name><sym>A&amp;B</sym>",
               "Joe's & &lt;", "A&B");
    addRuleRow("first name and symbol win",
               "><name>one</name><name>two</name><sym>S1</sym><sym>S2</sym>", "one", "S1");
    addRuleRow("empty symbol element", "><name>N</name><sym></sym>", "N", none);
    addRuleRow("no symbol", "><name>N</name>", "N", none);
    addRuleRow("symbol tags out of order", "><name>N</name></sym>x<sym>", "N", none);
    // "<sym>" absent counts as position 0: the symbol starts at position 5 of the text.
    addRuleRow("symbol end without start", ">abc</sym>", "", ">abc");
    // "<name>" absent: the name starts at position 6, right after "<wpt>".
    addRuleRow("name end without start", ">abcde</name>", "abcde", none);
    addRuleRow("name end without start, length 0", "></name>", "", none);
    addRuleRow("name end too early, negative length", "</name>x", "", none);
    addRuleRow("name without end", "><name>lost<sym>S</sym>", "", "S");
    addRuleRow("name end before name start", "></name><name>x", "", none);
    addRuleRow("empty name", "><name></name><sym>S</sym>", "", "S");
    addRuleRow("multi-byte characters stay bytes", "><name>Caf\xc3\xa9</name>",
               QString::fromUtf16(u"Caf\u00c3\u00a9"), none);
    addRuleRow("tags of another element count too", "></wpt><rte><name>R</name><sym>RS</sym></rte>",
               "R", "RS");
    addRuleRow(
        "route stays in the last favorite",
        "><name>A</name><sym>S</sym></wpt><rte><name>Route</name><sym>RS</sym><rtept/></rte>", "A",
        "S");
    addRuleRow("line breaks inside the favorite",
               " lat=\"1\">\r\n  <name>A</name>\n  <sym>Flag, Blue</sym>\r\n</wpt>\r\n", "A",
               "Flag, Blue");
}

// One favorite, ended by the first track; its code is its text with CR dropped and LF a space.
void FavoritesScannerTest::nameAndSymbolRules() {
    QFETCH(QByteArray, text);
    QFETCH(QString, name);
    QFETCH(QString, symbol);
    const QByteArray source = "<gpx><wpt" + text + "<trk><name>T</name></trk></gpx>";
    const ReferenceFavorites r = load(source);
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(r.rows[0].name, name);
    QCOMPARE(r.rows[0].symbol, symbol);
    QCOMPARE(r.rows[0].code,
             CodePage::toUnicode(QByteArray("<wpt" + text).replace("\r", "").replace('\n', ' ')));
    QCOMPARE(firstDifference(referenceFavorites(source), r), QString());
}

void FavoritesScannerTest::terminatorsEndTheScan_data() {
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("header");
    QTest::addColumn<bool>("stopped");
    const QString blank("");
    addEndRow("no favorite, a track", "<gpx> <trk><name>T</name></trk></gpx>", {}, "<gpx> ", true);
    addEndRow("one favorite then file end", "<gpx><wpt><name>A</name></wpt></gpx>", {"A"}, "<gpx>",
              true);
    addEndRow("last favorite without terminator is missing",
              "<gpx><wpt><name>A</name></wpt><wpt><name>B</name></wpt>", {"A"}, "<gpx>", false);
    addEndRow("favorites after the first track are not listed",
              "<wpt><name>A</name></wpt><trk></trk><wpt><name>B</name></wpt></gpx>", {"A"}, blank,
              true);
    addEndRow("track with attributes does not terminate",
              "<wpt><name>A</name></wpt><trk x=\"1\"><wpt><name>B</name></wpt></gpx>", {"A", "B"},
              blank, true);
    addEndRow("segment tag does not terminate",
              "<wpt><name>A</name><trkseg><wpt><name>B</name></gpx>", {"A", "B"}, blank, true);
    addEndRow("upper-case terminator is text", "<wpt><name>A</name></GPX><TRK></gpx>", {"A"}, blank,
              true);
    addEndRow("neither favorite nor terminator", "<?xml?><gpx><rte></rte>", {}, {}, false);
    addEndRow("empty source", "", {}, {}, false);
}

void FavoritesScannerTest::terminatorsEndTheScan() {
    QFETCH(QByteArray, source);
    QFETCH(QStringList, names);
    QFETCH(QString, header);
    QFETCH(bool, stopped);
    const ReferenceFavorites r = load(source);
    QCOMPARE(::names(r), names);
    QCOMPARE(r.hasHeader, !header.isNull());
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
    QTest::newRow("LF inside the tag name is a space") << QByteArray("<w\r\npt>") << 0;
    QTest::newRow("namespace prefix") << QByteArray("<gpx:wpt>") << 0;
    QTest::newRow("upper case") << QByteArray("<WPT>") << 0;
}

// A plain favorite, then the start under test: either way the named text is in the last row.
void FavoritesScannerTest::favoriteStartRecognisedOnlyAsExactTagText() {
    QFETCH(QByteArray, start);
    QFETCH(int, rows);
    const ReferenceFavorites r =
        load("<gpx><wpt>first</wpt>" + start + "<name>N</name></wpt></gpx>");
    QCOMPARE(r.rows.size(), rows + 1);
    QCOMPARE(r.rows.last().name, QStringLiteral("N"));
}

void FavoritesScannerTest::bytesAfterStopAreIgnored() {
    FavoritesScanner scanner;
    QVERIFY(scanner.feed("<gpx><wpt><name>A</name>"));
    QVERIFY(scanner.takeItems().isEmpty());
    QVERIFY(!scanner.feed("</wpt></gpx><wpt><name>B</name></wpt></gpx>"));
    QVERIFY(scanner.stopped());
    QCOMPARE(scanner.takeItems().size(), 1);
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

void FavoritesScannerTest::garminFilesListTheirWaypoints() {
    const QString data = QStringLiteral(TARNWICK_TEST_DATA "/");
    const ReferenceFavorites etrex = load(readAll(data + "etrex10_waypoints_track.gpx"));
    QCOMPARE(names(etrex), (QStringList{"001", "002"}));
    for (const FavoriteItem& item : etrex.rows)
        QCOMPARE(item.symbol, QStringLiteral("Flag, Blue"));
    QVERIFY(etrex.rows[1].code.startsWith(QStringLiteral("<wpt lat=\"37.085751\"")));
    QVERIFY(etrex.rows[1].code.endsWith(QStringLiteral("</wpt>   ")));
    QVERIFY(etrex.header.startsWith(QStringLiteral("<?xml version=\"1.0\"")));
    QVERIFY(etrex.header.endsWith(QStringLiteral("</metadata>   ")));
    QVERIFY(etrex.stopped);

    // A file of one track: its header, no favorites.
    const ReferenceFavorites oregon = load(readAll(data + "oregon400t_track.gpx"));
    QVERIFY(oregon.rows.isEmpty() && oregon.hasHeader);
    QVERIFY(oregon.header.endsWith(QStringLiteral("</metadata>   ")));
    QCOMPARE(oregon.itemStarts, qint64(0));
}

QTEST_APPLESS_MAIN(FavoritesScannerTest)
#include "tst_favoritesscanner.moc"
