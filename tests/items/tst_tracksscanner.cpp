#include "ScanTestSupport.h"

#include "export/CodePage.h"
#include "items/TracksScanner.h"

#include <QBuffer>
#include <QTest>

namespace {

// The whole source in one feed.
ReferenceTracks load(QByteArrayView source) {
    return scanTracks(source, source.size() + 1);
}

QStringList names(const ReferenceTracks& r) {
    QStringList out;
    for (const TrackItem& item : r.rows)
        out << item.name;
    return out;
}

QList<QByteArray> scratchLines(const QByteArray& scratch) {
    QList<QByteArray> lines = scratch.split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    for (QByteArray& line : lines) {
        if (!line.endsWith('\r'))
            return {"line without CR LF: " + line};
        line.chop(1);
    }
    return lines;
}

const QByteArray workedExample =
    joinLines({"<gpx>", "<wpt lat=\"1\" lon=\"2\"><name>W</name></wpt>", "<trk><name>Day 1</name>",
               "<trkseg>", "<trkpt lat=\"1\" lon=\"2\"></trkpt>",
               "<trkpt lat=\"3\" lon=\"4\"></trkpt>", "</trkseg>", "</trk>",
               "<trk><name>Day 2</name><trkseg><trkpt lat=\"5\" lon=\"6\"></trkpt></trkseg></trk>",
               "</gpx>"});

} // namespace

class TracksScannerTest : public QObject {
    Q_OBJECT
private slots:
    void workedExampleListsTracksAndWritesScratch();
    void headerAndRows_data();
    void headerAndRows();
    void tracksStayPairedWithTheirRows_data();
    void tracksStayPairedWithTheirRows();
    void entityNameDecodedInRowButNotInScratch();
    void singleLineFileGivesSameScratchLines();
    void missingFileEndKeepsRowsAndDropsTail();
    void tagTextsAndLineBreaks_data();
    void tagTextsAndLineBreaks();
    void everyByteValueSurvivesInNameAndScratch();
    void longGatheredTextStillNamesTheTrack();
    void failedWriteStopsTheScan_data();
    void failedWriteStopsTheScan();
    void unopenedScratchReportsItsError();
    void garminFilesListTheirTracks();
};

