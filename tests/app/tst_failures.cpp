// The main window when files go wrong under it: a source that vanishes or turns into a folder
// after the click, sources that are not regular files, an output that is a file, a scratch
// file deleted before the export, a full disk during every save, garbage and huge sources.
// Every failure ends in a message that names the file, the window stays usable, and no file
// that was there before is lost or cut.

#include "FileSizeLimit.h"
#include "MainWindowFixture.h"

#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"
#include "workspace/Workspace.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace {

const QByteArray favoritesFile = "<?xml version=\"1.0\"?>\r\n<gpx creator=\"x\">\r\n"
                                 "<wpt lat=\"1\" lon=\"2\"><name>Home</name><sym>Residence</sym>"
                                 "</wpt>\r\n<wpt lat=\"3\" lon=\"4\"><name>Work</name></wpt>\r\n"
                                 "<trk><name>Day 1</name>\r\n<trkseg>\r\n"
                                 "<trkpt lat=\"1\" lon=\"2\"></trkpt>\r\n</trkseg>\r\n</trk>\r\n"
                                 "<trk><name>Day 2</name><trkseg><trkpt lat=\"5\" lon=\"6\">"
                                 "</trkpt></trkseg></trk>\r\n</gpx>\r\n";

const QString sourceName = QStringLiteral("CURRENT.GPX");
const QString cantBeOpenned = QStringLiteral("File CURRENT.GPXcan't be openned.");

// Messages name a file as the user knows it: "~/GPX/Nuvi_1/..." or the full path.
bool namesFile(const QString& message, const QString& path) {
    return message.contains(QDir::toNativeSeparators(path)) ||
           message.contains(Workspace::displayPath(path));
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

// A source of many tracks, so that the scratch file outgrows every buffer on the way.
QByteArray manyTracks(int tracks) {
    QByteArray out = "<gpx>\r\n";
    for (int t = 0; t < tracks; ++t) {
        out += "<trk><name>Track " + QByteArray::number(t) + "</name><trkseg>\r\n";
        for (int p = 0; p < 50; ++p)
            out += "<trkpt lat=\"44.000000\" lon=\"-93.000000\"><ele>1</ele></trkpt>\r\n";
        out += "</trkseg></trk>\r\n";
    }
    return out + "</gpx>\r\n";
}

} // namespace

class FailuresTest : public QObject {
    Q_OBJECT
private slots:
    void sourceGoneAfterTheClickCantBeOpenned_data();
    void sourceGoneAfterTheClickCantBeOpenned();
    void nonRegularSourcesAreNeitherListedNorRead_data();
    void nonRegularSourcesAreNeitherListedNorRead();
    void exportIntoAnOutputThatIsAFileSaysWhy_data();
    void exportIntoAnOutputThatIsAFileSaysWhy();
    void exportAfterTheScratchFileWentAwayWritesNothing_data();
    void exportAfterTheScratchFileWentAwayWritesNothing();
    void fullDiskDuringASaveKeepsTheEarlierFile_data();
    void fullDiskDuringASaveKeepsTheEarlierFile();
    void fullDiskDuringAnExportLeavesNoFile();
    void readErrorsNameTheFileAndKeepTheEarlierFiles_data();
    void readErrorsNameTheFileAndKeepTheEarlierFiles();
    void garbageAndHugeSourcesLoadWithoutHarm_data();
    void garbageAndHugeSourcesLoadWithoutHarm();
};

void FailuresTest::sourceGoneAfterTheClickCantBeOpenned_data() {
    QTest::addColumn<bool>("tracks");
    QTest::addColumn<bool>("intoFolder");
    QTest::newRow("favorites, deleted") << false << false;
    QTest::newRow("favorites, now a folder") << false << true;
    QTest::newRow("tracks, deleted") << true << false;
    QTest::newRow("tracks, now a folder") << true << true;
}

