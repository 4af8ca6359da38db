// The export: the favorites and tracks bodies on bytes, the free file name, the file that is
// never overwritten and never left half-written, and real GPX files end to end.

#include "export/ExportWriter.h"

#include "export/CorpusItems.h"
#include "export/FailDevice.h"
#include "items/FlexGridModel.h"
#include "text/CodePage.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using CorpusItems::readBytes;

namespace {

const QString noneSymbol = QStringLiteral("--- NONE ---");

// Fills the grid with its heading row and the item rows (mark, name, code, symbol).
void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows) {
    grid.setRows(0);
    grid.appendRows({{" ", "NAME", "FAVORITE'S XML CODE", "SYMBOL"}});
    grid.appendRows(rows);
    grid.setFixedRows(1);
}

QByteArray crlfLines(const QList<QByteArray>& lines) {
    QByteArray bytes;
    for (const QByteArray& line : lines)
        bytes += line + "\r\n";
    return bytes;
}

// The scratch file of the tracks load of two tracks, «Day 1» and «Day 2», line by line.
const QList<QByteArray> twoDays =
    QByteArray("<trk><name>Day 1</name> \n<trkseg>\n <trkpt lat=\"1\" lon=\"2\"></trkpt>\n"
               " <trkpt lat=\"3\" lon=\"4\"></trkpt>\n </trkseg> \n</trk>\n"
               " <trk><name>Day 2</name>\n<trkseg>\n<trkpt lat=\"5\" lon=\"6\"></trkpt>\n"
               "</trkseg>\n</trk>\n</gpx>")
        .split('\n');

// Lines first to last, counted from 1.
QByteArray twoDaysLines(int first, int last) {
    return crlfLines(twoDays.mid(first - 1, last - first + 1));
}

// Track rows; marks holds an 'X' for each marked row.
QList<QStringList> trackRows(const QStringList& names, const QString& marks) {
    QList<QStringList> rows;
    for (qsizetype i = 0; i < names.size(); ++i)
        rows.append({marks[i] == QLatin1Char('X') ? "X" : " ", names[i], "<name>" + names[i], ""});
    return rows;
}

// The tracks body copied from the scratch device, and how the copy ended.
std::pair<TracksBody, QByteArray> copyTracks(QIODevice& scratch, const FlexGridModel& grid,
                                             const QStringList& sourceNames = {}) {
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    const TracksBody how = writeTracksBody(out, scratch, grid, sourceNames);
    return {how, out.data()};
}

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden |
                                  QDir::System);
}

bool touch(const QString& path, const QByteArray& bytes = "old") {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// The scratch file that a tracks load writes, cut from a file's text: a line ends after each
// "</trkpt>", "<trkseg>" and "</trk>" stand on their own lines, "</gpx>" is the last line.
QList<QByteArray> scratchOf(const QByteArray& fileBytes) {
    QByteArray text = CorpusItems::loadedForm(fileBytes);
    const qsizetype start = text.indexOf("<trk>");
    if (start < 0)
        return {};
    text = text.mid(start, text.contains("</gpx>") ? text.indexOf("</gpx>") - start : -1);
    text.replace("</trkpt>", "</trkpt>\n").replace("<trkseg>", "\n<trkseg>\n");
    QList<QByteArray> lines = text.replace("</trk>", "\n</trk>\n").split('\n');
    lines.last() = "</gpx>"; // what follows the last line end is in no line
    return lines;
}

} // namespace

