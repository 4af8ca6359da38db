// The export: the favorites and tracks bodies on bytes, the free file name, the file that is
// never overwritten and never left half-written, and real GPX files end to end.

#include "export/ExportWriter.h"

#include "export/CodePage.h"
#include "export/CorpusItems.h"
#include "export/FailDevice.h"
#include "items/FlexGridModel.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString noneSymbol = QStringLiteral("--- NONE ---");

// Fills the grid with its heading row and the item rows (mark, name, code, symbol).
void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows) {
    grid.setRows(0);
    grid.appendRows({{QStringLiteral(" "), QStringLiteral("NAME"),
                      QStringLiteral("FAVORITE'S XML CODE"), QStringLiteral("SYMBOL")}});
    grid.appendRows(rows);
    grid.setFixedRows(1);
}

QByteArray crlfLines(const QList<QByteArray>& lines) {
    QByteArray bytes;
    for (const QByteArray& line : lines)
        bytes += line + "\r\n";
    return bytes;
}

// The scratch file of the tracks load of two tracks, «Day 1» and «Day 2».
const QList<QByteArray> twoDays = {
    "<trk><name>Day 1</name> ",
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
    "</gpx>",
};

// Lines first to last, counted from 1.
QByteArray twoDaysLines(int first, int last) {
    return crlfLines(twoDays.mid(first - 1, last - first + 1));
}

QList<QStringList> trackRows(const QStringList& names, const QString& marks) {
    QList<QStringList> rows;
    for (qsizetype i = 0; i < names.size(); ++i)
        rows.append(
            {marks.mid(i, 1) == QLatin1String("X") ? QStringLiteral("X") : QStringLiteral(" "),
             names[i], QStringLiteral("<name>") + names[i], QString()});
    return rows;
}

QByteArray fileBytes(const QString& path) {
    return CorpusItems::readBytes(path);
}

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden |
                                  QDir::System);
}

bool touch(const QString& path, const QByteArray& bytes = "old") {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Whether the permissions of a folder keep this process out (not so for root).
bool permissionsApply(const QString& folder) {
    QFile probe(QDir(folder).filePath(QStringLiteral("probe")));
    if (probe.open(QIODevice::WriteOnly)) {
        probe.close();
        probe.remove();
        return false;
    }
    return true;
}

// The scratch file that a tracks load writes, cut from a file's text: a line ends after each
// "</trkpt>", "<trkseg>" and "</trk>" stand on their own lines, "</gpx>" is the last line.
QList<QByteArray> scratchOf(const QByteArray& fileBytes) {
    const QByteArray text = CorpusItems::loadedForm(fileBytes);
    QList<QByteArray> lines;
    const qsizetype start = text.indexOf("<trk>");
    qsizetype end = text.indexOf("</gpx>");
    if (start < 0)
        return lines;
    if (end < 0)
        end = text.size();
    QByteArray line;
    for (qsizetype pos = start; pos < end;) {
        const QByteArrayView rest = QByteArrayView(text).sliced(pos);
        if (rest.startsWith("</trkpt>")) {
            lines.append(line + "</trkpt>");
            line.clear();
            pos += 8;
        } else if (rest.startsWith("<trkseg>") || rest.startsWith("</trk>")) {
            const QByteArray tag = rest.startsWith("<trkseg>") ? "<trkseg>" : "</trk>";
            lines.append(line);
            lines.append(tag);
            line.clear();
            pos += tag.size();
        } else {
            line += text[pos++];
        }
    }
    lines.append("</gpx>");
    return lines;
}

QStringList corpusFiles() {
    return QDir(QStringLiteral(TARNWICK_CORPUS))
        .entryList({QStringLiteral("*.gpx")}, QDir::Files, QDir::Name);
}

} // namespace

class ExportWriterTest : public QObject {
    Q_OBJECT
private slots:
    void favoritesBody_data();
    void favoritesBody();
    void tracksBody_data();
    void tracksBody();
    void tracksBodyIsTheSameWhateverTheReadSizes();
    void bodiesReportFailingDevices();
    void freeExportName_data();
    void freeExportName();
    void exportWritesHeaderItemsAndEnd();
    void exportNeverOverwritesExisting();
    void everyByteValueSurvivesTheExport();
    void exportFailuresLeaveNoFile_data();
    void exportFailuresLeaveNoFile();
    void tracksExportCopiesFromTheScratchFile();
    void unreadableScratchLeavesNoFile();
    void realFavoritesAreCopiedUnchanged();
    void realSymbolsAreConverted();
    void realTracksAreCopiedWhole();
};