void FailuresTest::sourceGoneAfterTheClickCantBeOpenned() {
    QFETCH(bool, tracks);
    QFETCH(bool, intoFolder);
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    const QString folder = f.home.path();
    f.chooseSource(folder, sourceName, favoritesFile);
    // An earlier tracks load left its scratch file.
    w.mnuSelectTracks_Click();
    const QString scratch = f.device("Nuvi_1") + QStringLiteral("/TEMP.TMP");
    const QByteArray earlierScratch = f.readFile(scratch);
    QVERIFY(!earlierScratch.isEmpty());

    const QString path = folder + QLatin1Char('/') + sourceName;
    QVERIFY(QFile::remove(path));
    if (intoFolder)
        QVERIFY(QDir().mkdir(path));
    if (tracks)
        w.mnuSelectTracks_Click();
    else
        w.mnuSelectFavorites_Click();

    QCOMPARE(f.messages, QStringList{cantBeOpenned});
    QCOMPARE(w.SourceFileName, QString());
    QCOMPARE(w.windowTitle(), QStringLiteral("NOTHING Selected"));
    QCOMPARE(w.Grid1->Rows(), 1);
    QCOMPARE(f.readFile(scratch), earlierScratch);

    // The window is still usable: the file is back, chosen again and loaded.
    if (intoFolder)
        QVERIFY(QDir().rmdir(path));
    f.messages.clear();
    f.chooseSource(folder, sourceName, favoritesFile);
    w.mnuSelectFavorites_Click();
    QCOMPARE(f.messages, QStringList());
    QCOMPARE(f.column(1), (QStringList{QStringLiteral("Home"), QStringLiteral("Work")}));
}

void FailuresTest::nonRegularSourcesAreNeitherListedNorRead_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("FIFO") << "fifo";
    QTest::newRow("link to /dev/zero") << "zero";
    QTest::newRow("folder") << "folder";
}

void FailuresTest::nonRegularSourcesAreNeitherListedNorRead() {
    QFETCH(QString, kind);
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    const QString folder = f.home.path() + QStringLiteral("/unit");
    QVERIFY(QDir().mkpath(folder));
    const QString path = folder + QLatin1Char('/') + sourceName;
    if (kind == QLatin1String("fifo"))
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else if (kind == QLatin1String("zero"))
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));
    else
        QVERIFY(QDir().mkdir(path));
    f.writeFile(folder + QStringLiteral("/OTHER.GPX"), favoritesFile);

    w.CurrentFolder = folder;
    w.mnuOpen_Click();
    QCOMPARE(w.File1->count(), 1);
    QVERIFY(w.File1->findItems(sourceName, Qt::MatchFixedString).isEmpty());

    // Even when the name is chosen by other means, nothing opens it: a FIFO would block the
    // program and /dev/zero would never end (the test would hang).
    w.SourceFileName = sourceName;
    w.mnuSelectFavorites_Click();
    QCOMPARE(f.messages, QStringList{cantBeOpenned});
    w.SourceFileName = sourceName;
    w.mnuSelectTracks_Click();
    QCOMPARE(f.messages, (QStringList{cantBeOpenned, cantBeOpenned}));
    w.SourceFileName = sourceName;
    w.mnuCopyNuvi_Click();
    QCOMPARE(f.messages.size(), 3);
    QVERIFY(f.messages.last().contains(sourceName));
    QCOMPARE(filesIn(f.device("Nuvi_1")).filter(QStringLiteral("_CURRENT.GPX")), QStringList());
}

void FailuresTest::exportIntoAnOutputThatIsAFileSaysWhy_data() {
    QTest::addColumn<bool>("tracks");
    QTest::newRow("favorites") << false;
    QTest::newRow("tracks") << true;
}

