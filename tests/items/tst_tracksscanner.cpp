#include "ScanTestSupport.h"

#include "items/TracksScanner.h"
#include "text/CodePage.h"

#include <QTest>

namespace {

// The whole source in one feed; fed a byte at a time through a tiny buffer, the rows, header
// and scratch must come out the same.
ReferenceTracks load(QByteArrayView source) {
    const ReferenceTracks whole = scanTracks(source, source.size() + 1);
    const QString diff = firstDifference(whole, scanTracks(source, 1, nullptr, 3));
    QTest::qVerify(diff.isEmpty(), "fed a byte at a time", qPrintable(diff), __FILE__, __LINE__);
    return whole;
}

ReferenceTracks loadFile(const char* name) {
    return load(readAll(QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(name)));
}

// Each row as its name followed by its code.
QStringList rowTexts(const ReferenceTracks& r) {
    QStringList out;
    for (const TrackItem& item : r.rows)
        out << item.name << item.code;
    return out;
}

// A row of rowsHeaderAndScratch: a null header means none was found; a null scratch is left
// to the comparison with the reference.
void addRow(const char* tag, const QByteArray& source, const QString& header,
            const QStringList& rows, const QByteArray& scratch = {}) {
    QTest::newRow(tag) << source << header << rows << scratch;
}

// Its lines end in LF here, replaced by each line end under test.
const QByteArray workedExample =
    "<gpx>\n<wpt lat=\"1\" lon=\"2\"><name>W</name></wpt>\n<trk><name>Day 1</name>\n<trkseg>\n"
    "<trkpt lat=\"1\" lon=\"2\"></trkpt>\n<trkpt lat=\"3\" lon=\"4\"></trkpt>\n</trkseg>\n</trk>\n"
    "<trk><name>Day 2</name><trkseg><trkpt lat=\"5\" lon=\"6\"></trkpt></trkseg></trk>\n</gpx>\n";

} // namespace

class TracksScannerTest : public QObject {
    Q_OBJECT
private slots:
    void workedExampleListsTracksAndWritesScratch_data();
    void workedExampleListsTracksAndWritesScratch();
    void rowsHeaderAndScratch_data();
    void rowsHeaderAndScratch();
    void everyByteValueSurvivesInNameAndScratch();
    void longGatheredTextStillNamesTheTrack();
    void failedWriteStopsTheScan_data();
    void failedWriteStopsTheScan();
    void garminFilesListTheirTracks();
};

void TracksScannerTest::workedExampleListsTracksAndWritesScratch_data() {
    QTest::addColumn<QByteArray>("lineEnd");
    QTest::newRow("CR LF") << QByteArray("\r\n");
    QTest::newRow("LF") << QByteArray("\n");
    QTest::newRow("one line") << QByteArray();
}

// The unit may write its file in one line: the scratch lines must not depend on line breaks,
// except for the blanks a line break leaves.
void TracksScannerTest::workedExampleListsTracksAndWritesScratch() {
    QFETCH(QByteArray, lineEnd);
    const ReferenceTracks r = load(QByteArray(workedExample).replace('\n', lineEnd));
    QVERIFY(r.hasHeader && r.stopped);
    QCOMPARE(r.header, lineEnd.isEmpty() ? QStringLiteral("<gpx>") : QStringLiteral("<gpx> "));
    QCOMPARE(r.rows, (QList<TrackItem>{{"Day 1", "<name>Day 1", "Day 1"},
                                       {"Day 2", "<name>Day 2", "Day 2"}}));
    QCOMPARE(r.trackStarts, qint64(2));
    QList<QByteArray> expected = {"<trk><name>Day 1</name> ",
                                  "<trkseg>",
                                  " <trkpt lat=\"1\" lon=\"2\"></trkpt>",
                                  " <trkpt lat=\"3\" lon=\"4\"></trkpt>",
                                  " </trkseg> ",
                                  "</trk>",
                                  " <trk><name>Day 2</name>",
                                  "<trkseg>",
                                  "<trkpt lat=\"5\" lon=\"6\"></trkpt>",
                                  "</trkseg>",
                                  "</trk>",
                                  "</gpx>"};
    if (lineEnd.isEmpty()) {
        for (QByteArray& line : expected)
            line = line.trimmed();
    }
    QCOMPARE(r.scratch, joinLines(expected));
}

