// The favorites history: the saved file, the names read back from it, and the marks of the
// favorites that are new since the save.

#include "text/TestRows.h"

#include "favorites/FavoritesHistory.h"
#include "items/FlexGridModel.h"
#include "text/CodePage.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

namespace {

QStringList names(const QString& cell) {
    QStringList list = cell.split(u'/');
    list.removeLast();
    return list;
}

// A grid of favorites with these marks ("-" for none) and names, and codes made from the names.
void fill(FlexGridModel& grid, const QStringList& names, const QString& marks) {
    QList<QStringList> rows;
    for (int i = 0; i < names.size(); ++i)
        rows.append({marks[i] == u'-' ? " " : QString(marks[i]), names[i],
                     "<wpt><name>" + names[i] + "</name></wpt> ", "--- NONE ---"});
    grid.setRows(1);
    grid.appendRows(rows);
}

QString marksOf(const FlexGridModel& grid) {
    QString marks;
    for (int row = 1; row < grid.Rows(); ++row)
        marks += grid.TextMatrix(row, 0) == " " ? "-" : grid.TextMatrix(row, 0);
    return marks;
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class FavoritesHistoryTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    const QString m_path = m_dir.filePath("FAVORITES.TXT");

private slots:
    void historyFileIsFoundInAnyCase() {
        QCOMPARE(favoritesPathIn(m_dir.path()), m_path);
        QVERIFY(QDir(m_dir.path()).mkdir("favorites.txt.d") &&
                writeBytes(m_dir.filePath("Fav.txt"), ""));
        QVERIFY(writeBytes(m_dir.filePath("Favorites.txt"), "a\tb\r\n"));
        QCOMPARE(favoritesPathIn(m_dir.path()), m_dir.filePath("Favorites.txt"));
        QVERIFY(QFile::remove(m_dir.filePath("Favorites.txt")));
    }

    // Every item row, marked or not, as name TAB code CR LF in Windows-1252, over the earlier
    // file; only the name that holds a TAB is new after the save, as it is read back cut.
    void saveWritesEveryRow() {
        QByteArray all;
        for (int b = 0; b < 256; ++b)
            all.append(char(b));
        FlexGridModel grid(4);
        fill(grid, {"Home", "", "Tab\there", "Home"}, "X-X-");
        grid.appendRows({{" ", CodePage::toUnicode(all.mid(128)), CodePage::toUnicode(all), "x"}});
        QVERIFY(writeBytes(m_path, "earlier content that is longer than nothing\r\n"));
        QCOMPARE(saveFavorites(m_path, grid), QString());
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(),
                 "Home\t<wpt><name>Home</name></wpt> \r\n\t<wpt><name></name></wpt> \r\n"
                 "Tab\there\t<wpt><name>Tab\there</name></wpt> \r\n"
                 "Home\t<wpt><name>Home</name></wpt> \r\n" +
                     all.mid(128) + "\t" + all + "\r\n");
        const SavedNames saved = readSavedNames(m_path);
        QVERIFY(saved.opened && saved.error.isEmpty());
        // The LF among the byte values of the last code ends a line as well.
        QCOMPARE(saved.names,
                 QStringList({"Home", "", "Tab", "Home", CodePage::toUnicode(all.mid(128)),
                              CodePage::toUnicode(all.mid(11))}));
        ::markNewFavorites(grid, saved.names);
        QCOMPARE(marksOf(grid), "--X--");
    }

    // Far more than the blocks the file is written and read in, lines straddling them.
    void longHistoryComesBackWhole() {
        QStringList many;
        for (int i = 0; i < 30000; ++i)
            many.append(QStringLiteral("Favorite number %1").arg(i));
        FlexGridModel grid(4);
        fill(grid, many, QString(many.size(), u'X'));
        QCOMPARE(saveFavorites(m_path, grid), QString());
        QCOMPARE(readSavedNames(m_path).names, many);
        fill(grid, {}, {});
        QCOMPARE(saveFavorites(m_path, grid), QString());
        QCOMPARE(QFileInfo(m_path).size(), 0);
    }

    void savedNames() {
        for (const QStringList& row : testRows("favorites_rules.tsv", "saved")) {
            QVERIFY(writeBytes(m_path, row[0].toLatin1()));
            const SavedNames saved = readSavedNames(m_path);
            QVERIFY(saved.opened && saved.error.isEmpty());
            QCOMPARE(saved.names, names(row[1]));
        }
        const SavedNames missing = readSavedNames(m_dir.filePath("gone"));
        QVERIFY(!missing.opened && !missing.error.isEmpty() && missing.names.isEmpty());
    }

    void markNewFavorites() {
        for (const QStringList& row : testRows("favorites_rules.tsv", "mark")) {
            FlexGridModel grid(4);
            fill(grid, names(row[1]), row[2]);
            ::markNewFavorites(grid, names(row[0]));
            QCOMPARE(marksOf(grid), row[3]);
            QCOMPARE(grid.TextMatrix(0, 0), QString());
        }
    }
};

QTEST_APPLESS_MAIN(FavoritesHistoryTest)
#include "tst_favoriteshistory.moc"