void FailuresTest::exportIntoAnOutputThatIsAFileSaysWhy() {
    QFETCH(bool, tracks);
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    const QString output = f.device("Nuvi_1") + QStringLiteral("/output");
    f.writeFile(output, "not a folder");
    f.chooseSource(f.home.path(), sourceName, favoritesFile);
    tracks ? w.mnuSelectTracks_Click() : w.mnuSelectFavorites_Click();
    w.mnuSelectAllItems_Click();
    w.mnuExport_Click();

    QCOMPARE(f.messages.size(), 1);
    QVERIFY2(namesFile(f.messages.first(), output), qPrintable(f.messages.first()));
    QVERIFY(f.messages.first().contains(QStringLiteral("\r\n")));
    QVERIFY(w.txtStatus->text() != QStringLiteral("EXPORT IS DONE"));
    QCOMPARE(f.readFile(output), QByteArray("not a folder"));

    // Still usable: once the file is out of the way the same export goes through.
    QVERIFY(QFile::remove(output));
    f.messages.clear();
    w.mnuExport_Click();
    QCOMPARE(f.messages, QStringList());
    QCOMPARE(w.txtStatus->text(), QStringLiteral("EXPORT IS DONE"));
    QCOMPARE(filesIn(output).size(), 1);
}

void FailuresTest::exportAfterTheScratchFileWentAwayWritesNothing_data() {
    QTest::addColumn<bool>("intoFolder");
    QTest::newRow("deleted") << false;
    QTest::newRow("now a folder") << true;
}

void FailuresTest::exportAfterTheScratchFileWentAwayWritesNothing() {
    QFETCH(bool, intoFolder);
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    f.chooseSource(f.home.path(), sourceName, favoritesFile);
    w.mnuSelectTracks_Click();
    QCOMPARE(w.Grid1->Rows(), 3);
    const QString scratch = f.device("Nuvi_1") + QStringLiteral("/TEMP.TMP");
    QVERIFY(QFile::remove(scratch));
    if (intoFolder)
        QVERIFY(QDir().mkdir(scratch));
    w.mnuSelectAllItems_Click();
    w.mnuExport_Click();

    QCOMPARE(f.messages, QStringList{cantBeOpenned});
    QCOMPARE(w.txtStatus->text(), QStringLiteral("EXPORTING"));
    QCOMPARE(filesIn(f.device("Nuvi_1") + QStringLiteral("/output")), QStringList());
    QCOMPARE(w.Grid1->Rows(), 3);

    // A new load writes the scratch file again and the export works.
    if (intoFolder)
        QVERIFY(QDir().rmdir(scratch));
    f.messages.clear();
    w.mnuSelectTracks_Click();
    w.mnuSelectAllItems_Click();
    w.mnuExport_Click();
    QCOMPARE(f.messages, QStringList());
    QCOMPARE(filesIn(f.device("Nuvi_1") + QStringLiteral("/output")),
             QStringList{QStringLiteral("Day 1.gpx")});
}

void FailuresTest::fullDiskDuringASaveKeepsTheEarlierFile_data() {
    QTest::addColumn<QString>("what");
    QTest::addColumn<qint64>("room");
    QTest::newRow("favorites history, nothing fits") << "favorites" << qint64(0);
    QTest::newRow("favorites history, part fits") << "favorites" << qint64(40);
    QTest::newRow("symbol table editor") << "symtable" << qint64(0);
    QTest::newRow("short scratch file, nothing fits") << "scratch" << qint64(0);
    QTest::newRow("long scratch file, fails in the middle") << "long scratch" << qint64(100000);
}

