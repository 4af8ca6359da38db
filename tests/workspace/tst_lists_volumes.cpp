// The volume list behind the drive list: which mounts it offers, which volume holds a path,
// and how a Garmin unit on a volume is recognised.

#include "workspace/NameOrder.h"
#include "workspace/Volumes.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

// Shaped like the file a nüvi 200W keeps in its Garmin folder: a namespace, Description
// elements before and after the model's, the text on lines of its own.
static const QByteArray nuvi200W =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>\r\n"
    "<Device xmlns=\"http://www.garmin.com/xmlschemas/GarminDevice/v2\">\r\n"
    "  <Extensions><Description>not the model</Description></Extensions>\r\n"
    "  <Model>\r\n    <PartNumber>006-B0700-00</PartNumber>\r\n"
    "    <Description>n\xC3\xBCvi 200W\r\n    </Description>\r\n  </Model>\r\n"
    "  <MassStorageMode><DataType><Description>also not</Description></DataType>"
    "</MassStorageMode>\r\n</Device>\r\n";

class VolumesTest : public QObject {
    Q_OBJECT
private slots:
    void volumeOfTakesLongestMountPoint_data();
    void volumeOfTakesLongestMountPoint();
    void pseudoFileSystemsAreNotVolumes_data();
    void pseudoFileSystemsAreNotVolumes();
    void mountedVolumesPutRootFirst();
    void garminModelFromDeviceFile_data();
    void garminModelFromDeviceFile();
    void garminFoldersAreFoundWhateverTheirCase();
    void deviceNamesSortAsOwnersCount_data();
    void deviceNamesSortAsOwnersCount();
};

void VolumesTest::volumeOfTakesLongestMountPoint_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("root");
    QTest::newRow("separate home") << "/home/anna/GPX" << QString("/home");
    QTest::newRow("name only starting like a mount") << "/homework/a" << QString("/");
    QTest::newRow("longer sibling name") << "/media/anna/GARMIN2/x" << QString("/");
    QTest::newRow("mount point itself") << "/media/anna/GARMIN/" << QString("/media/anna/GARMIN");
    QTest::newRow("dot-dot leaves the unit") << "/media/anna/GARMIN/../x" << QString("/");
}

void VolumesTest::volumeOfTakesLongestMountPoint() {
    QFETCH(QString, path);
    QFETCH(QString, root);
    // Not the first match in the list: the deepest mount wins.
    const QList<Volume> volumes = {
        {"/media/anna/GARMIN", "GARMIN", {}, {}}, {"/", "/", {}, {}}, {"/home", "/home", {}, {}}};
    QCOMPARE(volumeOf(path, volumes).rootPath, root);
    QVERIFY(volumeOf(path, {}).rootPath.isEmpty());
}

void VolumesTest::pseudoFileSystemsAreNotVolumes_data() {
    QTest::addColumn<QString>("rootPath");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("listed");
    QTest::newRow("container root") << "/" << QByteArray("overlay") << true;
    QTest::newRow("unit under /run/media") << "/run/media/anna/G" << QByteArray("vfat") << true;
    QTest::newRow("name starting like /run") << "/running" << QByteArray("ext4") << true;
    QTest::newRow("cgroup") << "/sys/fs/cgroup" << QByteArray("cgroup2") << false;
    QTest::newRow("tmpfs") << "/tmp" << QByteArray("tmpfs") << false;
    QTest::newRow("snap image") << "/snap/core22/1033" << QByteArray("squashfs") << false;
    QTest::newRow("container layer") << "/run/containerd/x" << QByteArray("ext4") << false;
}

void VolumesTest::pseudoFileSystemsAreNotVolumes() {
    QFETCH(QString, rootPath);
    QFETCH(QByteArray, type);
    QFETCH(bool, listed);
    QCOMPARE(isUserVolume(rootPath, type), listed);
}