class ExportWriterTest : public QObject {
    Q_OBJECT
private slots:
    void favoritesBody_data() {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QByteArray>("converted");
        const auto add = [](const char* row, const QString& code, const QString& symbol,
                            const QByteArray& converted) {
            QTest::newRow(row) << code << symbol << converted;
        };
        add("first of two equal table rows wins",
            "<wpt lat=\"1\" lon=\"2\"> <name>Home</name> <sym>Residence</sym> </wpt> ", "Residence",
            "<wpt lat=\"1\" lon=\"2\"> <name>Home</name> <sym>HOUSE</sym> </wpt> ");
        add("table row 0, written unescaped", "<sym>A</sym>", "A", "<sym>R&D <1></sym>");
        add("not in the table", "<sym>Skull</sym>", "Skull", "<sym>Skull</sym>");
        add("exact comparison", "<sym>residence</sym>", "residence", "<sym>residence</sym>");
        add("no sym element", "<wpt/>", "Residence", "<wpt/>");
        add("only the first of several sym elements", "<sym>Residence</sym><sym>Residence</sym>",
            "Residence", "<sym>HOUSE</sym><sym>Residence</sym>");
        add("empty DeLorme symbol", "<sym>Blank</sym>", "Blank", "<sym></sym>");
        add("no closing tag", "<sym>Residence", "Residence", "<sym>HOUSE<sym>Residence");
        add("closing tag first", "a</sym>b<sym>Residence", "Residence",
            "a</sym>b<sym>HOUSE</sym>b<sym>Residence");
    }

    // One marked favorite, converted and with conversion off.
    void favoritesBody() {
        QFETCH(QString, code);
        QFETCH(QString, symbol);
        QFETCH(QByteArray, converted);
        FlexGridModel grid(4);
        fillGrid(grid, {{"X", "F", code, symbol}});
        const QList<SymbolPair> table = {
            {"A", "R&D <1>"}, {"Residence", "HOUSE"}, {"Residence", "SECOND"}, {"Blank", ""}};
        QBuffer converting;
        QBuffer plain;
        converting.open(QIODevice::WriteOnly);
        plain.open(QIODevice::WriteOnly);
        QVERIFY(writeFavoritesBody(converting, grid, &table));
        QVERIFY(writeFavoritesBody(plain, grid, nullptr));
        QCOMPARE(converting.data(), converted + "\r\n");
        QCOMPARE(plain.data(), code.toLatin1() + "\r\n");
    }

    void tracksBody_data() {
        QTest::addColumn<QByteArray>("scratch");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("marks");
        QTest::addColumn<QStringList>("sourceNames");
        QTest::addColumn<QByteArray>("expected");
        const auto add = [](const char* row, const QByteArray& scratch, const QStringList& names,
                            const QString& marks, const QByteArray& expected,
                            const QStringList& sourceNames = {}) {
            QTest::newRow(row) << scratch << names << marks << sourceNames << expected;
        };
        const QByteArray days = crlfLines(twoDays);
        const QStringList both = {"Day 1", "Day 2"};

        add("only Day 2", days, both, "-X", twoDaysLines(7, 11));
        add("only Day 1, up to the next track", days, both, "X-", twoDaysLines(1, 6));
        add("both", days, both, "XX", twoDaysLines(1, 11));
        add("a name found nowhere ends the loop", days, {"Day 1", "?", "Day 2"}, "XXX",
            twoDaysLines(1, 6));
        add("short name matching an earlier start line", days, {"Day 1", "Day"}, "-X",
            twoDaysLines(1, 6));
        add("name matching a track point: that line only", days, {"Day 1", "2"}, "-X",
            twoDaysLines(3, 3));
        add("search goes on from the last match", days, {"lat", "lat", "Day 2"}, "XXX",
            twoDaysLines(3, 3) + twoDaysLines(3, 3) + twoDaysLines(7, 11));
        add("empty name matches where the search starts", days, {"Day 1", ""}, "XX",
            twoDaysLines(1, 11));
        add("empty name passes over empty lines", crlfLines({"", "<trk>", "</trk>", "</gpx>"}),
            {""}, "X", "<trk>\r\n</trk>\r\n");
        add("names are matched case-sensitively", days, {"day 2"}, "X", {});

        const QByteArray entities =
            crlfLines({"<trk><name>A &amp; B</name>", "</trk>", " <trk><name>Joe&apos;s</name>",
                       "</trk>", "</gpx>"});
        const QStringList decoded = {"A & B", "Joe's"};
        add("entities: the source form is searched", entities, decoded, "XX", entities.chopped(8),
            {"", "A &amp; B", "Joe&apos;s"});
        add("entities: the decoded name finds nothing", entities, decoded, "XX", {});

        const QByteArray cut = crlfLines(twoDays.mid(0, 11));
        add("no </gpx>: copied to the end", cut, both, "-X", twoDaysLines(7, 11));
        add("no </gpx>: a missing name stops at the end", cut, {"?", "Day 2"}, "XX", {});
        add("no </gpx>, no final line end", cut.chopped(2), both, "-X", twoDaysLines(7, 11));
        add("empty scratch file", {}, both, "XX", {});
        add("lone CR and LF stay inside a line", "<trk>A\n<x>\r\n<y\r>\r\n</gpx>\r\n", {"A"}, "X",
            "<trk>A\n<x>\r\n<y\r>\r\n");
    }