void TracksScannerTest::workedExampleListsTracksAndWritesScratch() {
    const ReferenceTracks r = load(workedExample);
    QVERIFY(r.hasHeader);
    QCOMPARE(r.header, QStringLiteral("<gpx> "));
    QCOMPARE(r.rows.size(), 2);
    QCOMPARE(r.rows[0], (TrackItem{"Day 1", "<name>Day 1", "Day 1"}));
    QCOMPARE(r.rows[1], (TrackItem{"Day 2", "<name>Day 2", "Day 2"}));
    QCOMPARE(r.trackStarts, qint64(2));
    QVERIFY(r.stopped);
    const QList<QByteArray> expected = {"<trk><name>Day 1</name> ",
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
    QCOMPARE(scratchLines(r.scratch), expected);
    QCOMPARE(r.scratch, joinLines(expected));
}

void TracksScannerTest::headerAndRows_data() {
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<bool>("hasHeader");
    QTest::addColumn<QString>("header");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QByteArray>("scratch");
    QTest::newRow("no tracks") << QByteArray("<gpx><wpt><name>W</name></wpt></gpx>") << true
                               << "<gpx>" << QStringList() << QByteArray("</gpx>\r\n");
    QTest::newRow("neither waypoints nor tracks")
        << QByteArray("<gpx><rte><name>R</name></rte></gpx>") << false << "" << QStringList()
        << QByteArray("</gpx>\r\n");
    QTest::newRow("waypoints before tracks: no waypoint text in scratch")
        << QByteArray("<gpx><metadata/><wpt><name>W1</name></wpt><wpt><name>W2</name></wpt>"
                      "<trk><name>T</name><trkseg></trkseg></trk></gpx>")
        << true << "<gpx><metadata/>" << QStringList{"T"}
        << QByteArray("<trk><name>T</name>\r\n<trkseg>\r\n</trkseg>\r\n</trk>\r\n</gpx>\r\n");
    QTest::newRow("no waypoints: routes in header")
        << QByteArray("<gpx><rte><name>R</name><rtept/></rte><trk><name>T</name></trk></gpx>")
        << true << "<gpx><rte><name>R</name><rtept/></rte>" << QStringList{"T"}
        << QByteArray("<trk><name>T</name>\r\n</trk>\r\n</gpx>\r\n");
    QTest::newRow("text between last track and file end dropped")
        << QByteArray("<trk><name>T</name></trk><extensions>x</extensions></gpx>") << true << ""
        << QStringList{"T"} << QByteArray("<trk><name>T</name>\r\n</trk>\r\n</gpx>\r\n");
    QTest::newRow("track without waypoints or points")
        << QByteArray("<trk><name>T</name></trk></gpx>") << true << "" << QStringList{"T"}
        << QByteArray("<trk><name>T</name>\r\n</trk>\r\n</gpx>\r\n");
    QTest::newRow("empty name") << QByteArray("<trk><name></name></trk></gpx>") << true << ""
                                << QStringList{""}
                                << QByteArray("<trk><name></name>\r\n</trk>\r\n</gpx>\r\n");
}

void TracksScannerTest::headerAndRows() {
    QFETCH(QByteArray, source);
    QFETCH(bool, hasHeader);
    QFETCH(QString, header);
    QFETCH(QStringList, names);
    QFETCH(QByteArray, scratch);
    const ReferenceTracks r = load(source);
    QCOMPARE(r.hasHeader, hasHeader);
    QCOMPARE(r.header, header);
    QCOMPARE(::names(r), names);
    QCOMPARE(r.scratch, scratch);
}

void TracksScannerTest::tracksStayPairedWithTheirRows_data() {
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("codes");
    QTest::addColumn<qint64>("starts");
    QTest::newRow("two tracks with one name")
        << QByteArray("<trk><name>Same</name></trk> <trk><name>Same</name></trk></gpx>")
        << QStringList{"Same", "Same"} << QStringList{"<name>Same", "<name>Same"} << qint64(2);
    QTest::newRow("track without a name gets no row")
        << QByteArray("<trk><trkseg><trkpt></trkpt></trkseg></trk>"
                      "<trk><name>B</name></trk></gpx>")
        << QStringList{"B"} << QStringList{"<name>B"} << qint64(2);
    QTest::newRow("named track points add nothing")
        << QByteArray("<trk><name>T</name><trkseg><trkpt><name>P1</name></trkpt>"
                      "<trkpt><name>P2</name></trkpt></trkseg></trk>"
                      "<trk><name>U</name></trk></gpx>")
        << QStringList{"T", "U"} << QStringList{"<name>T", "<name>U"} << qint64(2);
    QTest::newRow("second name of a track adds nothing")
        << QByteArray("<trk><name>A</name><name>B</name></trk><trk><name>C</name></trk></gpx>")
        << QStringList{"A", "C"} << QStringList{"<name>A", "<name>C"} << qint64(2);
    QTest::newRow("unnamed track takes its first named point")
        << QByteArray("<trk><trkseg><trkpt><name>P1</name></trkpt></trkseg></trk></gpx>")
        << QStringList{"P1"} << QStringList{"<trkpt><name>P1"} << qint64(1);
    QTest::newRow("name end without name start lists nothing")
        << QByteArray("<trk>x</name><name>A</name></trk></gpx>") << QStringList{"A"}
        << QStringList{"x</name><name>A"} << qint64(1);
    QTest::newRow("names before the first track list nothing")
        << QByteArray("<gpx><rte><name>R</name></rte><trk></trk></gpx>") << QStringList()
        << QStringList() << qint64(1);
    QTest::newRow("code holds the text since the track start")
        << QByteArray("<trk>\r\n  <desc>d</desc><name>N</name></trk></gpx>") << QStringList{"N"}
        << QStringList{"   <desc>d</desc><name>N"} << qint64(1);
}

void TracksScannerTest::tracksStayPairedWithTheirRows() {
    QFETCH(QByteArray, source);
    QFETCH(QStringList, names);
    QFETCH(QStringList, codes);
    QFETCH(qint64, starts);
    const ReferenceTracks r = load(source);
    QCOMPARE(::names(r), names);
    QStringList gotCodes;
    for (const TrackItem& item : r.rows)
        gotCodes << item.code;
    QCOMPARE(gotCodes, codes);
    QCOMPARE(r.trackStarts, starts);
}

void TracksScannerTest::entityNameDecodedInRowButNotInScratch() {
    const ReferenceTracks r = load("<trk><name>Tom &amp; Jerry&apos;s</name></trk></gpx>");
    QCOMPARE(r.rows.size(), 1);
    QCOMPARE(r.rows[0].name, QStringLiteral("Tom & Jerry's"));
    QCOMPARE(r.rows[0].sourceName, QStringLiteral("Tom &amp; Jerry&apos;s"));
    QVERIFY(r.scratch.startsWith("<trk><name>Tom &amp; Jerry&apos;s</name>\r\n"));
}

void TracksScannerTest::singleLineFileGivesSameScratchLines() {
    QByteArray oneLine = workedExample;
    oneLine.replace("\r\n", "");
    QByteArray lfOnly = workedExample;
    lfOnly.replace("\r\n", "\n");
    const ReferenceTracks lines = load(workedExample);
    QCOMPARE(firstDifference(lines, load(lfOnly)), QString());
    const ReferenceTracks single = load(oneLine);
    QCOMPARE(single.rows, lines.rows);
    QList<QByteArray> expected = scratchLines(lines.scratch);
    for (QByteArray& line : expected)
        line = line.trimmed();
    QCOMPARE(scratchLines(single.scratch), expected);
}

void TracksScannerTest::missingFileEndKeepsRowsAndDropsTail() {
    const ReferenceTracks r =
        load("<trk><name>A</name><trkseg><trkpt></trkpt></trkseg></trk><trk><name>B</name> "
             "<trkseg><trkpt>tail");
    QCOMPARE(names(r), (QStringList{"A", "B"}));
    QVERIFY(!r.stopped);
    QCOMPARE(r.scratch, QByteArray("<trk><name>A</name>\r\n<trkseg>\r\n<trkpt></trkpt>\r\n"
                                   "</trkseg>\r\n</trk>\r\n<trk><name>B</name> \r\n"
                                   "<trkseg>\r\n"));
}

void TracksScannerTest::tagTextsAndLineBreaks_data() {
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<qint64>("starts");
    QTest::newRow("CR inside the track tag")
        << QByteArray("<tr\rk><name>A</name></gpx>") << QStringList{"A"} << qint64(1);
    QTest::newRow("LF inside the track tag is a space")
        << QByteArray("<tr\r\nk><name>A</name></gpx>") << QStringList() << qint64(0);
    QTest::newRow("track tag with attributes")
        << QByteArray("<trk id=\"1\"><name>A</name></gpx>") << QStringList() << qint64(0);
    QTest::newRow("CR inside the name end")
        << QByteArray("<trk><name>A</na\rme></gpx>") << QStringList{"A"} << qint64(1);
    QTest::newRow("upper-case track tag")
        << QByteArray("<TRK><name>A</name></gpx>") << QStringList() << qint64(0);
    QTest::newRow("angle inside the name")
        << QByteArray("<trk><name>a<b</name></gpx>") << QStringList{"a<b"} << qint64(1);
}

void TracksScannerTest::tagTextsAndLineBreaks() {
    QFETCH(QByteArray, source);
    QFETCH(QStringList, names);
    QFETCH(qint64, starts);
    const ReferenceTracks r = load(source);
    QCOMPARE(::names(r), names);
    QCOMPARE(r.trackStarts, starts);
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
    QByteArray source = "<trk><name>A</name><trkseg>";
    for (int i = 0; i < 20; ++i)
        source += "<trkpt lat=\"1\"></trkpt>";
    const bool fed = scanner.feed(source);
    QCOMPARE(fed, feedSucceeds);
    QCOMPARE(scanner.stopped(), !feedSucceeds);
    QVERIFY(!scanner.finish());
    QVERIFY(scanner.writeFailed());
    QVERIFY(scanner.stopped());
    QCOMPARE(scanner.writeError(), FailingDevice::failureText());
    QVERIFY(!scanner.feed("</trkseg></trk></gpx>"));
    QVERIFY(!scanner.finish());
    QCOMPARE(qint64(device.written().size()), limit);
}

void TracksScannerTest::unopenedScratchReportsItsError() {
    QBuffer scratch;
    TracksScanner scanner(&scratch);
    scanner.feed("<trk><name>A</name></trk></gpx>");
    QVERIFY(!scanner.finish());
    QVERIFY(!scanner.writeError().isEmpty());
}

void TracksScannerTest::garminFilesListTheirTracks() {
    const QString data = QStringLiteral(TARNWICK_TEST_DATA);
    const ReferenceTracks oregon = load(readAll(data + QStringLiteral("/oregon400t_track.gpx")));
    QCOMPARE(names(oregon), QStringList{QStringLiteral("Example GPX Document")});
    const QList<QByteArray> lines = scratchLines(oregon.scratch);
    QCOMPARE(lines.size(), 8);
    QCOMPARE(lines[0], QByteArray("<trk>     <name>Example GPX Document</name>     "));
    QCOMPARE(lines[1], QByteArray("<trkseg>"));
    QVERIFY(lines[2].startsWith("       <trkpt lat=\"47.644548\""));
    QVERIFY(lines[2].endsWith("</time>       </trkpt>"));
    QCOMPARE(lines.mid(5), (QList<QByteArray>{"     </trkseg>   ", "</trk>", "</gpx>"}));
    QVERIFY(oregon.header.endsWith(QStringLiteral("</metadata>   ")));

    const ReferenceTracks empty =
        load(readAll(data + QStringLiteral("/oregon400t_empty_name.gpx")));
    QCOMPARE(empty.rows.size(), 1);
    QCOMPARE(empty.rows[0].name, QString());
    QCOMPARE(empty.rows[0].code, QStringLiteral("     <name>"));

    const ReferenceTracks etrex =
        load(readAll(data + QStringLiteral("/etrex10_waypoints_track.gpx")));
    QCOMPARE(names(etrex), QStringList{QStringLiteral("17-MRZ-12 16:44:12")});
    QVERIFY(etrex.header.endsWith(QStringLiteral("</metadata>   ")));
    QVERIFY(!etrex.scratch.contains("<wpt"));
    QVERIFY(etrex.scratch.startsWith("<trk>     <name>17-MRZ-12 16:44:12</name>"));
    QCOMPARE(scratchLines(etrex.scratch).size(), 2 + 4 + 3);
}

QTEST_APPLESS_MAIN(TracksScannerTest)
#include "tst_tracksscanner.moc"