void TracksScannerTest::rowsHeaderAndScratch_data() {
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("header");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QByteArray>("scratch");
    const QString none;
    const QString blank("");
    addRow("no tracks", "<gpx><wpt><name>W</name></wpt></gpx>", "<gpx>", {}, "</gpx>\r\n");
    addRow("neither waypoints nor tracks", "<gpx><rte><name>R</name></rte></gpx>", none, {},
           "</gpx>\r\n");
    addRow("waypoints before tracks: no waypoint text in scratch",
           "<gpx><metadata/><wpt><name>W1</name></wpt><wpt><name>W2</name></wpt>"
           "<trk><name>T</name><trkseg></trkseg></trk></gpx>",
           "<gpx><metadata/>", {"T", "<name>T"},
           "<trk><name>T</name>\r\n<trkseg>\r\n</trkseg>\r\n</trk>\r\n</gpx>\r\n");
    addRow("no waypoints: routes in header",
           "<gpx><rte><name>R</name><rtept/></rte><trk><name>T</name></trk></gpx>",
           "<gpx><rte><name>R</name><rtept/></rte>", {"T", "<name>T"},
           "<trk><name>T</name>\r\n</trk>\r\n</gpx>\r\n");
    addRow("track without waypoints; text after the last track dropped",
           "<trk><name>T</name></trk><extensions>x</extensions></gpx>", blank, {"T", "<name>T"},
           "<trk><name>T</name>\r\n</trk>\r\n</gpx>\r\n");
    addRow("entities decoded in the row, not in the scratch",
           "<trk><name>Tom &amp; Jerry&apos;s</name></trk></gpx>", blank,
           {"Tom & Jerry's", "<name>Tom &amp; Jerry&apos;s"},
           "<trk><name>Tom &amp; Jerry&apos;s</name>\r\n</trk>\r\n</gpx>\r\n");
    addRow("no file end: rows kept, tail dropped",
           "<trk><name>A</name><trkseg><trkpt></trkpt></trkseg></trk>"
           "<trk><name>B</name> <trkseg><trkpt>tail",
           blank, {"A", "<name>A", "B", "<name>B"},
           "<trk><name>A</name>\r\n<trkseg>\r\n<trkpt></trkpt>\r\n</trkseg>\r\n</trk>\r\n"
           "<trk><name>B</name> \r\n<trkseg>\r\n");
    addRow("two tracks with one name",
           "<trk><name>Same</name></trk> <trk><name>Same</name></trk></gpx>", blank,
           {"Same", "<name>Same", "Same", "<name>Same"});
    addRow("track without a name gets no row",
           "<trk><trkseg><trkpt></trkpt></trkseg></trk><trk><name>B</name></trk></gpx>", blank,
           {"B", "<name>B"});
    addRow("second name and named track points add nothing",
           "<trk><name>T</name><name>X</name><trkseg><trkpt><name>P1</name></trkpt></trkseg>"
           "</trk><trk><name>U</name></trk></gpx>",
           blank, {"T", "<name>T", "U", "<name>U"});
    addRow("unnamed track takes its first named point",
           "<trk><trkseg><trkpt><name>P1</name></trkpt></trkseg></trk></gpx>", blank,
           {"P1", "<trkpt><name>P1"});
    addRow("name end without name start", "<trk>x</name><name>A</name></trk></gpx>", blank,
           {"A", "x</name><name>A"});
    addRow("code holds the text since the track start",
           "<trk>\r\n  <desc>d</desc><name>N</name></trk></gpx>", blank,
           {"N", "   <desc>d</desc><name>N"});
    addRow("CR inside the track tag", "<tr\rk><name>A</name></gpx>", blank, {"A", "<name>A"});
    addRow("LF inside the track tag is a space", "<tr\r\nk><name>A</name></gpx>", none, {});
    addRow("track tag with attributes", "<trk id=\"1\"><name>A</name></gpx>", none, {});
    addRow("upper-case track tag", "<TRK><name>A</name></gpx>", none, {});
    addRow("angle inside the name", "<trk><name>a<b</name></gpx>", blank, {"a<b", "<name>a<b"});
}

void TracksScannerTest::rowsHeaderAndScratch() {
    QFETCH(QByteArray, source);
    QFETCH(QString, header);
    QFETCH(QStringList, rows);
    QFETCH(QByteArray, scratch);
    const ReferenceTracks r = load(source);
    QCOMPARE(r.hasHeader, !header.isNull());
    QCOMPARE(r.header, header);
    QCOMPARE(rowTexts(r), rows);
    QCOMPARE(r.stopped, source.contains("</gpx>"));
    if (!scratch.isNull())
        QCOMPARE(r.scratch, scratch);
    QCOMPARE(firstDifference(referenceTracks(source), r), QString());
}