    void tracksBody() {
        QFETCH(QByteArray, scratch);
        QFETCH(QStringList, names);
        QFETCH(QString, marks);
        QFETCH(QStringList, sourceNames);
        QFETCH(QByteArray, expected);
        FlexGridModel grid(4);
        fillGrid(grid, trackRows(names, marks));
        QBuffer in(&scratch);
        QCOMPARE(copyTracks(in, grid, sourceNames), std::pair(TracksBody::Written, expected));
    }

    void tracksBodyIsTheSameWhateverTheReadSizes() {
        // Many tracks, so that lines and their CR LF fall across every kind of block boundary.
        // The names end in a Windows-1252 letter, so "Track 1" does not find "Track 10".
        QByteArray scratch;
        QStringList names;
        QString marks;
        QByteArray expected;
        for (int t = 0; t < 4000; ++t) {
            const QByteArray name = "Track " + QByteArray::number(t) + "\xE9";
            const QByteArray track = crlfLines(
                {" <trk><name>" + name + "</name>", "<trkseg>",
                 "<trkpt lat=\"" + QByteArray::number(t) + "\"></trkpt>", "</trkseg>", "</trk>"});
            scratch += track;
            names.append(CodePage::toUnicode(name));
            marks.append(t % 3 == 1 ? 'X' : '-');
            if (t % 3 == 1)
                expected += track;
        }
        scratch += "</gpx>\r\n";
        QVERIFY(scratch.size() > 4 * 64 * 1024);
        FlexGridModel grid(4);
        fillGrid(grid, trackRows(names, marks));
        for (const qint64 chunk : {1, 2, 7, 65537}) {
            ChunkedReader in(scratch, chunk);
            QCOMPARE(copyTracks(in, grid), std::pair(TracksBody::Written, expected));
        }
    }

    void bodiesReportFailingDevices() {
        FlexGridModel favorites(4);
        fillGrid(favorites, {{"X", "a", "<wpt><sym>S</sym></wpt>", "S"}, {"X", "b", "<b/>", "T"}});
        const QList<SymbolPair> table = {{"S", "DELORME"}};
        for (const qint64 capacity : {0, 1, 30, 35}) {
            FailingWriter out(capacity);
            QVERIFY2(!writeFavoritesBody(out, favorites, &table),
                     qPrintable(QString::number(capacity)));
        }

        FlexGridModel tracks(4);
        fillGrid(tracks, trackRows({"Day 1", "Day 2"}, "XX"));
        QByteArray days = crlfLines(twoDays);
        for (const qint64 bytes : {0, 20, 100}) {
            QBuffer in(&days);
            FailingWriter out(bytes);
            QCOMPARE(writeTracksBody(out, in, tracks, {}), TracksBody::WriteFailed);
            ChunkedReader failing(days, 16, bytes);
            QCOMPARE(copyTracks(failing, tracks).first, TracksBody::ReadFailed);
        }
        QFile missing(QStringLiteral("/nonexistent/TEMP.TMP"));
        QBuffer writeOnly;
        writeOnly.open(QIODevice::WriteOnly);
        for (QIODevice* scratch : QList<QIODevice*>{&missing, &writeOnly})
            QCOMPARE(copyTracks(*scratch, tracks),
                     std::pair(TracksBody::ScratchUnreadable, QByteArray()));
    }