void FailuresTest::fullDiskDuringASaveKeepsTheEarlierFile() {
    QFETCH(QString, what);
    QFETCH(qint64, room);
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    const QString device = f.device("Nuvi_1");
    const bool longScratch = what == QLatin1String("long scratch");
    f.chooseSource(f.home.path(), sourceName, longScratch ? manyTracks(500) : favoritesFile);

    QString path;
    QByteArray earlier;
    std::unique_ptr<frmSymbolTableManagement> editor;
    if (what == QLatin1String("favorites")) {
        path = device + QStringLiteral("/FAVORITES.TXT");
        earlier = "Old\t<wpt><name>Old</name></wpt>\r\n";
        f.writeFile(path, earlier);
        w.mnuSelectFavorites_Click();
    } else if (what == QLatin1String("symtable")) {
        path = symtable::SymbolTablePath;
        earlier = f.readFile(path);
        editor = std::make_unique<frmSymbolTableManagement>(path);
    } else {
        path = device + QStringLiteral("/TEMP.TMP");
        earlier = "<trk><name>Earlier</name> \r\n</gpx>\r\n";
        f.writeFile(path, earlier);
    }
    QVERIFY(!earlier.isEmpty());
    const QStringList filesBefore = filesIn(device);

    {
        FileSizeLimit full(room);
        QVERIFY(full.active());
        if (what == QLatin1String("favorites"))
            w.mnuSaveFavorites_Click();
        else if (what == QLatin1String("symtable"))
            editor->mnuSave_Click();
        else
            w.mnuSelectTracks_Click();
    }

    QCOMPARE(f.messages.size(), 1);
    QVERIFY2(namesFile(f.messages.first(), path), qPrintable(f.messages.first()));
    QVERIFY2(f.messages.first().contains(QString::fromLocal8Bit(std::strerror(EFBIG))),
             qPrintable(f.messages.first()));
    QCOMPARE(f.readFile(path), earlier);
    QCOMPARE(filesIn(device), filesBefore);
    QVERIFY(w.txtStatus->text() != QStringLiteral("Favorites Saved"));
    QVERIFY(!w.txtStatus->text().startsWith(QStringLiteral("Finished loading tracks")));

    // With room again the same command goes through.
    f.messages.clear();
    if (what == QLatin1String("favorites"))
        w.mnuSaveFavorites_Click();
    else if (what == QLatin1String("symtable"))
        editor->mnuSave_Click();
    else
        w.mnuSelectTracks_Click();
    QCOMPARE(f.messages, QStringList());
    if (what != QLatin1String("symtable"))
        QVERIFY(f.readFile(path) != earlier);
}

void FailuresTest::fullDiskDuringAnExportLeavesNoFile() {
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    f.chooseSource(f.home.path(), sourceName, favoritesFile);
    w.mnuSelectFavorites_Click();
    w.mnuSelectAllItems_Click();
    const QString output = f.device("Nuvi_1") + QStringLiteral("/output");
    QVERIFY(QDir().mkdir(output));
    f.writeFile(output + QStringLiteral("/Home.gpx"), "earlier export");
    {
        FileSizeLimit full(0);
        QVERIFY(full.active());
        w.mnuExport_Click();
    }
    QCOMPARE(f.messages.size(), 1);
    QVERIFY2(namesFile(f.messages.first(), output), qPrintable(f.messages.first()));
    QCOMPARE(filesIn(output), QStringList{QStringLiteral("Home.gpx")});
    QCOMPARE(f.readFile(output + QStringLiteral("/Home.gpx")), QByteArray("earlier export"));
}

void FailuresTest::readErrorsNameTheFileAndKeepTheEarlierFiles_data() {
    QTest::addColumn<QString>("what");
    QTest::newRow("Load Favorites") << "favorites";
    QTest::newRow("Load Tracks") << "tracks";
    QTest::newRow("Copy") << "copy";
    QTest::newRow("Mark New Favorites") << "history";
    QTest::newRow("symbol table at the file click") << "symtable";
}