void ExportWriterTest::favoritesBody_data() {
    QTest::addColumn<QList<QStringList>>("rows");
    QTest::addColumn<bool>("convert");
    QTest::addColumn<QList<SymbolPair>>("table");
    QTest::addColumn<QByteArray>("expected");

    const QList<SymbolPair> table = {{QStringLiteral("Flag, Blue"), QStringLiteral("BLUE FLAG")},
                                     {QStringLiteral("Residence"), QStringLiteral("HOUSE")},
                                     {QStringLiteral("Residence"), QStringLiteral("SECOND")},
                                     {QStringLiteral("Blank"), QString()}};
    const QString home =
        QStringLiteral("<wpt lat=\"1\" lon=\"2\"> <name>Home</name> <sym>Residence</sym> </wpt> ");
    const QList<QStringList> homeRow = {
        {QStringLiteral("X"), QStringLiteral("Home"), home, QStringLiteral("Residence")}};

    QTest::newRow("converted; first of two equal table rows wins")
        << homeRow << true << table
        << QByteArray("<wpt lat=\"1\" lon=\"2\"> <name>Home</name> <sym>HOUSE</sym> </wpt> \r\n");
    QTest::newRow("conversion off") << homeRow << false << table << (home.toLatin1() + "\r\n");
    QTest::newRow("table row 0 takes part")
        << QList<QStringList>{{"X", "F", "<wpt><sym>Flag, Blue</sym></wpt>", "Flag, Blue"}} << true
        << table << QByteArray("<wpt><sym>BLUE FLAG</sym></wpt>\r\n");
    QTest::newRow("symbol not in table")
        << QList<QStringList>{{"X", "F", "<wpt><sym>Skull</sym></wpt>", "Skull"}} << true << table
        << QByteArray("<wpt><sym>Skull</sym></wpt>\r\n");
    QTest::newRow("look-up is case-sensitive")
        << QList<QStringList>{{"X", "F", "<wpt><sym>flag, blue</sym></wpt>", "flag, blue"}} << true
        << table << QByteArray("<wpt><sym>flag, blue</sym></wpt>\r\n");
    QTest::newRow("no sym element")
        << QList<QStringList>{{"X", "F", "<wpt><name>F</name></wpt>", "Residence"}} << true << table
        << QByteArray("<wpt><name>F</name></wpt>\r\n");
    QTest::newRow("only the first of several sym elements")
        << QList<QStringList>{{"X", "F", "<sym>Residence</sym><sym>Residence</sym>", "Residence"}}
        << true << table << QByteArray("<sym>HOUSE</sym><sym>Residence</sym>\r\n");
    QTest::newRow("empty DeLorme symbol")
        << QList<QStringList>{{"X", "F", "<wpt><sym>Blank</sym></wpt>", "Blank"}} << true << table
        << QByteArray("<wpt><sym></sym></wpt>\r\n");
    QTest::newRow("no closing tag: the whole text follows the symbol")
        << QList<QStringList>{{"X", "F", "<wpt><sym>Residence", "Residence"}} << true << table
        << QByteArray("<wpt><sym>HOUSE<wpt><sym>Residence\r\n");
    QTest::newRow("closing tag before the opening one")
        << QList<QStringList>{{"X", "F", "a</sym>b<sym>Residence", "Residence"}} << true << table
        << QByteArray("a</sym>b<sym>HOUSE</sym>b<sym>Residence\r\n");
    QTest::newRow("DeLorme symbol written unescaped")
        << QList<QStringList>{{"X", "F", "<sym>A</sym>", "A"}} << true
        << QList<SymbolPair>{{QStringLiteral("A"), QStringLiteral("R&D <1>")}}
        << QByteArray("<sym>R&D <1></sym>\r\n");
    QTest::newRow("only rows marked exactly X, in grid order")
        << QList<QStringList>{{"X", "a", "<a/>", noneSymbol},
                              {" ", "b", "<b/>", noneSymbol},
                              {"x", "c", "<c/>", noneSymbol},
                              {"X ", "d", "<d/>", noneSymbol},
                              {"X", "e", "<e/>", noneSymbol}}
        << true << table << QByteArray("<a/>\r\n<e/>\r\n");
    QTest::newRow("nothing marked")
        << QList<QStringList>{{" ", "a", "<a/>", noneSymbol}} << true << table << QByteArray();
}

