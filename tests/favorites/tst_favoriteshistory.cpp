// The favorites history: the saved file, the names read back from it, and the marks of the
// favorites that are new since the save.

#include "favorites/FavoritesHistory.h"

#include "export/CodePage.h"
#include "export/CorpusItems.h"
#include "items/FlexGridModel.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows) {
    grid.setRows(0);
    grid.appendRows({{QStringLiteral(" "), QStringLiteral("NAME"),
                      QStringLiteral("FAVORITE'S XML CODE"), QStringLiteral("SYMBOL")}});
    grid.appendRows(rows);
    grid.setFixedRows(1);
}

// Rows with the given names and marks and a code made from the name.
void fillNames(FlexGridModel& grid, const QStringList& names, const QString& mark) {
    QList<QStringList> rows;
    for (const QString& name : names)
        rows.append({mark, name, QStringLiteral("<wpt><name>%1</name></wpt> ").arg(name),
                     QStringLiteral("--- NONE ---")});
    fillGrid(grid, rows);
}

QString marksOf(const FlexGridModel& grid) {
    QString marks;
    for (int row = 1; row < grid.Rows(); ++row)
        marks += grid.TextMatrix(row, 0) == QLatin1String("X")   ? QLatin1Char('X')
                 : grid.TextMatrix(row, 0) == QLatin1String(" ") ? QLatin1Char('-')
                                                                 : QLatin1Char('?');
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
    void historyFileIsFoundInAnyCase();
    void saveWritesEveryRowNameTabCode();
    void markRightAfterSaveLeavesEveryRowUnmarked();
    void savedNames_data();
    void savedNames();
    void missingFileIsNotOpened();
    void markNewFavorites_data();
    void markNewFavorites();
    void failedSaveKeepsTheEarlierFile();
    void markingStaysFastWithManyFavorites();
    void realFavoritesSurviveSaveAndRead();
};

void FavoritesHistoryTest::historyFileIsFoundInAnyCase() {
    QTemporaryDir dir;
    QCOMPARE(favoritesPathIn(dir.path()), dir.filePath(QStringLiteral("FAVORITES.TXT")));
    QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("favorites.txt.d")));
    QVERIFY(writeBytes(dir.filePath(QStringLiteral("Favorites.txt")), "a\tb\r\n"));
    QCOMPARE(favoritesPathIn(dir.path()), dir.filePath(QStringLiteral("Favorites.txt")));
}

