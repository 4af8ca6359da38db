// Exports on a disk that fills up: the export reports why, leaves no half-written file behind,
// and never touches the files that were there before.

#include "FileSizeLimit.h"

#include "export/ExportWriter.h"
#include "items/FlexGridModel.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class ExportFailuresTest : public QObject {
    Q_OBJECT
private slots:
    void exportOnFullDiskLeavesNoFile_data();
    void exportOnFullDiskLeavesNoFile();
};

namespace {

const QByteArray earlierExport = "<gpx>\r\n<wpt><name>Home</name></wpt>\r\n</gpx>\r\n";

// Two hundred favorites, all marked, and a scratch file with as many tracks.
void fillGrid(FlexGridModel& grid, bool tracks) {
    grid.setRows(1);
    QList<QStringList> rows;
    for (int i = 0; i < 200; ++i) {
        const QString name = i == 0 ? QStringLiteral("Home") : QStringLiteral("Item %1").arg(i);
        rows.append(
            {QStringLiteral("X"), name,
             tracks ? QStringLiteral("<name>") + name
                    : QStringLiteral("<wpt><name>%1</name><sym>Residence</sym></wpt> ").arg(name),
             tracks ? QString() : QStringLiteral("Residence")});
    }
    grid.appendRows(rows);
}

QByteArray scratchFor(const FlexGridModel& grid) {
    QByteArray out;
    for (int row = 1; row < grid.Rows(); ++row) {
        out += " <trk><name>" + grid.TextMatrix(row, 1).toLatin1() + "</name>\r\n<trkseg>\r\n";
        for (int p = 0; p < 20; ++p)
            out += "<trkpt lat=\"1.000000\" lon=\"2.000000\"></trkpt>\r\n";
        out += "</trkseg>\r\n</trk>\r\n";
    }
    return out + "</gpx>\r\n";
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

} // namespace

void ExportFailuresTest::exportOnFullDiskLeavesNoFile_data() {
    QTest::addColumn<bool>("tracks");
    QTest::addColumn<qint64>("room");
    QTest::newRow("favorites, nothing fits") << false << qint64(0);
    QTest::newRow("favorites, the header fits") << false << qint64(100);
    QTest::newRow("favorites, fails in the middle") << false << qint64(4000);
    QTest::newRow("tracks, nothing fits") << true << qint64(0);
    QTest::newRow("tracks, fails in the middle") << true << qint64(50000);
}

void ExportFailuresTest::exportOnFullDiskLeavesNoFile() {
    QFETCH(bool, tracks);
    QFETCH(qint64, room);
    QTemporaryDir dir;
    const QString output = dir.filePath(QStringLiteral("output"));
    QVERIFY(QDir().mkdir(output));
    const QString earlierPath = output + QStringLiteral("/Home.gpx");
    {
        QFile earlier(earlierPath);
        QVERIFY(earlier.open(QIODevice::WriteOnly));
        QCOMPARE(earlier.write(earlierExport), earlierExport.size());
    }
    FlexGridModel grid(4);
    fillGrid(grid, tracks);
    const QString scratchPath = dir.filePath(QStringLiteral("TEMP.TMP"));
    const QByteArray scratch = scratchFor(grid);
    {
        QFile file(scratchPath);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(scratch), scratch.size());
    }
    QVERIFY(room < scratch.size());
    const QList<SymbolPair> table = {{QStringLiteral("Residence"), QStringLiteral("HOUSE")}};
    const QString header = QStringLiteral("<?xml version=\"1.0\"?> <gpx creator=\"t\"> ");

    ExportResult result;
    {
        FileSizeLimit full(room);
        QVERIFY(full.active());
        result = tracks
                     ? exportTracks(output, QStringLiteral("Home"), header, grid, {}, scratchPath)
                     : exportFavorites(output, QStringLiteral("Home"), header, grid, &table);
    }
    QVERIFY2(!result.error.isEmpty(), "an export that could not be written reported success");
    QVERIFY(result.path.isEmpty());
    QVERIFY(!result.scratchUnreadable);
    QCOMPARE(filesIn(output), QStringList{QStringLiteral("Home.gpx")});
    QFile earlier(earlierPath);
    QVERIFY(earlier.open(QIODevice::ReadOnly));
    QCOMPARE(earlier.readAll(), earlierExport);

    // With room again the export takes the next free name; the scratch file is unchanged.
    result = tracks ? exportTracks(output, QStringLiteral("Home"), header, grid, {}, scratchPath)
                    : exportFavorites(output, QStringLiteral("Home"), header, grid, &table);
    QCOMPARE(result.error, QString());
    QCOMPARE(QFileInfo(result.path).fileName(), QStringLiteral("Home 1.gpx"));
    QFile again(scratchPath);
    QVERIFY(again.open(QIODevice::ReadOnly));
    QCOMPARE(again.readAll(), scratch);
}

QTEST_APPLESS_MAIN(ExportFailuresTest)
#include "tst_exportfailures.moc"