void ExportWriterTest::favoritesBody() {
    QFETCH(QList<QStringList>, rows);
    QFETCH(bool, convert);
    QFETCH(QList<SymbolPair>, table);
    QFETCH(QByteArray, expected);
    FlexGridModel grid(4);
    fillGrid(grid, rows);
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    QVERIFY(writeFavoritesBody(out, grid, convert ? &table : nullptr));
    QCOMPARE(out.data(), expected);
}

void ExportWriterTest::tracksBody_data() {
    QTest::addColumn<QByteArray>("scratch");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("marks");
    QTest::addColumn<QStringList>("sourceNames");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray days = crlfLines(twoDays);
    const QStringList both = {QStringLiteral("Day 1"), QStringLiteral("Day 2")};
    QTest::newRow("only Day 2") << days << both << "-X" << QStringList() << twoDaysLines(7, 11);
    QTest::newRow("only Day 1: the copy stops before the next track")
        << days << both << "X-" << QStringList() << twoDaysLines(1, 6);
    QTest::newRow("both") << days << both << "XX" << QStringList() << twoDaysLines(1, 11);
    QTest::newRow("a name found nowhere ends the track loop")
        << days << QStringList{"Day 1", "Nowhere", "Day 2"} << "XXX" << QStringList()
        << twoDaysLines(1, 6);
    QTest::newRow("short name matches another track's start line")
        << days << QStringList{"Day 1", "Day"} << "-X" << QStringList() << twoDaysLines(1, 6);
    QTest::newRow("short name matching a track point writes that line only")
        << days << QStringList{"Day 1", "2"} << "-X" << QStringList() << twoDaysLines(3, 3);
    QTest::newRow("the search goes on where the previous one matched")
        << days << QStringList{"lat", "lat", "Day 2"} << "XXX" << QStringList()
        << (twoDaysLines(3, 3) + twoDaysLines(3, 3) + twoDaysLines(7, 11));
    QTest::newRow("empty name matches the line the search starts at")
        << days << QStringList{"Day 1", ""} << "XX" << QStringList() << twoDaysLines(1, 11);
    QTest::newRow("empty name passes over empty lines")
        << crlfLines({"", "<trk><name>A</name>", "</trk>", "</gpx>"}) << QStringList{""} << "X"
        << QStringList() << crlfLines({"<trk><name>A</name>", "</trk>"});
    QTest::newRow("names are matched case-sensitively")
        << days << QStringList{"day 2"} << "X" << QStringList() << QByteArray();
    QTest::newRow("nothing marked") << days << both << "--" << QStringList() << QByteArray();

    const QByteArray entities = crlfLines({"<trk><name>A &amp; B</name>", "<trkseg>", "</trk>",
                                           " <trk><name>Joe&apos;s</name>", "</trk>", "</gpx>"});
    const QStringList decoded = {QStringLiteral("A & B"), QStringLiteral("Joe's")};
    QTest::newRow("entities: the source form finds the start line")
        << entities << decoded << "XX"
        << QStringList{QString(), QStringLiteral("A &amp; B"), QStringLiteral("Joe&apos;s")}
        << entities.left(entities.size() - 8);
    QTest::newRow("entities: the decoded name alone finds nothing")
        << entities << decoded << "XX" << QStringList() << QByteArray();

    const QByteArray cut = crlfLines(twoDays.mid(0, 11));
    QTest::newRow("no </gpx>: the last track is copied to the end")
        << cut << both << "-X" << QStringList() << twoDaysLines(7, 11);
    QTest::newRow("no </gpx>: a missing name stops at the end")
        << cut << QStringList{"Nowhere", "Day 2"} << "XX" << QStringList() << QByteArray();
    QTest::newRow("no </gpx> and no final line end")
        << cut.chopped(2) << both << "-X" << QStringList() << twoDaysLines(7, 11);
    QTest::newRow("empty scratch file")
        << QByteArray() << both << "XX" << QStringList() << QByteArray();
    QTest::newRow("lone CR and LF stay inside a line")
        << QByteArray("<trk><name>A</name>\n<x>\r\n<y\r>\r\n</gpx>\r\n") << QStringList{"A"} << "X"
        << QStringList() << QByteArray("<trk><name>A</name>\n<x>\r\n<y\r>\r\n");
}

