// The volume list behind the drive list: which mounts it offers, which volume holds a path,
// and how a Garmin unit on a volume is recognised.

#include "app/Volumes.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    QCOMPARE(file.write(bytes), bytes.size());
}

// Shaped like the file a nüvi 200W keeps in its Garmin folder: a namespace, other
// Description elements before and after the model's, the text on lines of its own.
const QByteArray nuvi200W =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>\r\n"
    "<Device xmlns=\"http://www.garmin.com/xmlschemas/GarminDevice/v2\">\r\n"
    "  <Id>3520147385</Id>\r\n"
    "  <Extensions><Description>not the model</Description></Extensions>\r\n"
    "  <Model>\r\n"
    "    <PartNumber>006-B0700-00</PartNumber>\r\n"
    "    <SoftwareVersion>580</SoftwareVersion>\r\n"
    "    <Description>n\xC3\xBCvi 200W\r\n    </Description>\r\n"
    "  </Model>\r\n"
    "  <MassStorageMode><DataType><Name>GPSData</Name>"
    "<Description>also not</Description></DataType></MassStorageMode>\r\n"
    "</Device>\r\n";

} // namespace

class VolumesTest : public QObject {
    Q_OBJECT
private slots:
    void volumeOfTakesLongestMountPoint_data();
    void volumeOfTakesLongestMountPoint();
    void volumeOfWithoutHoldingVolumeIsEmpty();
    void pseudoFileSystemsAreNotVolumes_data();
    void pseudoFileSystemsAreNotVolumes();
    void mountedVolumesPutRootFirst();
    void garminModelFromDeviceFile_data();
    void garminModelFromDeviceFile();
    void garminFoldersAreFoundWhateverTheirCase();
    void unreadableReasonNamesMissingRoots();
};

void VolumesTest::volumeOfTakesLongestMountPoint_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("root");
    QTest::newRow("separate home") << "/home/anna/GPX"
                                   << "/home";
    QTest::newRow("name that only starts like a mount") << "/homework/a"
                                                        << "/";
    QTest::newRow("unit with a longer sibling name") << "/media/anna/GARMIN2/x"
                                                     << "/";
    QTest::newRow("mount point itself") << "/media/anna/GARMIN"
                                        << "/media/anna/GARMIN";
    QTest::newRow("trailing slash") << "/media/anna/GARMIN/Garmin/GPX/"
                                    << "/media/anna/GARMIN";
    QTest::newRow("dot-dot leaves the unit") << "/media/anna/GARMIN/../x"
                                             << "/";
    QTest::newRow("root") << "/"
                          << "/";
}

void VolumesTest::volumeOfTakesLongestMountPoint() {
    QFETCH(QString, path);
    QFETCH(QString, root);
    // The order of the list must not matter: the deepest mount wins.
    const QList<Volume> volumes = {{"/media/anna/GARMIN", "GARMIN", {}, {}},
                                   {"/", "sda1 (/)", {}, {}},
                                   {"/home", "sda2 (/home)", {}, {}}};
    QCOMPARE(volumeOf(path, volumes).rootPath, root);
}

void VolumesTest::volumeOfWithoutHoldingVolumeIsEmpty() {
    const QList<Volume> volumes = {{"/media/anna/GARMIN", "GARMIN", {}, {}}};
    QVERIFY(volumeOf("/home/anna", volumes).rootPath.isEmpty());
    QVERIFY(volumeOf("/home/anna", {}).rootPath.isEmpty());
}

void VolumesTest::pseudoFileSystemsAreNotVolumes_data() {
    QTest::addColumn<QString>("rootPath");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("listed");
    QTest::newRow("container root") << "/" << QByteArray("overlay") << true;
    QTest::newRow("home") << "/home" << QByteArray("ext4") << true;
    QTest::newRow("unit under /media") << "/media/anna/GARMIN" << QByteArray("vfat") << true;
    QTest::newRow("unit under /run/media")
        << "/run/media/anna/GARMIN" << QByteArray("vfat") << true;
    QTest::newRow("name starting like /run") << "/running" << QByteArray("ext4") << true;
    QTest::newRow("proc") << "/proc" << QByteArray("proc") << false;
    QTest::newRow("cgroup") << "/sys/fs/cgroup" << QByteArray("cgroup2") << false;
    QTest::newRow("user runtime") << "/run/user/1000" << QByteArray("tmpfs") << false;
    QTest::newRow("tmpfs elsewhere") << "/tmp" << QByteArray("tmpfs") << false;
    QTest::newRow("snap image") << "/snap/core22/1033" << QByteArray("squashfs") << false;
    QTest::newRow("container layer")
        << "/run/containerd/x/rootfs" << QByteArray("overlay") << false;
    QTest::newRow("real fs in /dev") << "/dev/hugepages" << QByteArray("ext4") << false;
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
        QVERIFY2(!volume.rootPath.startsWith("/proc") && !volume.rootPath.startsWith("/sys"),
                 qPrintable(volume.rootPath));
        QVERIFY(!volume.label.isEmpty());
        QVERIFY2(!roots.contains(volume.rootPath), qPrintable(volume.rootPath));
        roots.append(volume.rootPath);
    }
    QCOMPARE(mountedRoots().size(), volumes.size());
}