    void freeExportName_data() {
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("expected");
        const auto add = [](const char* row, const QStringList& existing, const QString& base,
                            const QString& expected) {
            QTest::newRow(row) << existing << base << expected;
        };
        QStringList ten{"A.gpx"};
        for (int i = 1; i <= 10; ++i)
            ten.append(QStringLiteral("A %1.gpx").arg(i));

        add("two taken", {"Home.gpx", "Home 1.gpx"}, "Home", "Home 2");
        add("taken in another case", {"HOME.GPX", "home 1.Gpx"}, "Home", "Home 2");
        add("a gap is used", {"Home.gpx", "Home 2.gpx"}, "Home", "Home 1");
        add("only the numbered one taken", {"Home 1.gpx"}, "Home", "Home");
        add("past ten", ten, "A", "A 11");
        add("other extensions do not count", {"Home.txt", "Home", "Home.gpx.bak"}, "Home", "Home");
        add("a folder of that name counts", {"Home.gpx/"}, "Home", "Home 1");
        add("nothing left of the name", {}, "", "");
        add("nothing left, both taken", {".gpx", " 1.gpx"}, "", " 2");
    }

    void freeExportName() {
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

    // Header, the rows marked exactly "X" in grid order, and end; every line ends CR LF, every
    // byte value goes out as it came in.
    void exportWritesEveryByteOfHeaderItemsAndEnd() {
        QByteArray all;
        for (int b = 0; b < 256; ++b)
            all.append(char(b));
        QByteArray reversed = all;
        std::reverse(reversed.begin(), reversed.end());
        FlexGridModel grid(4);
        fillGrid(grid,
                 {{"X", "a", "<wpt><sym>\u20AC</sym>" + CodePage::toUnicode(reversed), "\u20AC"},
                  {" ", "b", "<b/>", noneSymbol},
                  {"x", "c", "<c/>", noneSymbol},
                  {"X ", "d", "<d/>", noneSymbol},
                  {"X", "e", CodePage::toUnicode(all), noneSymbol}});
        const QList<SymbolPair> table = {{"\u20AC", CodePage::toUnicode(all)}};
        QTemporaryDir dir;
        const QString output = dir.filePath(QStringLiteral("output"));
        const ExportResult result =
            exportFavorites(output, "Bytes", CodePage::toUnicode(all), grid, &table);
        QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
        QVERIFY(!result.scratchUnreadable);
        QCOMPARE(result.path, QDir(output).filePath(QStringLiteral("Bytes.gpx")));
        QCOMPARE(readBytes(result.path), all + "\r\n<wpt><sym>" + all + "</sym>" + reversed +
                                             "\r\n" + all + "\r\n</gpx>\r\n");
        // Nothing else is left in the folder, no temporary file either.
        QCOMPARE(entriesOf(output), QStringList{QStringLiteral("Bytes.gpx")});
        QVERIFY(QFileInfo(result.path)
                    .permissions()
                    .testFlags(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    }

    void exportNeverOverwritesExisting() {
        QTemporaryDir dir;
        QVERIFY(touch(dir.filePath(QStringLiteral("Home.gpx")), "first"));
        QVERIFY(touch(dir.filePath(QStringLiteral("hOME 1.GPX")), "second"));
        FlexGridModel grid(4);
        fillGrid(grid, {{"X", "Home", "<wpt/>", noneSymbol}});
        const auto exported = [&](const QString& base) {
            return exportFavorites(dir.path(), base, QString(), grid, nullptr).path;
        };
        QCOMPARE(exported("Home"), dir.filePath(QStringLiteral("Home 2.gpx")));
        QCOMPARE(exported("Home"), dir.filePath(QStringLiteral("Home 3.gpx")));
        QCOMPARE(readBytes(dir.filePath(QStringLiteral("Home.gpx"))), QByteArray("first"));
        QCOMPARE(readBytes(dir.filePath(QStringLiteral("hOME 1.GPX"))), QByteArray("second"));
        QCOMPARE(readBytes(dir.filePath(QStringLiteral("Home 3.gpx"))),
                 QByteArray("\r\n<wpt/>\r\n</gpx>\r\n"));
        QCOMPARE(entriesOf(dir.path()).size(), 4);
        // A name that cleaned to nothing.
        QCOMPARE(exported(""), dir.filePath(QStringLiteral(".gpx")));
        QCOMPARE(exported(""), dir.filePath(QStringLiteral(" 1.gpx")));
    }

    void exportFailuresLeaveNoFile_data() {
        QTest::addColumn<QString>("situation");
        QTest::newRow("output folder path is a file") << "file";
        QTest::newRow("parent folder missing") << "no parent";
        QTest::newRow("read-only output folder") << "read-only";
        QTest::newRow("read-only device folder") << "read-only parent";
    }

    void exportFailuresLeaveNoFile() {
        QFETCH(QString, situation);
        QTemporaryDir dir;
        QString output = dir.filePath(QStringLiteral("output"));
        QString locked;
        if (situation == QLatin1String("file")) {
            QVERIFY(touch(output));
        } else if (situation == QLatin1String("no parent")) {
            output = dir.filePath(QStringLiteral("gone/output"));
        } else {
            locked = situation == QLatin1String("read-only") ? output : dir.path();
            QVERIFY(QDir().mkpath(locked));
            QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
            if (touch(QDir(locked).filePath(QStringLiteral("probe"))))
                QSKIP("Folder permissions do not apply to this user.");
        }
        const QStringList before = entriesOf(dir.path());
        FlexGridModel grid(4);
        fillGrid(grid, {{"X", "Home", "<wpt/>", noneSymbol}});

        const ExportResult result = exportFavorites(output, "Home", "<gpx>", grid, nullptr);
        if (!locked.isEmpty())
            QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ExeOwner);
        QVERIFY(result.path.isEmpty());
        QVERIFY2(result.error.contains(QDir::toNativeSeparators(output)) ||
                     result.error.contains(QStringLiteral("Home")),
                 qPrintable(result.error));
        QCOMPARE(entriesOf(dir.path()), before);
        if (QFileInfo(output).isDir())
            QVERIFY(entriesOf(output).isEmpty());
    }

    void tracksExportCopiesFromTheScratchFile() {
        QTemporaryDir dir;
        const QString scratch = dir.filePath(QStringLiteral("TEMP.TMP"));
        const QString output = dir.filePath(QStringLiteral("output"));
        FlexGridModel grid(4);
        fillGrid(grid, trackRows({"Day 1", "Day 2"}, "-X"));
        // A scratch file that is missing or a folder: nothing is written.
        for (const QString& unreadable : {scratch, dir.path()}) {
            const ExportResult result =
                exportTracks(output, "Day 2", "<gpx>", grid, {}, unreadable);
            QVERIFY(result.scratchUnreadable);
            QVERIFY(result.path.isEmpty());
            QVERIFY(!result.error.isEmpty());
            QVERIFY(!QFileInfo::exists(output));
        }

        QVERIFY(touch(scratch, crlfLines(twoDays)));
        const ExportResult result = exportTracks(output, "Day 2", "<gpx> ", grid, {}, scratch);
        QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
        QCOMPARE(result.path, QDir(output).filePath(QStringLiteral("Day 2.gpx")));
        QCOMPARE(readBytes(result.path), "<gpx> \r\n" + twoDaysLines(7, 11) + "</gpx>\r\n");
        // The scratch file stays as it was, and the next export takes the next name.
        QCOMPARE(readBytes(scratch), crlfLines(twoDays));
        QCOMPARE(exportTracks(output, "Day 2", QString(), grid, {}, scratch).path,
                 QDir(output).filePath(QStringLiteral("Day 2 1.gpx")));
    }

    // Real files: the marked favorites with their symbols converted, and every track.
    void realFilesAreExportedByteForByte() {
        if (!QFileInfo(QStringLiteral(TARNWICK_CORPUS)).isDir())
            QSKIP("The GPX corpus is not present.");
        const QList<SymbolPair>& table = symtable::defaultTable();
        QTemporaryDir dir;
        const QString scratchPath = dir.filePath(QStringLiteral("TEMP.TMP"));
        int favoriteFiles = 0;
        int trackFiles = 0;
        int converted = 0;
        for (const QString& file : QDir(QStringLiteral(TARNWICK_CORPUS)).entryList({"*.gpx"})) {
            const QByteArray bytes = readBytes(CorpusItems::corpusPath(file));
            const CorpusItems::Favorites favorites = CorpusItems::favoritesOf(bytes);
            QList<QStringList> rows;
            QByteArray expected = favorites.header + "\r\n";
            for (qsizetype i = 0; i < favorites.codes.size(); ++i) {
                rows.append(CorpusItems::favoriteRow(favorites.codes[i], i % 2 ? " " : "X"));
                if (i % 2)
                    continue;
                // A symbol the table knows gives way to its DeLorme name; the rest is unchanged.
                QByteArray code = favorites.codes[i];
                const auto pair =
                    std::find_if(table.begin(), table.end(), [&](const SymbolPair& p) {
                        return p.nuvi == rows.constLast()[3];
                    });
                if (pair != table.end()) {
                    const qsizetype from = code.indexOf("<sym>") + 5;
                    code.replace(from, code.indexOf("</sym>", from) - from,
                                 CodePage::fromUnicode(pair->delorme));
                    ++converted;
                }
                expected += code + "\r\n";
            }
            FlexGridModel grid(4);
            if (!rows.isEmpty()) {
                fillGrid(grid, rows);
                const ExportResult result = exportFavorites(
                    dir.path(), "Favorites", CodePage::toUnicode(favorites.header), grid, &table);
                QVERIFY2(readBytes(result.path) == expected + "</gpx>\r\n", qPrintable(file));
                ++favoriteFiles;
            }

            // Each track is found by the name on its first line, as the source writes it.
            const QList<QByteArray> scratch = scratchOf(bytes);
            QStringList names;
            QStringList sourceNames{QString()};
            bool named = true;
            for (const QByteArray& line : scratch) {
                if (line.contains("<trk>")) {
                    const QByteArray name = CorpusItems::between(line, "<name>", "</name>");
                    named = named && !name.isNull();
                    sourceNames.append(CodePage::toUnicode(name));
                    names.append(DecodeXmlEntities(sourceNames.constLast()));
                }
            }
            if (names.isEmpty() || !named)
                continue;
            QVERIFY(touch(scratchPath, crlfLines(scratch)));
            fillGrid(grid, trackRows(names, QString(names.size(), 'X')));
            const ExportResult result =
                exportTracks(dir.path(), "Tracks", "<gpx>", grid, sourceNames, scratchPath);
            QVERIFY2(readBytes(result.path) == "<gpx>\r\n" + crlfLines(scratch), qPrintable(file));
            ++trackFiles;
        }
        QVERIFY(favoriteFiles >= 10 && trackFiles >= 10);
        // The nüvi names of the default table are Garmin's own.
        QVERIFY2(converted >= 60, qPrintable(QString::number(converted)));
    }
};

QTEST_APPLESS_MAIN(ExportWriterTest)
#include "tst_exportwriter.moc"
