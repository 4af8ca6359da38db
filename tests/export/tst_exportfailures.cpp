// Exports on a disk that fills up: the export reports why, leaves no half-written file behind,
// and never touches the files that were there before.

#include "FileSizeLimit.h"

#include "export/ExportWriter.h"
#include "items/FlexGridModel.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <cstring>

namespace {

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class ExportFailuresTest : public QObject {
    Q_OBJECT
private slots:
    void exportOnFullDiskLeavesNoFile_data() {
        QTest::addColumn<bool>("tracks");
        QTest::addColumn<qint64>("room");
        QTest::newRow("favorites, nothing fits") << false << qint64(0);
        QTest::newRow("favorites, the header fits") << false << qint64(100);
        QTest::newRow("favorites, fails in the middle") << false << qint64(4000);
        QTest::newRow("tracks, nothing fits") << true << qint64(0);
        QTest::newRow("tracks, fails in the middle") << true << qint64(50000);
    }

    void exportOnFullDiskLeavesNoFile() {
        QFETCH(bool, tracks);
        QFETCH(qint64, room);
        QTemporaryDir dir;
        const QString output = dir.filePath(QStringLiteral("output"));
        const QString earlierPath = output + QStringLiteral("/Home.gpx");
        const QByteArray earlier = "<gpx>\r\n<wpt><name>Home</name></wpt>\r\n</gpx>\r\n";
        QVERIFY(QDir().mkdir(output) && writeBytes(earlierPath, earlier));
        // Two hundred items, all marked, and a scratch file with as many tracks.
        FlexGridModel grid(4);
        grid.setRows(1);
        QByteArray scratch;
        for (int i = 0; i < 200; ++i) {
            const QString name = i == 0 ? QStringLiteral("Home") : QStringLiteral("Item %1").arg(i);
            const QString code = QStringLiteral("<wpt><name>%1</name><sym>Residence</sym></wpt> ");
            grid.appendRows({{"X", name, tracks ? "<name>" + name : code.arg(name),
                              tracks ? "" : "Residence"}});
            scratch +=
                " <trk><name>" + name.toLatin1() + "</name>\r\n<trkseg>\r\n" +
                QByteArray("<trkpt lat=\"1.000000\" lon=\"2.000000\"></trkpt>\r\n").repeated(20) +
                "</trkseg>\r\n</trk>\r\n";
        }
        const QString scratchPath = dir.filePath(QStringLiteral("TEMP.TMP"));
        QVERIFY(writeBytes(scratchPath, scratch + "</gpx>\r\n"));
        QVERIFY(room < scratch.size());
        const QList<SymbolPair> table = {{"Residence", "HOUSE"}};
        const auto exportHome = [&] {
            const QString header = QStringLiteral("<?xml version=\"1.0\"?> <gpx creator=\"t\"> ");
            return tracks ? exportTracks(output, "Home", header, grid, {}, scratchPath)
                          : exportFavorites(output, "Home", header, grid, &table);
        };

        ExportResult result;
        {
            FileSizeLimit full(room);
            QVERIFY(full.active());
            result = exportHome();
        }
        QVERIFY2(result.error.contains(QStringLiteral("Home.gpx")), qPrintable(result.error));
        // The reason is the file system's, also when part of the file was written.
        QVERIFY2(result.error.contains(QString::fromLocal8Bit(std::strerror(EFBIG))),
                 qPrintable(result.error));
        QVERIFY(result.path.isEmpty());
        QVERIFY(!result.scratchUnreadable);
        QCOMPARE(QDir(output).entryList(QDir::Files | QDir::Hidden | QDir::System),
                 QStringList{QStringLiteral("Home.gpx")});
        QCOMPARE(bytesOf(earlierPath), earlier);

        // With room again the export takes the next free name; the scratch file is unchanged.
        result = exportHome();
        QCOMPARE(result.error, QString());
        QCOMPARE(QFileInfo(result.path).fileName(), QStringLiteral("Home 1.gpx"));
        QCOMPARE(bytesOf(scratchPath), scratch + "</gpx>\r\n");
    }
};

QTEST_APPLESS_MAIN(ExportFailuresTest)
#include "tst_exportfailures.moc"