void ExportWriterTest::tracksBody() {
    QFETCH(QByteArray, scratch);
    QFETCH(QStringList, names);
    QFETCH(QString, marks);
    QFETCH(QStringList, sourceNames);
    QFETCH(QByteArray, expected);
    FlexGridModel grid(4);
    fillGrid(grid, trackRows(names, marks));
    QBuffer in(&scratch);
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    QCOMPARE(writeTracksBody(out, in, grid, sourceNames), TracksBody::Written);
    QCOMPARE(out.data(), expected);
}

void ExportWriterTest::tracksBodyIsTheSameWhateverTheReadSizes() {
    // Many tracks, so that lines and their CR LF fall across every kind of block boundary.
    QList<QByteArray> lines;
    QStringList names;
    QString marks;
    QByteArray expected;
    for (int t = 0; t < 4000; ++t) {
        const QByteArray name = "Track " + QByteArray::number(t) + "\xE9";
        QList<QByteArray> block = {" <trk><name>" + name + "</name>", "<trkseg>"};
        for (int p = 0; p <= t % 5; ++p)
            block.append("<trkpt lat=\"" + QByteArray::number(t) + "." + QByteArray::number(p) +
                         "\"></trkpt>");
        block.append({"</trkseg>", "</trk>"});
        lines += block;
        names.append(CodePage::toUnicode(name) + QStringLiteral("<"));
        marks.append(t % 3 == 1 ? QLatin1Char('X') : QLatin1Char('-'));
        if (t % 3 == 1)
            expected += crlfLines(block);
    }
    lines.append("</gpx>");
    const QByteArray scratch = crlfLines(lines);
    QVERIFY(scratch.size() > 4 * 64 * 1024);
    // The source names hold "</" after the name, so "Track 1" does not find "Track 10".
    QStringList sourceNames{QString()};
    for (const QString& name : names)
        sourceNames.append(name.chopped(1) + QStringLiteral("</"));
    FlexGridModel grid(4);
    fillGrid(grid, trackRows(names, marks));

    for (const qint64 chunk : {qint64(1), qint64(2), qint64(7), qint64(65537)}) {
        const QByteArray data = chunk == 1 ? scratch.left(scratch.indexOf("Track 300")) : scratch;
        ChunkedReader in(data, chunk);
        QBuffer out;
        out.open(QIODevice::WriteOnly);
        QCOMPARE(writeTracksBody(out, in, grid, sourceNames), TracksBody::Written);
        if (chunk == 1)
            QCOMPARE(out.data(), expected.left(expected.indexOf("Track 301")).chopped(12));
        else
            QCOMPARE(out.data(), expected);
    }
}

void ExportWriterTest::bodiesReportFailingDevices() {
    FlexGridModel favorites(4);
    fillGrid(favorites, {{"X", "a", "<wpt><sym>S</sym></wpt>", "S"}, {"X", "b", "<b/>", "T"}});
    const QList<SymbolPair> table = {{QStringLiteral("S"), QStringLiteral("DELORME")}};
    for (const qint64 capacity : {0, 1, 30, 35}) {
        FailingWriter out(capacity);
        QVERIFY2(!writeFavoritesBody(out, favorites, &table),
                 qPrintable(QString::number(capacity)));
    }

    FlexGridModel tracks(4);
    fillGrid(tracks, trackRows({QStringLiteral("Day 1"), QStringLiteral("Day 2")}, "XX"));
    const QByteArray days = crlfLines(twoDays);
    for (const qint64 capacity : {0, 10, 100}) {
        QBuffer in;
        in.setData(days);
        FailingWriter out(capacity);
        QCOMPARE(writeTracksBody(out, in, tracks, {}), TracksBody::WriteFailed);
    }
    for (const qint64 failAfter : {0, 20, 150}) {
        ChunkedReader in(days, 16, failAfter);
        QBuffer out;
        out.open(QIODevice::WriteOnly);
        QCOMPARE(writeTracksBody(out, in, tracks, {}), TracksBody::ReadFailed);
    }
    QFile missing(QStringLiteral("/nonexistent/TEMP.TMP"));
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    QCOMPARE(writeTracksBody(out, missing, tracks, {}), TracksBody::ScratchUnreadable);
    QBuffer writeOnly;
    writeOnly.open(QIODevice::WriteOnly);
    QCOMPARE(writeTracksBody(out, writeOnly, tracks, {}), TracksBody::ScratchUnreadable);
    QVERIFY(out.data().isEmpty());
}

