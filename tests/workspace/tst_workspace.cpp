// The workspace and its device folders, their order, the volumes and the dated copies.

#include "TestHome.h"
#include "TestRows.h"

#include "workspace/DatedCopy.h"
#include "workspace/NameOrder.h"
#include "workspace/Volumes.h"
#include "workspace/Workspace.h"

#include <QBuffer>
#include <QDir>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

DatedCopy::Result copy(QByteArray bytes, const QString& folder) {
    QBuffer source(&bytes);
    source.open(QIODevice::ReadOnly);
    return DatedCopy::copyInto(source, folder, QDateTime(QDate(2011, 3, 2), QTime(9, 5, 41)));
}

} // namespace

class WorkspaceTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_home;

private slots:
    void initTestCase() { useTestHome(m_home.path()); }

    // Every folder of the root is a device except hidden ones, such as a sync tool's; every
    // pair of names in the rules compares as their order there says.
    void devicesAreTheFoldersOfTheRootInTheirOrder() {
        const QString root = m_home.path() + "/GPX";
        QCOMPARE(Workspace::rootPath(), root);
#ifdef Q_OS_WIN // no "~" there, and one folder for names that differ only in case
        const bool windows = true;
        const QString shown = QDir::toNativeSeparators(root + "/Nuvi" + m_home.path());
        const QStringList devices{"Garmin", "nuvi_2", "Nuvi_10"};
#else
        const bool windows = false;
        const QString shown = "~/GPX/Nuvi~";
        const QStringList devices{"Garmin", "garmin", "nuvi_2", "Nuvi_10"};
#endif
        QCOMPARE(Workspace::displayPath(root + "/Nuvi") + Workspace::displayPath(m_home.path()),
                 shown);
        Workspace::MakeFolder(root + "/no/parent");
        for (const char* name :
             {"", "", "/Nuvi_10", "/nuvi_2", "/.stfolder", "/.x", "/Garmin", "/garmin"})
            Workspace::MakeFolder(root + name);
        QVERIFY(QFile(root + "/notes.txt").open(QIODevice::WriteOnly));
        QVERIFY(!QFileInfo::exists(root + "/no"));
        QCOMPARE(Workspace::deviceNames(), devices);
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", "find"))
            QCOMPARE(Workspace::findEntry(root, row[0]),
                     root + '/' + row[windows ? row.size() - 1 : 1]);
        QStringList order;
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", "order"))
            order.append(QString::fromUtf8(row[0]));
        for (int i = 0; i < order.size(); ++i)
            for (int j = 0; j < order.size(); ++j) {
                const int sign = NameOrder::naturalCompare(order[i], order[j]);
                QVERIFY2((sign > 0) - (sign < 0) == (i > j) - (i < j),
                         qPrintable(order[i] + " / " + order[j]));
            }
        QStringList names(order.crbegin(), order.crend());
        NameOrder::sortNaturally(names);
        QCOMPARE(names, order);
    }

    void volumesOnOfferAndGarminUnits() {
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", "volume"))
            QVERIFY2(isUserVolume(row[0], row[1]) == (row[2] == "yes"), qPrintable(row[0]));
#ifdef Q_OS_WIN
        const QList<Volume> volumes = {{"E:/", "", {}, {}}, { "C:/", "", {}, {} }};
        const QByteArray of = "of drive";
        const QString systemRoot = "C:/";
#else
        const QList<Volume> volumes = {
            {"/media/anna/GARMIN", "", {}, {}}, {"/", "", {}, {}}, {"/home", "", {}, {}}};
        const QByteArray of = "of";
        const QString systemRoot = "/";
#endif
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", of))
            QCOMPARE(volumeOf(row[0], volumes).rootPath, QString(row[1]));
        QVERIFY(volumeOf(volumes.first().rootPath, {}).rootPath.isEmpty());
        const Volume first = mountedVolumes().first();
        QCOMPARE(first.rootPath, systemRoot);
        QCOMPARE(mountedRoots().first().rootPath, systemRoot);
#ifdef Q_OS_WIN // a drive shows as Explorer shows it, never as the volume's device path
        QVERIFY2(first.label.contains("(C:)") && !first.label.contains("\\\\?\\"),
                 qPrintable(first.label));
#endif
        const QByteArrayList kinds{"removable", "fixed", "network", "cd", "ram", "unknown"};
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", "drive label"))
            QCOMPARE(driveLabel(row[0], QString::fromUtf8(row[1]), DriveKind(kinds.indexOf(row[2])),
                                row[3] == "ready"),
                     QString::fromUtf8(row[4]));
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", "model"))
            QCOMPARE(garminModelFrom(row[0]), QString::fromUtf8(row[1]));
        // A unit writes its folder names in any case.
        QTemporaryDir unit;
        const QString garmin = unit.path() + "/GARMIN";
        QVERIFY(QDir(unit.path()).mkpath("GARMIN/gpx"));
        QFile device(garmin + "/garmindevice.XML"); // a unit's file is at most 4 MiB
        QVERIFY(QFile::copy(TARNWICK_TEST_DATA "/workspace_GarminDevice.xml", device.fileName()));
        const Volume volume = volumeAt(unit.path(), "GARMIN");
        QCOMPARE(volume.label + volume.gpxFolder,
                 "GARMIN (" + QDir::toNativeSeparators(unit.path()) + ")" + garmin + "/gpx");
        QCOMPARE(volume.garminModel, QStringLiteral("nüvi 200W"));
        QVERIFY(device.resize((4 << 20) + 1) && volumeAt(unit.path(), "").garminModel.isEmpty());
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", "unreadable"))
            QCOMPARE(unreadableReason(unit.path() + row[0]), QString::fromUtf8(row[1]));
    }

    // A copy from Windows with its name in other letters counts as the same name; a copy of
    // different bytes takes the next free name of the minute, and the earlier copy stays. The
    // copy gets the permissions any new file gets: rw-r----- under the umask 027 (Windows has
    // no umask).
    void copiesOfOneMinute() {
        QByteArray bytes;
        for (int b = 0; b < 256 * 1100; ++b) // more than one block of the copy
            bytes.append(char(b));
        const QString earlierName = "2011-03-02-0905_current.gpx";
        for (const QByteArrayList& row : testRows("workspace_rules.tsv", "copy")) {
            QTemporaryDir dir;
            QByteArray earlier = row[0] == "empty" ? "" : bytes.chopped(row[0] == "one byte short");
            if (row[0] == "one byte off")
                earlier[200000] = 'x';
            // Made beside the folder and moved in: Wine, unlike Windows, can't rename a file
            // to the same name in other letters.
            QTemporaryDir beside;
            QVERIFY(row[0] == "none" ||
                    QFile::rename(copy(earlier, beside.path()).path, dir.filePath(earlierName)));
#ifdef Q_OS_WIN
            const DatedCopy::Result result = copy(bytes, dir.path());
#else
            const mode_t oldMask = ::umask(027);
            const DatedCopy::Result result = copy(bytes, dir.path());
            ::umask(oldMask);
            QVERIFY(result.existed || (QFile(result.path).permissions() & 0x7077) == 0x6040);
#endif
            QCOMPARE(result.path, dir.filePath(row[1]));
            QVERIFY(result.error.isEmpty() && result.existed == (row[1] == earlierName));
            QCOMPARE(fileBytes(result.path), bytes);
            QCOMPARE(copy("other", dir.path()).path, dir.filePath(row[2]));
            QVERIFY(row[0] == "none" || fileBytes(dir.filePath(earlierName)) == earlier);
            QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(),
                     QSet<QString>({earlierName, row[1], row[2]}).size() - (row[0] == "none"));
        }
    }

    // A start removes what a crash left of the program's own temporary files in the device
    // folders and the folders in them, once they are an hour old; nothing else.
    void leftoversOfACrashGoAtTheNextStart() {
        QTemporaryDir home;
        useTestHome(home.path());
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const QList<QStringList> rows = tableRows("workspace_rules.tsv");
        qsizetype removed = 0;
        for (const QStringList& row : rows) {
            if (row[0] != "leftover")
                continue;
            const QString path = Workspace::rootPath() + "/" + row[1];
            QVERIFY(QDir().mkpath(QFileInfo(path).path()));
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("x") == 1 && file.flush());
            QVERIFY(file.setFileTime(now.addSecs(-60 * row[2].toInt()),
                                     QFileDevice::FileModificationTime));
            removed += row[3] == "removed";
        }
        QCOMPARE(Workspace::removeLeftovers(now), removed);
        for (const QStringList& row : rows) {
            if (row[0] == "leftover")
                QVERIFY2(QFileInfo::exists(Workspace::rootPath() + "/" + row[1]) ==
                             (row[3] == "kept"),
                         qPrintable(row[1]));
        }
        useTestHome(m_home.path());
    }
};

QTEST_APPLESS_MAIN(WorkspaceTest)
#include "tst_workspace.moc"