void VolumesTest::garminModelFromDeviceFile_data() {
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("model");
    QTest::newRow("nuvi 200W") << nuvi200W << QStringLiteral("nüvi 200W");
    QTest::newRow("no namespace, no declaration")
        << QByteArray("<Device><Model><Description>nuvi 760</Description></Model></Device>")
        << QStringLiteral("nuvi 760");
    QTest::newRow("8-bit name under a UTF-8 declaration")
        << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                      "<Device><Model><Description>n\xFCvi 255W</Description></Model></Device>")
        << QStringLiteral("nüvi 255W");
    QTest::newRow("Latin-1 declared")
        << QByteArray("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                      "<Device><Model><Description>n\xFCvi 205</Description></Model></Device>")
        << QStringLiteral("nüvi 205");
    QTest::newRow("cut off after the model")
        << nuvi200W.left(nuvi200W.indexOf("</Model>")) << QStringLiteral("nüvi 200W");
    QTest::newRow("Description outside Model only")
        << QByteArray("<Device><Description>x</Description><Model/></Device>") << QString();
    QTest::newRow("Model not under Device")
        << QByteArray("<Other><Model><Description>x</Description></Model></Other>") << QString();
    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("not XML") << QByteArray("\xFF\xFE garbage <<<") << QString();
}

void VolumesTest::garminModelFromDeviceFile() {
    QFETCH(QByteArray, xml);
    QFETCH(QString, model);
    QCOMPARE(garminModelFrom(xml), model);
}

void VolumesTest::garminFoldersAreFoundWhateverTheirCase() {
    QTemporaryDir unit;
    QVERIFY(unit.isValid());
    QVERIFY(QDir(unit.path()).mkpath("GARMIN/gpx"));
    writeFile(unit.path() + "/GARMIN/garmindevice.XML", nuvi200W);
    const Volume garmin = volumeAt(unit.path(), "GARMIN");
    QCOMPARE(garmin.rootPath, unit.path());
    QCOMPARE(garmin.label, "GARMIN (" + unit.path() + ")");
    QCOMPARE(garmin.gpxFolder, unit.path() + "/GARMIN/gpx");
    QCOMPARE(garmin.garminModel, QStringLiteral("nüvi 200W"));

    // A Garmin folder without GPX folder: the model is known, there is no GPX folder.
    QTemporaryDir bare;
    QVERIFY(QDir(bare.path()).mkpath("Garmin"));
    writeFile(bare.path() + "/Garmin/GarminDevice.xml", nuvi200W);
    const Volume noGpx = volumeAt(bare.path(), QString());
    QCOMPARE(noGpx.label, bare.path());
    QVERIFY(noGpx.gpxFolder.isEmpty());
    QCOMPARE(noGpx.garminModel, QStringLiteral("nüvi 200W"));

    // A file named Garmin is not the unit's folder.
    QTemporaryDir plain;
    writeFile(plain.path() + "/Garmin", "x");
    const Volume other = volumeAt(plain.path(), "USB");
    QVERIFY(other.gpxFolder.isEmpty());
    QVERIFY(other.garminModel.isEmpty());
}

void VolumesTest::unreadableReasonNamesMissingRoots() {
    QTemporaryDir dir;
    QVERIFY(unreadableReason(dir.path()).isEmpty());
    QVERIFY(!unreadableReason(dir.path() + "/unplugged").isEmpty());
    writeFile(dir.path() + "/file", "x");
    QVERIFY(!unreadableReason(dir.path() + "/file").isEmpty());
}

QTEST_APPLESS_MAIN(VolumesTest)
#include "tst_lists_volumes.moc"