void ExportWriterTest::freeExportName_data() {
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty folder") << QStringList() << "Home"
                                  << "Home";
    QTest::newRow("two taken") << QStringList{"Home.gpx", "Home 1.gpx"} << "Home"
                               << "Home 2";
    QTest::newRow("taken in another case") << QStringList{"HOME.GPX", "home 1.Gpx"} << "Home"
                                           << "Home 2";
    QTest::newRow("a gap is used") << QStringList{"Home.gpx", "Home 2.gpx"} << "Home"
                                   << "Home 1";
    QTest::newRow("only the numbered one taken") << QStringList{"Home 1.gpx"} << "Home"
                                                 << "Home";
    QTest::newRow("past ten") << QStringList{"A.gpx",   "A 1.gpx", "A 2.gpx", "A 3.gpx",
                                             "A 4.gpx", "A 5.gpx", "A 6.gpx", "A 7.gpx",
                                             "A 8.gpx", "A 9.gpx", "A 10.gpx"}
                              << "A"
                              << "A 11";
    QTest::newRow("other extensions do not count")
        << QStringList{"Home.txt", "Home", "Home.gpx.bak"} << "Home"
        << "Home";
    QTest::newRow("a folder of that name counts") << QStringList{"Home.gpx/"} << "Home"
                                                  << "Home 1";
    QTest::newRow("nothing left of the name") << QStringList() << ""
                                              << "";
    QTest::newRow("nothing left, taken") << QStringList{".gpx"} << ""
                                         << " 1";
    QTest::newRow("nothing left, both taken") << QStringList{".gpx", " 1.gpx"} << ""
                                              << " 2";
}

void ExportWriterTest::freeExportName() {
    QFETCH(QStringList, existing);
    QFETCH(QString, base);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    for (const QString& name : existing) {
        if (name.endsWith(QLatin1Char('/')))
            QVERIFY(QDir(dir.path()).mkdir(name.chopped(1)));
        else
            QVERIFY(touch(dir.filePath(name)));
    }
    QCOMPARE(::freeExportName(dir.path(), base), expected);
}

void ExportWriterTest::exportWritesHeaderItemsAndEnd() {
    QTemporaryDir dir;
    const QString output = dir.filePath(QStringLiteral("output"));
    FlexGridModel grid(4);
    fillGrid(grid, {{"X", "Home",
                     "<wpt lat=\"1\" lon=\"2\"> <name>Home</name> <sym>Residence</sym> </wpt> ",
                     "Residence"},
                    {" ", "Work", "<wpt><name>Work</name></wpt>", noneSymbol}});
    const QList<SymbolPair> table = symtable::defaultTable();
    const QString header = QStringLiteral("<?xml version=\"1.0\"?> <gpx creator=\"x\"> ");

    const ExportResult result =
        exportFavorites(output, QStringLiteral("Home"), header, grid, &table);
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QVERIFY(!result.scratchUnreadable);
    QCOMPARE(result.path, QDir(output).filePath(QStringLiteral("Home.gpx")));
    QCOMPARE(fileBytes(result.path),
             QByteArray("<?xml version=\"1.0\"?> <gpx creator=\"x\"> \r\n"
                        "<wpt lat=\"1\" lon=\"2\"> <name>Home</name> <sym>HOUSE</sym> </wpt> \r\n"
                        "</gpx>\r\n"));
    // Nothing else is left in the folder, no temporary file either.
    QCOMPARE(entriesOf(output), QStringList{QStringLiteral("Home.gpx")});
    QVERIFY(QFileInfo(result.path).permissions() & QFileDevice::ReadOwner);
    QVERIFY(QFileInfo(result.path).permissions() & QFileDevice::WriteOwner);
}

