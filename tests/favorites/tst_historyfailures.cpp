// The favorites history when the disk fills up or the file is not a file: the earlier
// history stays whole, no half-written file or leftover is left, and nothing blocks.

#include "FileSizeLimit.h"

#include "favorites/FavoritesHistory.h"
#include "items/FlexGridModel.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class HistoryFailuresTest : public QObject {
    Q_OBJECT
private slots:
    void saveOnFullDiskKeepsEarlierFile_data();
    void saveOnFullDiskKeepsEarlierFile();
    void historyThatIsNotAFileIsRefusedAtOnce_data();
    void historyThatIsNotAFileIsRefusedAtOnce();
};

namespace {

const QByteArray earlier = "Home\t<wpt lat=\"1\" lon=\"2\"><name>Home</name></wpt> \r\n";

void fillFavorites(FlexGridModel& grid, int count) {
    grid.setRows(1);
    QList<QStringList> rows;
    for (int i = 0; i < count; ++i)
        rows.append(
            {QStringLiteral(" "), QStringLiteral("Favorite %1").arg(i),
             QStringLiteral("<wpt lat=\"1\" lon=\"2\"><name>Favorite %1</name></wpt> ").arg(i),
             QStringLiteral("Flag, Blue")});
    grid.appendRows(rows);
}

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

void HistoryFailuresTest::saveOnFullDiskKeepsEarlierFile_data() {
    QTest::addColumn<int>("favorites");
    QTest::addColumn<qint64>("room");
    // A short history is written out only when the file is committed.
    QTest::newRow("short history, nothing fits") << 3 << qint64(0);
    QTest::newRow("short history, part of it fits") << 3 << qint64(60);
    QTest::newRow("long history, nothing fits") << 5000 << qint64(0);
    QTest::newRow("long history, part of the first line fits") << 5000 << qint64(10);
    QTest::newRow("long history, fails in the middle") << 5000 << qint64(64 * 1024);
}

void HistoryFailuresTest::saveOnFullDiskKeepsEarlierFile() {
    QFETCH(int, favorites);
    QFETCH(qint64, room);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(earlier), earlier.size());
    }
    FlexGridModel grid(4);
    fillFavorites(grid, favorites);

    QString error;
    {
        FileSizeLimit full(room);
        QVERIFY(full.active());
        error = saveFavorites(path, grid);
    }
    QVERIFY2(!error.isEmpty(), "a save that could not be written reported success");
    QCOMPARE(bytesOf(path), earlier);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System),
             QStringList{QStringLiteral("FAVORITES.TXT")});
    QCOMPARE(readSavedNames(path).names, QStringList{QStringLiteral("Home")});

    // With room again the same save goes through: the failure left nothing in the way.
    QCOMPARE(saveFavorites(path, grid), QString());
    QCOMPARE(readSavedNames(path).names.size(), favorites);
}

void HistoryFailuresTest::historyThatIsNotAFileIsRefusedAtOnce_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("folder") << "folder";
    QTest::newRow("FIFO") << "fifo";
    QTest::newRow("link to /dev/zero") << "zero";
}

void HistoryFailuresTest::historyThatIsNotAFileIsRefusedAtOnce() {
    QFETCH(QString, kind);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
    if (kind == QLatin1String("folder"))
        QVERIFY(QDir().mkdir(path));
    else if (kind == QLatin1String("fifo"))
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));

    // A FIFO without a writer would block the open; /dev/zero would never end.
    const SavedNames saved = readSavedNames(path);
    QVERIFY(!saved.error.isEmpty());
    QVERIFY(saved.names.isEmpty());
}

QTEST_APPLESS_MAIN(HistoryFailuresTest)
#include "tst_historyfailures.moc"
