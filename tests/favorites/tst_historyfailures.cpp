// The favorites history when the disk fills up, the folder is read-only or the file is not a
// file: the earlier history stays whole, no half-written file or leftover is left, and nothing
// blocks.

#include "FileSizeLimit.h"

#include "favorites/FavoritesHistory.h"
#include "items/FlexGridModel.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

class HistoryFailuresTest : public QObject {
    Q_OBJECT
private slots:
    void failedSaveKeepsEarlierFile_data() {
        QTest::addColumn<int>("favorites");
        QTest::addColumn<qint64>("room"); // -1: the folder is read-only instead
        // A short history is written out only when the file is committed.
        QTest::newRow("short history, nothing fits") << 3 << qint64(0);
        QTest::newRow("short history, part of it fits") << 3 << qint64(60);
        QTest::newRow("long history, nothing fits") << 5000 << qint64(0);
        QTest::newRow("long history, part of the first line fits") << 5000 << qint64(10);
        QTest::newRow("long history, fails in the middle") << 5000 << qint64(64 * 1024);
        QTest::newRow("read-only folder") << 3 << qint64(-1);
    }

    void failedSaveKeepsEarlierFile() {
        QFETCH(int, favorites);
        QFETCH(qint64, room);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
        const QByteArray earlier = "Home\t<wpt lat=\"1\" lon=\"2\"><name>Home</name></wpt> \r\n";
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(earlier) == earlier.size());
        file.close();
        QList<QStringList> rows;
        for (int i = 0; i < favorites; ++i)
            rows.append({" ", QStringLiteral("Favorite %1").arg(i),
                         QStringLiteral("<wpt><name>Favorite %1</name></wpt> ").arg(i), ""});
        FlexGridModel grid(4);
        grid.setRows(1);
        grid.appendRows(rows);

        QString error;
        if (room >= 0) {
            FileSizeLimit full(room);
            QVERIFY(full.active());
            error = saveFavorites(path, grid);
        } else {
            QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
            QFile probe(dir.filePath(QStringLiteral("probe")));
            const bool permissionsApply = !probe.open(QIODevice::WriteOnly);
            error = saveFavorites(path, grid);
            QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                  QFileDevice::ExeOwner);
            if (!permissionsApply)
                QSKIP("Folder permissions do not apply to this user.");
        }
        QVERIFY2(!error.isEmpty(), "a save that could not be written reported success");
        if (room >= 0)
            QVERIFY2(error.contains(QString::fromLocal8Bit(std::strerror(EFBIG))),
                     qPrintable(error));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), earlier);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System),
                 QStringList{QStringLiteral("FAVORITES.TXT")});

        // With room again the same save goes through: the failure left nothing in the way.
        QCOMPARE(saveFavorites(path, grid), QString());
        QCOMPARE(readSavedNames(path).names.size(), favorites);
    }

    void historyThatIsNotAFileIsRefusedAtOnce_data() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("folder") << "folder";
        QTest::newRow("FIFO") << "fifo";
        QTest::newRow("link to /dev/zero") << "zero";
    }

    void historyThatIsNotAFileIsRefusedAtOnce() {
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
};

QTEST_APPLESS_MAIN(HistoryFailuresTest)
#include "tst_historyfailures.moc"
