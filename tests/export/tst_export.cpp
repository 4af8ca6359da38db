// The export writer against its reference on cases from the rules, and with the scanners on real
// files; the free file name, what a failure reports, and the name the main window gives the file.

#include "FileSizeLimit.h"
#include "Reference.h"

#include "app/MainWindowFixture.h"
#include "export/ExportWriter.h"
#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <cerrno>
#include <cstring>

namespace {

const auto bytesOf = &MainWindowFixture::readFile;

// A key's values joined and encoded; null when the case has none.
QByteArray bytes(const Case& c, QByteArrayView key) {
    return texts(c, key).isEmpty() ? QByteArray() : CodePage::fromUnicode(texts(c, key).join(""));
}

// Headings with their widths in twips ("?": the shown width differs), then row 1's name. The
// last column shown also takes the width the window has beyond the design.
QString headings(const FlexGrid& grid) {
    QString out;
    for (int c = 0; c < 4; ++c) {
        const int shown = grid.isColumnHidden(c) ? 0 : grid.columnWidth(c) * 15;
        const bool last = c == 3 || grid.isColumnHidden(c + 1);
        out += grid.TextMatrix(0, c) + " " + QString::number(grid.ColWidth(c)) +
               (shown < grid.ColWidth(c) || (shown > grid.ColWidth(c) && !last) ? "?|" : "|");
    }
    return out + grid.TextMatrix(1, 1);
}

} // namespace

class ExportTest : public QObject {
    Q_OBJECT
private slots:
    void bodiesFromTheRules_data() {
        QTest::addColumn<Case>("c");
        for (const Case& c : readCases("export_bodies.txt"))
            QTest::newRow(qPrintable(texts(c, "case").join(QString()))) << c;
    }

    // Tracks (with a scratch file, read in short pieces) or favorites (with the table, or
    // without conversion); then again on devices that fail half way.
    void bodiesFromTheRules() {
        QFETCH(Case, c);
        const QList<QStringList> rows = values(c, "row");
        const QByteArray scratch = bytes(c, "scratch"), expected = bytes(c, "out");
        const QStringList sourceNames = QStringList{QString()} + values(c, "source").value(0);
        FlexGridModel grid(4);
        fillGrid(grid, rows);
        QList<SymbolPair> pairs;
        for (const QStringList& pair : values(c, "table"))
            pairs.append({pair.value(0), pair.value(1)});
        const QList<SymbolPair>* conversion = pairs.isEmpty() ? nullptr : &pairs;
        QCOMPARE(scratch.isNull() ? referenceFavoritesBody(rows, conversion)
                                  : referenceTracksBody(rows, sourceNames, scratch),
                 expected);
        for (const qint64 failAt : {qint64(-1), expected.size() / 2}) {
            Device out(QIODevice::WriteOnly, {}, failAt), in(QIODevice::ReadOnly, scratch),
                sink(QIODevice::WriteOnly);
            const bool written = scratch.isNull() ? writeFavoritesBody(out, grid, conversion)
                                                  : writeTracksBody(out, in, grid, sourceNames) ==
                                                        TracksBody::Written;
            QCOMPARE(written, failAt < 0 || expected.isEmpty());
            if (failAt < 0)
                QCOMPARE(out.data(), expected);
            in.failAt = in.pos() - 1; // reading on fails from here
            if (!scratch.isNull() && !in.atEnd() && failAt >= 0)
                QCOMPARE(writeTracksBody(sink, in, grid, sourceNames), TracksBody::ReadFailed);
        }
    }

    // Real files: the scanners against their references; then every other item exported (symbols
    // converted by the default table, tracks found by their names as the source writes them).
    void realFilesMatchTheReferences() {
        QFileInfoList files = QDir(TARNWICK_TEST_DATA).entryInfoList({"*.gpx"});
        files += QDir(TARNWICK_CORPUS).entryInfoList({"*.gpx", "*.xml"});
        QTemporaryDir dir;
        const QString scratchPath = dir.filePath("TEMP.TMP");
        const QList<SymbolPair>& table = symtable::defaultTable();
        for (const QFileInfo& info : files) {
            const QByteArray source = bytesOf(info.filePath());
            QVERIFY2(compareAll(source, 11).isEmpty(), qPrintable(info.fileName()));
            for (const bool tracks : {false, true}) {
                const Scan scan = tracks ? scanTracks(source, {}, 4096) : scanFavorites(source, {});
                QList<QStringList> rows;
                QStringList sourceNames{QString()};
                for (const QStringList& item : scan.rows) {
                    rows.append({rows.size() % 2 ? " " : "X", item[0], item[1], item[2]});
                    sourceNames << item[2];
                }
                FlexGridModel grid(4);
                fillGrid(grid, rows);
                MainWindowFixture::writeFile(scratchPath, scan.scratch);
                const ExportResult result =
                    tracks
                        ? exportTracks(dir.path(), "T", scan.header, grid, sourceNames, scratchPath)
                        : exportFavorites(dir.path(), "F", scan.header, grid, &table);
                const QByteArray body = tracks
                                            ? referenceTracksBody(rows, sourceNames, scan.scratch)
                                            : referenceFavoritesBody(rows, &table);
                QVERIFY2(bytesOf(result.path) ==
                             CodePage::fromUnicode(scan.header) + "\r\n" + body + "</gpx>\r\n",
                         qPrintable(info.fileName() + (tracks ? " tracks" : " favorites")));
            }
        }
        if (!QFileInfo(TARNWICK_CORPUS).isDir())
            QSKIP("The shared GPX corpus is not present beside the checkout.");
    }

