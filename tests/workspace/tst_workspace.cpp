// The workspace under the home folder, its device folders and their order, the volumes a source
// file is chosen from, and the dated copies of a unit's file.

#include "workspace/DatedCopy.h"
#include "workspace/NameOrder.h"
#include "workspace/Volumes.h"
#include "workspace/Workspace.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

// The rows of one kind in the rules file, without the kind.
QList<QStringList> rules(const QString& kind) {
    QFile file(QStringLiteral(TARNWICK_TEST_DATA "/workspace_rules.tsv"));
    QList<QStringList> rows;
    if (file.open(QIODevice::ReadOnly | QIODevice::Text))
        for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n'))
            if (line.startsWith(kind + u'\t'))
                rows.append(line.split(u'\t').mid(1));
    return rows;
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Shaped like the file a nüvi 200W keeps in its Garmin folder: a namespace, Description
// elements before and after the model's, the text on lines of its own.
const QByteArray nuvi200W =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>\r\n"
    "<Device xmlns=\"http://www.garmin.com/xmlschemas/GarminDevice/v2\">\r\n"
    "  <Extensions><Description>not the model</Description></Extensions>\r\n"
    "  <Model>\r\n    <PartNumber>006-B0700-00</PartNumber>\r\n"
    "    <Description>n\xC3\xBCvi 200W\r\n    </Description>\r\n  </Model>\r\n"
    "  <MassStorageMode><DataType><Description>also not</Description></DataType>"
    "</MassStorageMode>\r\n</Device>\r\n";

// Every byte value, line ends of every kind, and more than one block of the copy.
const QByteArray allBytes = [] {
    QByteArray bytes;
    for (int b = 0; b < 256; ++b)
        bytes.append(char(b));
    return (bytes + "\r\n\n\r").repeated(1100);
}();
const QDateTime when(QDate(2011, 3, 2), QTime(9, 5, 41));
const QString earlierName = QStringLiteral("2011-03-02-0905_current.gpx");

} // namespace

class WorkspaceTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_home;