void FavoritesHistoryTest::saveWritesEveryRowNameTabCode() {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(char(b));
    FlexGridModel grid(4);
    fillGrid(grid, {{"X", "Home", "<wpt><name>Home</name></wpt> ", "Residence"},
                    {" ", "A & B", "<wpt><name>A &amp; B</name></wpt> ", "--- NONE ---"},
                    {" ", "", "<wpt></wpt>", "--- NONE ---"},
                    {"X", "Tab\there", "<wpt>\t</wpt>", "--- NONE ---"},
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
                             "Tab\there\t<wpt>\t</wpt>\r\n" +
                                 all.mid(128) + "\t" + all + "\r\n");

    fillGrid(grid, {});
    QCOMPARE(saveFavorites(path, grid), QString());
    QCOMPARE(QFileInfo(path).size(), 0);
}

void FavoritesHistoryTest::markRightAfterSaveLeavesEveryRowUnmarked() {
    QByteArray high;
    for (int b = 128; b < 256; ++b)
        high.append(char(b));
    FlexGridModel grid(4);
    fillNames(grid,
              {QStringLiteral("Home"), QStringLiteral("Home"), QString(), QStringLiteral("Café"),
               CodePage::toUnicode(high), QStringLiteral("Tab\there")},
              QStringLiteral("X"));
    QTemporaryDir dir;
    const QString path = favoritesPathIn(dir.path());
    QCOMPARE(saveFavorites(path, grid), QString());
    const SavedNames saved = readSavedNames(path);
    QVERIFY(saved.opened);
    QCOMPARE(saved.error, QString());
    QCOMPARE(saved.names.size(), 6);
    ::markNewFavorites(grid, saved.names);
    // A name holding a TAB is read back only up to the TAB, so it stays new.
    QCOMPARE(marksOf(grid), QStringLiteral("-----X"));
}

void FavoritesHistoryTest::savedNames_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("CR LF lines") << QByteArray("Home\t<wpt/>\r\nWork\t<wpt/>\r\n")
                                 << QStringList{"Home", "Work"};
    QTest::newRow("lone LF lines")
        << QByteArray("Home\tx\nWork\ty\n") << QStringList{"Home", "Work"};
    QTest::newRow("no line end at the end")
        << QByteArray("Home\tx\r\nWork\ty") << QStringList{"Home", "Work"};
    QTest::newRow("text before the first TAB only")
        << QByteArray("a\tb\tc\r\n") << QStringList{"a"};
    QTest::newRow("line beginning with a TAB names the empty name")
        << QByteArray("\t<wpt/>\r\n") << QStringList{""};
    QTest::newRow("line without a TAB is a name")
        << QByteArray("Hand written\r\nHome\tx\r\n") << QStringList{"Hand written", "Home"};
    QTest::newRow("empty lines name nothing")
        << QByteArray("\r\n\r\nHome\tx\r\n\n") << QStringList{"Home"};
    QTest::newRow("empty file") << QByteArray() << QStringList();
    QTest::newRow("a lone CR stays in the name")
        << QByteArray("a\rb\tx\r\n") << QStringList{"a\rb"};
    QTest::newRow("duplicates kept") << QByteArray("A\tx\r\nA\ty\r\n") << QStringList{"A", "A"};
    QTest::newRow("Windows-1252 bytes")
        << QByteArray("Caf\xE9 \x80\x81\tx\r\n") << QStringList{QStringLiteral("Café €\u0081")};

    // Lines that straddle the blocks the file is read in, CR and LF apart included.
    QByteArray many;
    QStringList manyNames;
    for (int i = 0; i < 30000; ++i) {
        const QByteArray name = "Favorite number " + QByteArray::number(i);
        many += name + "\t<wpt lat=\"" + QByteArray::number(i) + "\"></wpt>\r\n";
        manyNames.append(QString::fromLatin1(name));
    }
    QTest::newRow("many lines") << many << manyNames;
}