void ExportWriterTest::exportNeverOverwritesExisting() {
    QTemporaryDir dir;
    QVERIFY(touch(dir.filePath(QStringLiteral("Home.gpx")), "first"));
    QVERIFY(touch(dir.filePath(QStringLiteral("hOME 1.GPX")), "second"));
    FlexGridModel grid(4);
    fillGrid(grid, {{"X", "Home", "<wpt/>", noneSymbol}});

    const ExportResult first =
        exportFavorites(dir.path(), QStringLiteral("Home"), QString(), grid, nullptr);
    QCOMPARE(first.path, dir.filePath(QStringLiteral("Home 2.gpx")));
    const ExportResult second =
        exportFavorites(dir.path(), QStringLiteral("Home"), QString(), grid, nullptr);
    QCOMPARE(second.path, dir.filePath(QStringLiteral("Home 3.gpx")));
    QCOMPARE(fileBytes(dir.filePath(QStringLiteral("Home.gpx"))), QByteArray("first"));
    QCOMPARE(fileBytes(dir.filePath(QStringLiteral("hOME 1.GPX"))), QByteArray("second"));
    QCOMPARE(fileBytes(second.path), QByteArray("\r\n<wpt/>\r\n</gpx>\r\n"));
    QCOMPARE(entriesOf(dir.path()).size(), 4);

    // A name that cleaned to nothing.
    QCOMPARE(exportFavorites(dir.path(), QString(), QString(), grid, nullptr).path,
             dir.filePath(QStringLiteral(".gpx")));
    QCOMPARE(exportFavorites(dir.path(), QString(), QString(), grid, nullptr).path,
             dir.filePath(QStringLiteral(" 1.gpx")));
}

void ExportWriterTest::everyByteValueSurvivesTheExport() {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(char(b));
    QByteArray reversed = all;
    std::reverse(reversed.begin(), reversed.end());
    const QString code = QStringLiteral("<wpt><sym>\u20AC</sym>") + CodePage::toUnicode(reversed);
    FlexGridModel grid(4);
    fillGrid(grid, {{"X", "a", code, QStringLiteral("\u20AC")},
                    {"X", "b", CodePage::toUnicode(all), noneSymbol}});
    const QList<SymbolPair> table = {{QStringLiteral("\u20AC"), CodePage::toUnicode(all)}};
    QTemporaryDir dir;
    const ExportResult result = exportFavorites(dir.path(), QStringLiteral("Bytes"),
                                                CodePage::toUnicode(all), grid, &table);
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QCOMPARE(fileBytes(result.path),
             all + "\r\n<wpt><sym>" + all + "</sym>" + reversed + "\r\n" + all + "\r\n</gpx>\r\n");
}

void ExportWriterTest::exportFailuresLeaveNoFile_data() {
    QTest::addColumn<QString>("situation");
    QTest::newRow("output folder path is a file") << "file";
    QTest::newRow("parent folder missing") << "no parent";
    QTest::newRow("read-only output folder") << "read-only";
    QTest::newRow("read-only device folder") << "read-only parent";
}