private slots:
    void initTestCase() { qputenv("HOME", QFile::encodeName(m_home.path())); }

    void rootAndShownPathsFollowTheHomeFolder() {
        const QString home = m_home.path();
        QCOMPARE(Workspace::rootPath(), home + "/GPX");
        QCOMPARE(Workspace::displayRoot(), QStringLiteral("~/GPX"));
        QCOMPARE(Workspace::displayPath(home + "/GPX/Nuvi"), QStringLiteral("~/GPX/Nuvi"));
        QCOMPARE(Workspace::displayPath(home), QStringLiteral("~"));
        QCOMPARE(Workspace::displayPath(home + "x/GPX"), home + "x/GPX");
        QCOMPARE(Workspace::displayPath("/media/GPX"), QStringLiteral("/media/GPX"));
    }

    // Every folder of the root is a device except hidden ones, such as a sync tool's.
    void deviceNamesAreTheFoldersOfTheRoot() {
        const QString root = Workspace::rootPath();
        QVERIFY(Workspace::deviceNames().isEmpty());
        Workspace::MakeFolder(root + "/no/parent");
        QVERIFY(!QFileInfo::exists(root));
        Workspace::MakeFolder(root);
        Workspace::MakeFolder(root);
        for (const char* name : {"Nuvi_10", "nuvi_2", ".stfolder", ".x", "Garmin", "garmin"})
            Workspace::MakeFolder(root + '/' + name);
        QVERIFY(writeBytes(root + "/notes.txt", "x"));
        QCOMPARE(Workspace::deviceNames(), QStringList({"Garmin", "garmin", "nuvi_2", "Nuvi_10"}));
        QCOMPARE(Workspace::findEntry(root, "NUVI_10"), root + "/Nuvi_10");
        QCOMPARE(Workspace::findEntry(root, "Garmin"), root + "/Garmin");
        QCOMPARE(Workspace::findEntry(root, "garmin"), root + "/garmin");
        QCOMPARE(Workspace::findEntry(root, "NOTES.TXT"), root + "/notes.txt");
        QCOMPARE(Workspace::findEntry(root, "Nuvi"), root + "/Nuvi");
    }

    // Every pair of names in the rules compares as their order there says.
    void namesSortAsOwnersCountThem() {
        QStringList order;
        for (const QStringList& row : rules("order"))
            order.append(row[0]);
        for (int i = 0; i < order.size(); ++i)
            for (int j = 0; j < order.size(); ++j) {
                const int sign = NameOrder::naturalCompare(order[i], order[j]);
                QVERIFY2((sign > 0) - (sign < 0) == (i > j) - (i < j),
                         qPrintable(order[i] + " / " + order[j]));
            }
        QStringList names(order.crbegin(), order.crend());
        NameOrder::sortNaturally(names);
        QCOMPARE(names, order);
        names = QStringList{"b.gpx", "B.gpx", "a10.gpx", "A2.gpx", "a.gpx"};
        NameOrder::sortNames(names);
        QCOMPARE(names, QStringList({"a.gpx", "a10.gpx", "A2.gpx", "B.gpx", "b.gpx"}));
    }

    void volumesOnOffer() {
        for (const QStringList& row : rules("volume"))
            QVERIFY2(isUserVolume(row[0], row[1].toLatin1()) == (row[2] == "yes"),
                     qPrintable(row.join(' ')));
        const QList<Volume> volumes = {{"/media/anna/GARMIN", "GARMIN", {}, {}},
                                       {"/", "/", {}, {}},
                                       {"/home", "/home", {}, {}}};
        for (const QStringList& row : rules("of"))
            QCOMPARE(volumeOf(row[0], volumes).rootPath, row[1]);
        QVERIFY(volumeOf("/home", {}).rootPath.isEmpty());
        const QList<Volume> mounted = mountedVolumes();
        QVERIFY(!mounted.isEmpty());
        QCOMPARE(mounted.first().rootPath, QDir::rootPath());
        QCOMPARE(mountedRoots().first().rootPath, QDir::rootPath());
    }

    void garminModelFromDeviceFile_data() {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("model");
        QTest::newRow("nuvi 200W") << nuvi200W << QStringLiteral("nüvi 200W");
        QTest::newRow("cut off after the model")
            << nuvi200W.left(nuvi200W.indexOf("</Model>")) << QStringLiteral("nüvi 200W");
        QTest::newRow("8-bit name under a UTF-8 declaration")
            << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                          "<Device><Model><Description>n\xFCvi 255W</Description></Model></Device>")
            << QStringLiteral("nüvi 255W");
        QTest::newRow("Description outside Model")
            << QByteArray("<Device><Description>x</Description><Model/></Device>") << QString();
        QTest::newRow("Model not under Device")
            << QByteArray("<Other><Model><Description>x</Description></Model></Other>") << "";
        QTest::newRow("Model under Device twice")
            << QByteArray("<Device><Device><Model><Description>x</Description></Model></Device>"
                          "</Device>")
            << QString();
        QTest::newRow("not XML") << QByteArray("\xFF\xFE garbage <<<") << QString();
    }

    void garminModelFromDeviceFile() {
        QFETCH(QByteArray, xml);
        QFETCH(QString, model);
        QCOMPARE(garminModelFrom(xml), model);
    }

    // A unit writes its folder names in any case.
    void garminUnitOnAVolume() {
        QTemporaryDir unit;
        QVERIFY(QDir(unit.path()).mkpath("GARMIN/gpx"));
        QVERIFY(writeBytes(unit.path() + "/GARMIN/garmindevice.XML", nuvi200W));
        const Volume garmin = volumeAt(unit.path(), "GARMIN");
        QCOMPARE(garmin.label, "GARMIN (" + unit.path() + ")");
        QCOMPARE(garmin.gpxFolder, unit.path() + "/GARMIN/gpx");
        QCOMPARE(garmin.garminModel, QStringLiteral("nüvi 200W"));
        QVERIFY(QDir(unit.path()).rmdir("GARMIN/gpx"));
        QVERIFY(writeBytes(unit.path() + "/GARMIN/gpx", "a file"));
        QVERIFY(volumeAt(unit.path(), "GARMIN").gpxFolder.isEmpty());
        QCOMPARE(unreadableReason(unit.path()), QString());
        QCOMPARE(unreadableReason(unit.path() + "/GARMIN/gpx"),
                 QStringLiteral("it is not a folder"));
        QCOMPARE(unreadableReason(unit.path() + "/gone"),
                 QStringLiteral("it is not there any more (was the unit unplugged?)"));
        const Volume plain = volumeAt(unit.path() + "/GARMIN/gpx", QString());
        QVERIFY(plain.label == unit.path() + "/GARMIN/gpx" && plain.garminModel.isEmpty());
    }

    void copyNames() {
        for (const QStringList& row : rules("name")) {
            const QDateTime at = QDateTime::fromString(row[0], Qt::ISODate);
            const int n = row[1].toInt();
            QCOMPARE(n == 1 ? DatedCopy::copyName(at) : DatedCopy::copyName(at, n), row[2]);
        }
    }

    void copiesOfOneMinute_data() {
        QTest::addColumn<QByteArray>("earlier"); // null: no earlier copy
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("nextName");
        QByteArray oneByteOff = allBytes;
        oneByteOff[200000] = 'x';
        const QString first = DatedCopy::copyName(when);
        QTest::newRow("first of the minute")
            << QByteArray() << first << DatedCopy::copyName(when, 2);
        QTest::newRow("equal bytes") << allBytes << earlierName << DatedCopy::copyName(when, 2);
        QTest::newRow("one byte off")
            << oneByteOff << DatedCopy::copyName(when, 2) << DatedCopy::copyName(when, 3);
        QTest::newRow("shorter") << allBytes.chopped(1) << DatedCopy::copyName(when, 2)
                                 << DatedCopy::copyName(when, 3);
        QTest::newRow("empty") << QByteArray("") << DatedCopy::copyName(when, 2)
                               << DatedCopy::copyName(when, 3);
    }

    // A copy from Windows with its name in other letters counts as the same name; a copy of
    // different bytes takes the next free name of the minute, and the earlier copy stays. The
    // copy gets the permissions any new file of the user gets.
    void copiesOfOneMinute() {
        QFETCH(QByteArray, earlier);
        QFETCH(QString, name);
        QFETCH(QString, nextName);
        QTemporaryDir dir;
        QByteArray bytes = allBytes;
        if (!earlier.isNull())
            QVERIFY(writeBytes(dir.filePath(earlierName), earlier));
        const mode_t oldMask = ::umask(027);
        QBuffer source(&bytes);
        source.open(QIODevice::ReadOnly);
        const DatedCopy::Result result = DatedCopy::copyInto(source, dir.path(), when);
        ::umask(oldMask);
        QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
        QCOMPARE(result.path, dir.filePath(name));
        QCOMPARE(result.existed, name == earlierName);
        QCOMPARE(readBytes(result.path), bytes);
        if (!earlier.isNull())
            QCOMPARE(readBytes(dir.filePath(earlierName)), earlier);
        struct stat status {};
        QVERIFY(::stat(QFile::encodeName(result.path).constData(), &status) == 0);
        if (!result.existed)
            QCOMPARE(status.st_mode & 0777, mode_t(0640));
        QBuffer other;
        other.setData("other");
        other.open(QIODevice::ReadOnly);
        QCOMPARE(DatedCopy::copyInto(other, dir.path(), when).path, dir.filePath(nextName));
        const QSet<QString> names{name, nextName, earlier.isNull() ? name : earlierName};
        const QStringList listed = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(QSet<QString>(listed.begin(), listed.end()), names);
    }
};

QTEST_APPLESS_MAIN(WorkspaceTest)
#include "tst_workspace.moc"