// Every byte but CR (dropped) and LF (a space) comes back out of the name and the scratch.
void TracksScannerTest::everyByteValueSurvivesInNameAndScratch() {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    QByteArray expected = all;
    expected.remove(13, 1);
    expected[10] = ' ';
    const ReferenceTracks r = load("<trk><name>" + all + "</name></trk></gpx>");
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(CodePage::fromUnicode(r.rows[0].sourceName), expected);
    QCOMPARE(CodePage::fromUnicode(r.rows[0].code), "<name>" + expected);
    QCOMPARE(r.scratch, "<trk><name>" + expected + "</name>\r\n</trk>\r\n</gpx>\r\n");
}

void TracksScannerTest::longGatheredTextStillNamesTheTrack() {
    const QByteArray padding(70000, 'x');
    const QByteArray longName(40000, 'n');
    const ReferenceTracks r = load("<trk>" + padding + "<name>" + longName + "</name></trk></gpx>");
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(r.rows[0].name.size(), longName.size());
    QCOMPARE(r.rows[0].code.size(), padding.size() + 6 + longName.size());
}

void TracksScannerTest::failedWriteStopsTheScan_data() {
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<qsizetype>("bufferSize");
    QTest::addColumn<bool>("feedSucceeds");
    QTest::newRow("fails while scanning") << qint64(10) << qsizetype(16) << false;
    QTest::newRow("fails on the last flush") << qint64(10) << qsizetype(64 * 1024) << true;
    QTest::newRow("full device") << qint64(0) << qsizetype(1) << false;
}

void TracksScannerTest::failedWriteStopsTheScan() {
    QFETCH(qint64, limit);
    QFETCH(qsizetype, bufferSize);
    QFETCH(bool, feedSucceeds);
    FailingDevice device(limit);
    TracksScanner scanner(&device, bufferSize);
    const QByteArray source =
        "<trk><name>A</name><trkseg>" + QByteArray("<trkpt lat=\"1\"></trkpt>").repeated(20);
    QCOMPARE(scanner.feed(source), feedSucceeds);
    QCOMPARE(scanner.stopped(), !feedSucceeds);
    QVERIFY(!scanner.finish());
    QVERIFY(scanner.writeFailed() && scanner.stopped());
    QCOMPARE(scanner.writeError(), FailingDevice::failureText());
    QVERIFY(!scanner.feed("</trkseg></trk></gpx>"));
    QVERIFY(!scanner.finish());
    QCOMPARE(qint64(device.written().size()), limit);
}

// The scratch lines of real files, with the blanks the unit writes around its tags.
void TracksScannerTest::garminFilesListTheirTracks() {
    const ReferenceTracks oregon = loadFile("oregon400t_track.gpx");
    QCOMPARE(rowTexts(oregon),
             (QStringList{"Example GPX Document", "     <name>Example GPX Document"}));
    QVERIFY(oregon.header.endsWith(QStringLiteral("</metadata>   ")));
    QVERIFY(oregon.scratch.startsWith("<trk>     <name>Example GPX Document</name>     \r\n"
                                      "<trkseg>\r\n       <trkpt lat=\"47.644548\""));
    QVERIFY(oregon.scratch.contains("</time>       </trkpt>\r\n"));
    QVERIFY(oregon.scratch.endsWith("\r\n     </trkseg>   \r\n</trk>\r\n</gpx>\r\n"));
    QCOMPARE(oregon.scratch.count('\n'), oregon.scratch.count("\r\n"));
    QCOMPARE(oregon.scratch.count("\r\n"), 8);

    QCOMPARE(rowTexts(loadFile("oregon400t_empty_name.gpx")), (QStringList{"", "     <name>"}));

    const ReferenceTracks etrex = loadFile("etrex10_waypoints_track.gpx");
    QCOMPARE(rowTexts(etrex), (QStringList{"17-MRZ-12 16:44:12", "     <name>17-MRZ-12 16:44:12"}));
    QVERIFY(etrex.header.endsWith(QStringLiteral("</metadata>   ")));
    QVERIFY(!etrex.scratch.contains("<wpt"));
    QVERIFY(etrex.scratch.startsWith("<trk>     <name>17-MRZ-12 16:44:12</name>"));
    QCOMPARE(etrex.scratch.count("\r\n"), 2 + 4 + 3);
}

QTEST_APPLESS_MAIN(TracksScannerTest)
#include "tst_tracksscanner.moc"