void FavoritesHistoryTest::savedNames() {
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

void FavoritesHistoryTest::missingFileIsNotOpened() {
    QTemporaryDir dir;
    for (const QString& path : {dir.filePath(QStringLiteral("FAVORITES.TXT")), dir.path()}) {
        const SavedNames saved = readSavedNames(path);
        QVERIFY(!saved.opened);
        QVERIFY(!saved.error.isEmpty());
        QVERIFY(saved.names.isEmpty());
    }
}

void FavoritesHistoryTest::markNewFavorites_data() {
    QTest::addColumn<QStringList>("saved");
    QTest::addColumn<QStringList>("loaded");
    QTest::addColumn<QString>("marksBefore");
    QTest::addColumn<QString>("expected");
    QTest::newRow("names are compared case and all")
        << QStringList{"Home"} << QStringList{"home", "Home", "Home "} << " "
        << "X-X";
    QTest::newRow("two loaded favorites of a saved name")
        << QStringList{"Home", "Work"} << QStringList{"Home", "Park", "Home"} << " "
        << "-X-";
    QTest::newRow("duplicates among the saved names")
        << QStringList{"A", "A", "B"} << QStringList{"A", "C"} << " "
        << "-X";
    QTest::newRow("empty name is new") << QStringList{"A"} << QStringList{"", "A"} << " "
                                       << "X-";
    QTest::newRow("empty name saved") << QStringList{""} << QStringList{"", "A"} << " "
                                      << "-X";
    QTest::newRow("nothing saved marks every row") << QStringList() << QStringList{"A", "B"} << " "
                                                   << "XX";
    QTest::newRow("earlier marks are overwritten")
        << QStringList{"A"} << QStringList{"A", "B"} << "X"
        << "-X";
    QTest::newRow("no favorites loaded") << QStringList{"A"} << QStringList() << " "
                                         << "";
}

void FavoritesHistoryTest::markNewFavorites() {
    QFETCH(QStringList, saved);
    QFETCH(QStringList, loaded);
    QFETCH(QString, marksBefore);
    QFETCH(QString, expected);
    FlexGridModel grid(4);
    fillNames(grid, loaded, marksBefore);
    ::markNewFavorites(grid, saved);
    QCOMPARE(marksOf(grid), expected);
    QCOMPARE(grid.TextMatrix(0, 0), QStringLiteral(" "));
    QCOMPARE(grid.TextMatrix(0, 1), QStringLiteral("NAME"));
}

void FavoritesHistoryTest::failedSaveKeepsTheEarlierFile() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
    const QByteArray earlier = "Home\t<wpt/>\r\n";
    QVERIFY(writeBytes(path, earlier));
    FlexGridModel grid(4);
    fillNames(grid, {QStringLiteral("Other")}, QStringLiteral(" "));

    // The folder cannot take the new file.
    QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    QFile probe(dir.filePath(QStringLiteral("probe")));
    const bool permissionsApply = !probe.open(QIODevice::WriteOnly);
    if (permissionsApply) {
        QVERIFY(!saveFavorites(path, grid).isEmpty());
    }
    QFile::setPermissions(dir.path(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    probe.remove();
    if (!permissionsApply)
        QSKIP("Folder permissions do not apply to this user.");
    QCOMPARE(readSavedNames(path).names, QStringList{QStringLiteral("Home")});
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
             QStringList{QStringLiteral("FAVORITES.TXT")});
}

void FavoritesHistoryTest::markingStaysFastWithManyFavorites() {
    QStringList loaded;
    QStringList saved;
    for (int i = 0; i < 60000; ++i) {
        loaded.append(QStringLiteral("Favorite %1").arg(i));
        if (i % 2 == 0)
            saved.append(QStringLiteral("Favorite %1").arg(i + 1));
    }
    FlexGridModel grid(4);
    fillNames(grid, loaded, QStringLiteral(" "));
    QElapsedTimer timer;
    timer.start();
    ::markNewFavorites(grid, saved);
    // Comparing every row with every saved name would take minutes.
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(grid.TextMatrix(1, 0), QStringLiteral("X"));
    QCOMPARE(grid.TextMatrix(2, 0), QStringLiteral(" "));
    QCOMPARE(grid.TextMatrix(60000, 0), QStringLiteral(" "));
}

void FavoritesHistoryTest::realFavoritesSurviveSaveAndRead() {
    if (!QFileInfo(QStringLiteral(TARNWICK_CORPUS)).isDir())
        QSKIP("The GPX corpus is not present.");
    const QStringList files = QDir(QStringLiteral(TARNWICK_CORPUS))
                                  .entryList({QStringLiteral("*.gpx")}, QDir::Files, QDir::Name);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
    int checked = 0;
    for (const QString& name : files) {
        const CorpusItems::Favorites favorites =
            CorpusItems::favoritesOf(CorpusItems::readBytes(CorpusItems::corpusPath(name)));
        if (favorites.codes.isEmpty())
            continue;
        QList<QStringList> rows;
        QStringList names;
        for (const QByteArray& code : favorites.codes) {
            rows.append(CorpusItems::favoriteRow(code, QStringLiteral("X")));
            names.append(rows.constLast()[1]);
        }
        FlexGridModel grid(4);
        fillGrid(grid, rows);
        QCOMPARE(saveFavorites(path, grid), QString());
        const SavedNames saved = readSavedNames(path);
        // Names holding a TAB come back cut; the real files hold none.
        QVERIFY2(saved.names == names, qPrintable(name));
        ::markNewFavorites(grid, saved.names);
        QVERIFY2(!marksOf(grid).contains(QLatin1Char('X')), qPrintable(name));
        ++checked;
    }
    QVERIFY(checked >= 10);
}

QTEST_APPLESS_MAIN(FavoritesHistoryTest)
#include "tst_favoriteshistory.moc"