void VolumesTest::mountedVolumesPutRootFirst() {
    const QList<Volume> volumes = mountedVolumes();
    QVERIFY(!volumes.isEmpty());
    QCOMPARE(volumes.first().rootPath, QDir::rootPath());
    QStringList roots;
    for (const Volume& volume : volumes) {
        QVERIFY2(!volume.rootPath.startsWith("/proc") && !roots.contains(volume.rootPath),
                 qPrintable(volume.rootPath));
        roots.append(volume.rootPath);
    }
}

void VolumesTest::garminModelFromDeviceFile_data() {
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("model");
    QTest::newRow("nuvi 200W") << nuvi200W << QStringLiteral("nüvi 200W");
    QTest::newRow("cut off after the model")
        << nuvi200W.left(nuvi200W.indexOf("</Model>")) << QStringLiteral("nüvi 200W");
    QTest::newRow("8-bit name under a UTF-8 declaration")
        << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                      "<Device><Model><Description>n\xFCvi 255W</Description></Model></Device>")
        << QStringLiteral("nüvi 255W");
    QTest::newRow("Description outside Model only")
        << QByteArray("<Device><Description>x</Description><Model/></Device>") << QString();
    QTest::newRow("Model not under Device")
        << QByteArray("<Other><Model><Description>x</Description></Model></Other>") << QString();
    QTest::newRow("not XML") << QByteArray("\xFF\xFE garbage <<<") << QString();
}

void VolumesTest::garminModelFromDeviceFile() {
    QFETCH(QByteArray, xml);
    QFETCH(QString, model);
    QCOMPARE(garminModelFrom(xml), model);
}

void VolumesTest::garminFoldersAreFoundWhateverTheirCase() {
    QTemporaryDir unit;
    QVERIFY(QDir(unit.path()).mkpath("GARMIN/gpx"));
    QFile device(unit.path() + "/GARMIN/garmindevice.XML");
    QVERIFY(device.open(QIODevice::WriteOnly) && device.write(nuvi200W) == nuvi200W.size());
    device.close();
    const Volume garmin = volumeAt(unit.path(), "GARMIN");
    QCOMPARE(garmin.label, "GARMIN (" + unit.path() + ")");
    QCOMPARE(garmin.gpxFolder, unit.path() + "/GARMIN/gpx");
    QCOMPARE(garmin.garminModel, QStringLiteral("nüvi 200W"));
    // Without a GPX folder the model is still known; a plain volume has neither.
    QVERIFY(QDir(unit.path()).rmdir("GARMIN/gpx"));
    QVERIFY(volumeAt(unit.path(), "GARMIN").gpxFolder.isEmpty());
    QVERIFY(device.remove());
    const Volume plain = volumeAt(unit.path(), QString());
    QVERIFY(plain.label == unit.path() && plain.garminModel.isEmpty());
}

void VolumesTest::deviceNamesSortAsOwnersCount_data() {
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("sorted");
    QTest::newRow("numbers by value") << QStringList{"Nuvi_10", "Nuvi_2", "nuvi_1", "Work"}
                                      << QStringList{"nuvi_1", "Nuvi_2", "Nuvi_10", "Work"};
    QTest::newRow("leading zeros, then exact text")
        << QStringList{"Unit 007", "unit 7", "Unit 7", "Unit 06"}
        << QStringList{"Unit 06", "Unit 007", "Unit 7", "unit 7"};
    QTest::newRow("numbers longer than any integer")
        << QStringList{"x123456789012345678901234567890", "x99"}
        << QStringList{"x99", "x123456789012345678901234567890"};
    QTest::newRow("prefix first, digits before letters")
        << QStringList{"Nuvi_a", "Nuvi", "Nuvi_1", "2nd"}
        << QStringList{"2nd", "Nuvi", "Nuvi_1", "Nuvi_a"};
    QTest::newRow("accented names keep their own order")
        << QStringList{"Zoë", "émile", "Émile"} << QStringList{"Zoë", "Émile", "émile"};
}

void VolumesTest::deviceNamesSortAsOwnersCount() {
    QFETCH(QStringList, names);
    QFETCH(QStringList, sorted);
    NameOrder::sortNaturally(names);
    QCOMPARE(names, sorted);
}

QTEST_APPLESS_MAIN(VolumesTest)
#include "tst_lists_volumes.moc"
