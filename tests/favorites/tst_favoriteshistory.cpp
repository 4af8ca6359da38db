// The favorites history: the saved file, the names read back from it, and the marks of the
// favorites that are new since the save.

#include "favorites/FavoritesHistory.h"

#include "export/CorpusItems.h"
#include "items/FlexGridModel.h"
#include "text/CodePage.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows) {
    grid.setRows(0);
    grid.appendRows({{" ", "NAME", "FAVORITE'S XML CODE", "SYMBOL"}});
    grid.appendRows(rows);
    grid.setFixedRows(1);
}

// Rows with the given names and mark and a code made from the name.
void fillNames(FlexGridModel& grid, const QStringList& names, const QString& mark) {
    QList<QStringList> rows;
    for (const QString& name : names)
        rows.append({mark, name, "<wpt><name>" + name + "</name></wpt> ", "--- NONE ---"});
    fillGrid(grid, rows);
}

// The marks of the item rows: 'X', '-' for " ", '?' for anything else.
QString marksOf(const FlexGridModel& grid) {
    QString marks;
    for (int row = 1; row < grid.Rows(); ++row) {
        const QString mark = grid.TextMatrix(row, 0);
        marks += mark == QLatin1String("X") ? 'X' : mark == QLatin1String(" ") ? '-' : '?';
    }
    return marks;
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class FavoritesHistoryTest : public QObject {
    Q_OBJECT
private slots:
    void historyFileIsFoundInAnyCase() {
        QTemporaryDir dir;
        QCOMPARE(favoritesPathIn(dir.path()), dir.filePath(QStringLiteral("FAVORITES.TXT")));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("favorites.txt.d")));
        QVERIFY(writeBytes(dir.filePath(QStringLiteral("Favorites.txt")), "a\tb\r\n"));
        QCOMPARE(favoritesPathIn(dir.path()), dir.filePath(QStringLiteral("Favorites.txt")));
    }

    // Every row, marked or not, as name TAB code CR LF in Windows-1252; marking right after the
    // save leaves only the name that holds a TAB new, as it is read back only up to the TAB.
    void saveWritesEveryRowAndReadsTheNamesBack() {
        QByteArray all;
        for (int b = 0; b < 256; ++b)
            all.append(char(b));
        FlexGridModel grid(4);
        fillGrid(grid, {{"X", "Home", "<wpt><name>Home</name></wpt> ", "Residence"},
                        {" ", "A & B", "<wpt><name>A &amp; B</name></wpt> ", "--- NONE ---"},
                        {" ", "", "<wpt></wpt>", "--- NONE ---"},
                        {"X", "Tab\there", "<wpt>\t</wpt>", "--- NONE ---"},
                        {" ", "Home", "<wpt/>", "--- NONE ---"},
                        {" ", CodePage::toUnicode(all.mid(128)), CodePage::toUnicode(all), "x"}});
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
        QVERIFY(writeBytes(path, "earlier content that is longer than nothing\r\n"));
        QCOMPARE(saveFavorites(path, grid), QString());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "Home\t<wpt><name>Home</name></wpt> \r\n"
                                 "A & B\t<wpt><name>A &amp; B</name></wpt> \r\n"
                                 "\t<wpt></wpt>\r\n"
                                 "Tab\there\t<wpt>\t</wpt>\r\n"
                                 "Home\t<wpt/>\r\n" +
                                     all.mid(128) + "\t" + all + "\r\n");
        const SavedNames saved = readSavedNames(path);
        QVERIFY(saved.opened);
        QCOMPARE(saved.error, QString());
        // The LF among the byte values of the last code ends a line as well.
        QCOMPARE(saved.names,
                 QStringList({"Home", "A & B", "", "Tab", "Home", CodePage::toUnicode(all.mid(128)),
                              CodePage::toUnicode(all.mid(11))}));
        ::markNewFavorites(grid, saved.names);
        QCOMPARE(marksOf(grid), QStringLiteral("---X--"));

        fillGrid(grid, {});
        QCOMPARE(saveFavorites(path, grid), QString());
        QCOMPARE(QFileInfo(path).size(), 0);
    }

    void savedNames_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("names");
        const auto add = [](const char* row, const QByteArray& bytes, const QStringList& names) {
            QTest::newRow(row) << bytes << names;
        };
        add("CR LF lines", "Home\t<wpt/>\r\nWork\t<wpt/>\r\n", {"Home", "Work"});
        add("lone LF lines", "Home\tx\nWork\ty\n", {"Home", "Work"});
        add("no line end at the end", "Home\tx\r\nWork\ty", {"Home", "Work"});
        add("text before the first TAB only", "a\tb\tc\r\n", {"a"});
        add("line beginning with a TAB names the empty name", "\t<wpt/>\r\n", {""});
        add("line without a TAB is a name", "Hand written\r\nHome\tx\r\n",
            {"Hand written", "Home"});
        add("empty lines name nothing", "\r\n\r\nHome\tx\r\n\n", {"Home"});
        add("empty file", "", {});
        add("a lone CR stays in the name", "a\rb\tx\r\n", {"a\rb"});
        add("duplicates kept", "A\tx\r\nA\ty\r\n", {"A", "A"});
        add("Windows-1252 bytes", "Caf\xE9 \x80\x81\tx\r\n", {QStringLiteral("Café €\u0081")});
        // Lines that straddle the blocks the file is read in, CR and LF apart included.
        QByteArray many;
        QStringList manyNames;
        for (int i = 0; i < 30000; ++i) {
            manyNames.append(QStringLiteral("Favorite number %1").arg(i));
            many += manyNames.constLast().toLatin1() + "\t<wpt lat=\"" + QByteArray::number(i) +
                    "\"></wpt>\r\n";
        }
        add("many lines", many, manyNames);
    }

    void savedNames() {
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, names);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
        QVERIFY(writeBytes(path, bytes));
        const SavedNames saved = readSavedNames(path);
        QVERIFY(saved.opened);
        QCOMPARE(saved.error, QString());
        QCOMPARE(saved.names, names);
    }

    void missingFileIsNotOpened() {
        QTemporaryDir dir;
        for (const QString& path : {dir.filePath(QStringLiteral("FAVORITES.TXT")), dir.path()}) {
            const SavedNames saved = readSavedNames(path);
            QVERIFY(!saved.opened);
            QVERIFY(!saved.error.isEmpty());
            QVERIFY(saved.names.isEmpty());
        }
    }

    void markNewFavorites_data() {
        QTest::addColumn<QStringList>("saved");
        QTest::addColumn<QStringList>("loaded");
        QTest::addColumn<QString>("marksBefore");
        QTest::addColumn<QString>("expected");
        const auto add = [](const char* row, const QStringList& saved, const QStringList& loaded,
                            const QString& expected, const QString& marksBefore = " ") {
            QTest::newRow(row) << saved << loaded << marksBefore << expected;
        };
        add("names are compared case and all", {"Home"}, {"home", "Home", "Home "}, "X-X");
        add("two loaded favorites of a saved name", {"Home", "Work"}, {"Home", "Park", "Home"},
            "-X-");
        add("duplicates among the saved names", {"A", "A", "B"}, {"A", "C"}, "-X");
        add("empty name is new", {"A"}, {"", "A"}, "X-");
        add("empty name saved", {""}, {"", "A"}, "-X");
        add("nothing saved marks every row", {}, {"A", "B"}, "XX");
        add("earlier marks are overwritten", {"A"}, {"A", "B"}, "-X", "X");
        add("no favorites loaded", {"A"}, {}, "");
        // Tens of thousands on both sides: the odd names are saved.
        QStringList loaded;
        QStringList saved;
        for (int i = 0; i < 60000; ++i) {
            loaded.append(QStringLiteral("Favorite %1").arg(i));
            if (i % 2)
                saved.append(loaded.constLast());
        }
        add("many favorites", saved, loaded, QStringLiteral("X-").repeated(30000));
    }

    void markNewFavorites() {
        QFETCH(QStringList, saved);
        QFETCH(QStringList, loaded);
        QFETCH(QString, marksBefore);
        QFETCH(QString, expected);
        FlexGridModel grid(4);
        fillNames(grid, loaded, marksBefore);
        ::markNewFavorites(grid, saved);
        QCOMPARE(marksOf(grid), expected);
        QCOMPARE(grid.TextMatrix(0, 0), QStringLiteral(" "));
    }

    void realFavoritesSurviveSaveAndRead() {
        if (!QFileInfo(QStringLiteral(TARNWICK_CORPUS)).isDir())
            QSKIP("The GPX corpus is not present.");
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
        int checked = 0;
        for (const QString& file : QDir(QStringLiteral(TARNWICK_CORPUS)).entryList({"*.gpx"})) {
            const CorpusItems::Favorites favorites =
                CorpusItems::favoritesOf(CorpusItems::readBytes(CorpusItems::corpusPath(file)));
            QList<QStringList> rows;
            QStringList names;
            for (const QByteArray& code : favorites.codes) {
                rows.append(CorpusItems::favoriteRow(code, QStringLiteral("X")));
                names.append(rows.constLast()[1]);
            }
            if (rows.isEmpty())
                continue;
            FlexGridModel grid(4);
            fillGrid(grid, rows);
            QCOMPARE(saveFavorites(path, grid), QString());
            const SavedNames saved = readSavedNames(path);
            // Names holding a TAB come back cut; the real files hold none.
            QVERIFY2(saved.names == names, qPrintable(file));
            ::markNewFavorites(grid, saved.names);
            QVERIFY2(!marksOf(grid).contains(QLatin1Char('X')), qPrintable(file));
            ++checked;
        }
        QVERIFY(checked >= 10);
    }
};

QTEST_APPLESS_MAIN(FavoritesHistoryTest)
#include "tst_favoriteshistory.moc"