    // The export takes the first free name and leaves what was there as it was.
    void exportTakesTheFirstFreeName_data() { addTableRows("export_free_names.tsv"); }

    void exportTakesTheFirstFreeName() {
        QFETCH(QStringList, row);
        const QStringList existing = row[1].split(u'|', Qt::SkipEmptyParts);
        QTemporaryDir dir;
        for (const QString& name : existing)
            name.endsWith(u'/') ? void(QDir(dir.path()).mkdir(name.chopped(1)))
                                : MainWindowFixture::writeFile(dir.filePath(name), name.toLatin1());
        QCOMPARE(freeExportName(dir.path(), row[2]), row[3]);
        FlexGridModel grid(4);
        fillGrid(grid, {{"X", "Home", "<wpt/>", "S"}});
        const ExportResult result = exportFavorites(dir.path(), row[2], "<gpx>", grid, nullptr);
        QCOMPARE(result.path, dir.filePath(row[3] + ".gpx"));
        QCOMPARE(bytesOf(result.path), QByteArray("<gpx>\r\n<wpt/>\r\n</gpx>\r\n"));
        const auto all = QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden;
        QCOMPARE(QDir(dir.path()).entryList(all).size(), existing.size() + 1);
        for (const QString& name : existing)
            QVERIFY(name.endsWith(u'/') || bytesOf(dir.filePath(name)) == name.toLatin1());
    }

    // A full disk, an output folder that cannot be made, or a scratch file that is a folder:
    // the reason, and no file left behind.
    void failuresSayWhyAndLeaveNothing() {
        QTemporaryDir dir;
        FlexGridModel grid(4);
        fillGrid(grid, {{"X", "A", "<wpt/>", "S"}});
        if (!FileSizeLimit::unavailable) {
            const ExportResult full = [&] {
                FileSizeLimit limit(3);
                return exportFavorites(dir.path(), "A", "<gpx>", grid, nullptr);
            }();
            QCOMPARE(full.error, "The file " + dir.filePath("A.gpx") + " can't be written: " +
                                     QString::fromLocal8Bit(std::strerror(EFBIG)));
        }
        // An output folder whose device folder is gone can't be made.
        const QString gone = dir.filePath("gone/output");
        const QString noFolder = exportFavorites(gone, "A", "<gpx>", grid, nullptr).error;
        QVERIFY2(noFolder.startsWith("The folder " + QDir::toNativeSeparators(gone) +
                                     " can't be made: ") &&
                     !noFolder.endsWith(": "),
                 qPrintable(noFolder));
        const ExportResult result = exportTracks(dir.path(), "A", "<gpx>", grid, {}, dir.path());
        QVERIFY(result.scratchUnreadable);
        QCOMPARE(result.error, "The file " + QDir::toNativeSeparators(dir.path()) +
                                   " can't be read: it is not a regular file.");
        QVERIFY(result.path.isEmpty() &&
                QDir(dir.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    // The window names the file after the first marked item with a name; loads set the headings.
    void exportNamesTheFileAfterTheFirstMarkedName_data() { addTableRows("export_file_names.tsv"); }

    void exportNamesTheFileAfterTheFirstMarkedName() {
        QFETCH(QStringList, row);
        const QString names = row[1].replace("|", "</name></wpt><wpt><name>");
        MainWindowFixture f;
        frmForm1& w = f.startWithSource("<gpx><wpt><name>" + CodePage::fromUnicode(names) +
                                        "</name></wpt></gpx>");
        const QString trackHeadings = "  240|TRACK NAME 6240|BLANK 0| 0|";
        const QString favoriteHeadings = "  240|NAME 4440|FAVORITE'S XML CODE 0|SYMBOL 1560|" +
                                         DecodeXmlEntities(names.section('<', 0, 0));
        for (QAction* load :
             {w.mnuSelectTracks, w.mnuSelectFavorites, w.mnuSelectTracks, w.mnuSelectFavorites}) {
            load->trigger();
            QCOMPARE(headings(*w.Grid1),
                     load == w.mnuSelectTracks ? trackHeadings : favoriteHeadings);
        }
        const QString output = f.device("Nuvi_1") + "/output";
        QDir().mkpath(output);
        f.writeFile(output + "/HOME.GPX", "old");
        for (int i = 0; i < row[2].size(); ++i)
            w.Grid1->setTextMatrix(i + 1, 0, row[2].mid(i, 1));
        w.mnuExport->trigger();
        QVERIFY2(QFileInfo::exists(output + "/" + row[3]), qPrintable(f.messages.join(u'\n')));
        QCOMPARE(QDir(output).entryList(QDir::Files | QDir::Hidden).size(), 2);
        w.mnuSelectTracks->trigger();
        QCOMPARE(headings(*w.Grid1), trackHeadings);
    }
};

QTEST_MAIN(ExportTest)
#include "tst_export.moc"