void ExportWriterTest::exportFailuresLeaveNoFile() {
    QFETCH(QString, situation);
    QTemporaryDir dir;
    QString output = dir.filePath(QStringLiteral("output"));
    if (situation == QLatin1String("file")) {
        QVERIFY(touch(output));
    } else if (situation == QLatin1String("no parent")) {
        output = dir.filePath(QStringLiteral("gone/output"));
    } else if (situation == QLatin1String("read-only")) {
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("output")));
        QFile::setPermissions(output, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        if (!permissionsApply(output))
            QSKIP("Folder permissions do not apply to this user.");
    } else {
        QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        if (!permissionsApply(dir.path()))
            QSKIP("Folder permissions do not apply to this user.");
    }
    const QStringList before = entriesOf(dir.path());
    FlexGridModel grid(4);
    fillGrid(grid, {{"X", "Home", "<wpt/>", noneSymbol}});

    const ExportResult result =
        exportFavorites(output, QStringLiteral("Home"), QStringLiteral("<gpx>"), grid, nullptr);
    QFile::setPermissions(output,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QFile::setPermissions(dir.path(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QVERIFY(result.path.isEmpty());
    QVERIFY(!result.error.isEmpty());
    QVERIFY2(result.error.contains(QDir::toNativeSeparators(output)) ||
                 result.error.contains(QStringLiteral("Home")),
             qPrintable(result.error));
    QCOMPARE(entriesOf(dir.path()), before);
    if (QFileInfo(output).isDir())
        QVERIFY(entriesOf(output).isEmpty());
}

void ExportWriterTest::tracksExportCopiesFromTheScratchFile() {
    QTemporaryDir dir;
    const QString scratch = dir.filePath(QStringLiteral("TEMP.TMP"));
    QVERIFY(touch(scratch, crlfLines(twoDays)));
    const QString output = dir.filePath(QStringLiteral("output"));
    FlexGridModel grid(4);
    fillGrid(grid, trackRows({QStringLiteral("Day 1"), QStringLiteral("Day 2")}, "-X"));

    const ExportResult result =
        exportTracks(output, QStringLiteral("Day 2"), QStringLiteral("<gpx> "), grid, {}, scratch);
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QCOMPARE(result.path, QDir(output).filePath(QStringLiteral("Day 2.gpx")));
    QCOMPARE(fileBytes(result.path), "<gpx> \r\n" + twoDaysLines(7, 11) + "</gpx>\r\n");
    // The scratch file stays as it was, and the next export takes the next name.
    QCOMPARE(fileBytes(scratch), crlfLines(twoDays));
    QCOMPARE(exportTracks(output, QStringLiteral("Day 2"), QString(), grid, {}, scratch).path,
             QDir(output).filePath(QStringLiteral("Day 2 1.gpx")));
}

void ExportWriterTest::unreadableScratchLeavesNoFile() {
    QTemporaryDir dir;
    const QString output = dir.filePath(QStringLiteral("output"));
    FlexGridModel grid(4);
    fillGrid(grid, trackRows({QStringLiteral("Day 1")}, "X"));
    for (const QString& scratch : {dir.filePath(QStringLiteral("TEMP.TMP")), dir.path()}) {
        const ExportResult result = exportTracks(output, QStringLiteral("Day 1"),
                                                 QStringLiteral("<gpx>"), grid, {}, scratch);
        QVERIFY(result.scratchUnreadable);
        QVERIFY(result.path.isEmpty());
        QVERIFY(!result.error.isEmpty());
        QVERIFY(!QFileInfo::exists(output));
    }
}

void ExportWriterTest::realFavoritesAreCopiedUnchanged() {
    if (!QFileInfo(QStringLiteral(TARNWICK_CORPUS)).isDir())
        QSKIP("The GPX corpus is not present.");
    QTemporaryDir dir;
    int checked = 0;
    for (const QString& name : corpusFiles()) {
        const CorpusItems::Favorites favorites =
            CorpusItems::favoritesOf(CorpusItems::readBytes(CorpusItems::corpusPath(name)));
        if (favorites.codes.isEmpty())
            continue;
        QList<QStringList> rows;
        QByteArray expected = favorites.header + "\r\n";
        for (qsizetype i = 0; i < favorites.codes.size(); ++i) {
            const bool marked = i % 2 == 0;
            rows.append(CorpusItems::favoriteRow(favorites.codes[i], marked ? "X" : " "));
            if (marked)
                expected += favorites.codes[i] + "\r\n";
        }
        expected += "</gpx>\r\n";
        FlexGridModel grid(4);
        fillGrid(grid, rows);
        const ExportResult result =
            exportFavorites(dir.path(), QStringLiteral("Corpus"),
                            CodePage::toUnicode(favorites.header), grid, nullptr);
        QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
        QVERIFY2(fileBytes(result.path) == expected, qPrintable(name));
        ++checked;
    }
    QVERIFY(checked >= 10);
}

void ExportWriterTest::realSymbolsAreConverted() {
    const QString path = CorpusItems::corpusPath(
        QStringLiteral("gpsbabel__gpsbabel__reference__garmin_symbols.gpx"));
    if (!QFileInfo::exists(path))
        QSKIP("The GPX corpus is not present.");
    const CorpusItems::Favorites favorites = CorpusItems::favoritesOf(CorpusItems::readBytes(path));
    QVERIFY(favorites.codes.size() >= 200);
    QList<QStringList> rows;
    for (const QByteArray& code : favorites.codes)
        rows.append(CorpusItems::favoriteRow(code, QStringLiteral("X")));
    FlexGridModel grid(4);
    fillGrid(grid, rows);
    const QList<SymbolPair> table = symtable::defaultTable();
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    QVERIFY(writeFavoritesBody(out, grid, &table));
    const QList<QByteArray> lines = out.data().split('\n');
    QCOMPARE(lines.size(), favorites.codes.size() + 1);

    int converted = 0;
    for (qsizetype i = 0; i < favorites.codes.size(); ++i) {
        const QByteArray& code = favorites.codes[i];
        const QByteArray symbol = CorpusItems::between(code, "<sym>", "</sym>");
        QByteArray expected = code;
        for (const SymbolPair& pair : table) {
            if (pair.nuvi.toLatin1() == symbol) {
                expected.replace("<sym>" + symbol + "</sym>",
                                 "<sym>" + pair.delorme.toLatin1() + "</sym>");
                ++converted;
                break;
            }
        }
        QCOMPARE(lines[i], expected + "\r");
    }
    // The nüvi names of the default table are Garmin's own.
    QVERIFY2(converted >= 60, qPrintable(QString::number(converted)));
}

void ExportWriterTest::realTracksAreCopiedWhole() {
    if (!QFileInfo(QStringLiteral(TARNWICK_CORPUS)).isDir())
        QSKIP("The GPX corpus is not present.");
    QTemporaryDir dir;
    const QString scratchPath = dir.filePath(QStringLiteral("TEMP.TMP"));
    const QString output = dir.filePath(QStringLiteral("output"));
    int checked = 0;
    for (const QString& name : corpusFiles()) {
        const QList<QByteArray> scratch =
            scratchOf(CorpusItems::readBytes(CorpusItems::corpusPath(name)));
        // Each track is found by the name on its first line.
        QStringList sourceNames{QString()};
        QList<qsizetype> starts;
        bool namesOnStartLines = true;
        for (qsizetype i = 0; i < scratch.size(); ++i) {
            if (!scratch[i].contains("<trk>"))
                continue;
            const QByteArray trackName = CorpusItems::between(scratch[i], "<name>", "</name>");
            namesOnStartLines = namesOnStartLines && !trackName.isNull();
            sourceNames.append(CodePage::toUnicode(trackName));
            starts.append(i);
        }
        if (starts.isEmpty() || !namesOnStartLines)
            continue;
        QVERIFY(touch(scratchPath, crlfLines(scratch)));
        QStringList names;
        for (const QString& source : sourceNames.mid(1))
            names.append(DecodeXmlEntities(source));
        FlexGridModel grid(4);

        fillGrid(grid, trackRows(names, QString(names.size(), QLatin1Char('X'))));
        ExportResult result = exportTracks(output, QStringLiteral("All"), QStringLiteral("<gpx>"),
                                           grid, sourceNames, scratchPath);
        QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
        QVERIFY2(fileBytes(result.path) ==
                     "<gpx>\r\n" + crlfLines(scratch.mid(0, scratch.size() - 1)) + "</gpx>\r\n",
                 qPrintable(name));

        // Only the last track, when its name stands on no earlier line.
        const qsizetype last = starts.constLast();
        const QByteArray lastName = CodePage::fromUnicode(sourceNames.constLast());
        bool earlier = lastName.isEmpty();
        for (qsizetype i = 0; i < last && !earlier; ++i)
            earlier = scratch[i].contains(lastName);
        if (!earlier) {
            QString marks(names.size(), QLatin1Char('-'));
            marks.back() = QLatin1Char('X');
            fillGrid(grid, trackRows(names, marks));
            result = exportTracks(output, QStringLiteral("Last"), QStringLiteral("<gpx>"), grid,
                                  sourceNames, scratchPath);
            QVERIFY2(fileBytes(result.path) ==
                         "<gpx>\r\n" + crlfLines(scratch.mid(last, scratch.size() - 1 - last)) +
                             "</gpx>\r\n",
                     qPrintable(name));
        }
        ++checked;
    }
    QVERIFY(checked >= 10);
}

QTEST_APPLESS_MAIN(ExportWriterTest)
#include "tst_exportwriter.moc"
