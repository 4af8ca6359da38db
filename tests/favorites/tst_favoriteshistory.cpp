// The favorites history: the saved file, the names read back and the marks of new favorites.

#include "TestRows.h"

#include "favorites/FavoritesHistory.h"
#include "items/FlexGridModel.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

// A list of names in a table: every name ends with '/'.
QStringList names(const QByteArray& cell) {
    return cell.isEmpty() ? QStringList() : QString::fromUtf8(cell.chopped(1)).split(u'/');
}

// Item rows of a mark ('-' for none), a name and a code each.
template <typename Row> void fill(FlexGridModel& grid, const QList<Row>& rows) {
    QList<QStringList> texts;
    for (const Row& row : rows)
        texts.append({QString(row[0]).replace(u'-', u' '), row[1], row[2], ""});
    grid.setRows(1);
    grid.appendRows(texts);
}

// The marks of the grid; the heading row's mark stays empty, so it adds nothing.
QString marksOf(const FlexGridModel& grid) {
    QString marks;
    for (int row = 0; row < grid.Rows(); ++row)
        marks += QString(grid.TextMatrix(row, 0)).replace(u' ', u'-');
    return marks;
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

} // namespace

class FavoritesHistoryTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    const QString m_path = m_dir.filePath("FAVORITES.TXT");

private slots:
    // Every item row, marked or not, replaces the earlier file; then only the name holding a
    // TAB is new, as it is read back up to the TAB. Then the names read back from other files,
    // and the marks of loaded favorites against saved names.
    void historyIsSavedReadBackAndMarked() {
        FlexGridModel grid(4);
        fill(grid, testRows("favorites_rules.tsv", "grid"));
        writeFile(m_path, "an earlier history that is longer than nothing at all\r\n");
        QCOMPARE(saveFavorites(m_path, grid), QString());
        QCOMPARE(fileBytes(m_path), dataBytes("favorites_saved.txt"));
        markNewFavorites(grid, readSavedNames(m_path).names);
        QCOMPARE(marksOf(grid), "--X--");
        QList<QByteArrayList> rows = testRows("favorites_rules.tsv", "saved");
        rows.append(QByteArrayList{"", ""}); // lines straddling the blocks the file is read in
        for (int i = 0; i < 9000; ++i) {
            rows.last()[0] += QByteArray::number(i * 7919) + "\t<wpt/>\r\n";
            rows.last()[1] += QByteArray::number(i * 7919) + '/';
        }
        for (const QByteArrayList& row : rows) {
            writeFile(m_path, row[0]);
            const SavedNames saved = readSavedNames(m_path);
            QVERIFY(saved.opened && saved.error.isEmpty() && saved.names == names(row[1]));
        }
        QVERIFY(!readSavedNames(m_dir.filePath("gone")).opened);
        for (const QByteArrayList& row : testRows("favorites_rules.tsv", "mark")) {
            QList<QStringList> items;
            for (const QString& name : names(row[1]))
                items.append({QString(row[2]).mid(items.size(), 1), name, ""});
            FlexGridModel loaded(4);
            fill(loaded, items);
            markNewFavorites(loaded, names(row[0]));
            QCOMPARE(marksOf(loaded), QString(row[3]));
        }
    }
};

QTEST_APPLESS_MAIN(FavoritesHistoryTest)
#include "tst_favoriteshistory.moc"