// /proc/self/mem is a regular file that opens and then fails its first read with an I/O
// error: a unit pulled out as the reading starts.
void FailuresTest::readErrorsNameTheFileAndKeepTheEarlierFiles() {
    QFETCH(QString, what);
    if (!QFileInfo(QStringLiteral("/proc/self/mem")).isFile())
        QSKIP("This system has no /proc/self/mem to fail a read.");
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    const QString device = f.device("Nuvi_1");
    const QString folder = f.home.path() + QStringLiteral("/unit");
    QVERIFY(QDir().mkpath(folder));
    f.chooseSource(folder, sourceName, favoritesFile);
    w.mnuSelectTracks_Click();
    w.mnuSelectFavorites_Click();
    w.mnuSaveFavorites_Click();
    QCOMPARE(f.messages, QStringList());
    const QString scratch = device + QStringLiteral("/TEMP.TMP");
    const QByteArray earlierScratch = f.readFile(scratch);
    const QStringList deviceFiles = filesIn(device);

    QString failing = folder + QLatin1Char('/') + sourceName;
    if (what == QLatin1String("history"))
        failing = device + QStringLiteral("/FAVORITES.TXT");
    else if (what == QLatin1String("symtable"))
        failing = symtable::SymbolTablePath;
    const QByteArray earlier = f.readFile(failing);
    QVERIFY(QFile::remove(failing));
    QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), failing));

    if (what == QLatin1String("favorites"))
        w.mnuSelectFavorites_Click();
    else if (what == QLatin1String("tracks"))
        w.mnuSelectTracks_Click();
    else if (what == QLatin1String("copy"))
        w.mnuCopyNuvi_Click();
    else if (what == QLatin1String("history"))
        w.mnuMarkNewFavorites_Click();
    else
        f.clickFile(sourceName);

    QCOMPARE(f.messages.size(), 1);
    QVERIFY2(namesFile(f.messages.first(), failing) ||
                 f.messages.first().contains(QFileInfo(failing).fileName()),
             qPrintable(f.messages.first()));
    QCOMPARE(f.readFile(scratch), earlierScratch);
    QCOMPARE(filesIn(device), deviceFiles);

    // Still usable once the file is readable again.
    QVERIFY(QFile::remove(failing));
    f.writeFile(failing, earlier);
    f.messages.clear();
    w.CurrentFolder = folder;
    w.mnuOpen_Click();
    f.clickFile(sourceName);
    w.mnuSelectFavorites_Click();
    QCOMPARE(f.messages, QStringList());
    QCOMPARE(w.Grid1->Rows(), 3);
}

void FailuresTest::garbageAndHugeSourcesLoadWithoutHarm_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("1 MB of random bytes") << "random";
    QTest::newRow("100 MB without a '<'") << "huge";
}

void FailuresTest::garbageAndHugeSourcesLoadWithoutHarm() {
    QFETCH(QString, kind);
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    const QString path = f.home.path() + QLatin1Char('/') + sourceName;
    if (kind == QLatin1String("random")) {
        QByteArray bytes(1 << 20, Qt::Uninitialized);
        QRandomGenerator random(20100805);
        for (char& byte : bytes)
            byte = char(random.bounded(256));
        f.writeFile(path, bytes);
    } else {
        // A sparse file: 100 MB of zero bytes, made in no time.
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(100LL * 1024 * 1024));
    }
    w.CurrentFolder = f.home.path();
    w.mnuOpen_Click();
    f.clickFile(sourceName);
    w.HeaderText = QStringLiteral("earlier header");

    QElapsedTimer timer;
    timer.start();
    w.mnuSelectFavorites_Click();
    QCOMPARE(f.messages, QStringList());
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Finished Loading Favorites"));
    if (kind == QLatin1String("huge")) {
        // Neither a favorite nor a terminator: the earlier header stays.
        QCOMPARE(w.Grid1->Rows(), 1);
        QCOMPARE(w.HeaderText, QStringLiteral("earlier header"));
    }
    w.mnuSelectTracks_Click();
    QCOMPARE(f.messages, QStringList());
    QVERIFY(w.txtStatus->text().startsWith(QStringLiteral("Finished loading tracks")));
    qInfo("both loads took %lld ms", qint64(timer.elapsed()));
    if (kind == QLatin1String("huge")) {
        QCOMPARE(w.Grid1->Rows(), 1);
        QCOMPARE(f.readFile(f.device("Nuvi_1") + QStringLiteral("/TEMP.TMP")), QByteArray());
    }
    // Still usable: the list works and an export of whatever was found ends normally.
    w.mnuSelectAllItems_Click();
    w.mnuExport_Click();
    QVERIFY(f.messages.size() <= 1);
}

QTEST_MAIN(FailuresTest)
#include "tst_failures.moc"
