// The main window's commands end to end: choosing a file, the dated copy, loading favorites
// and tracks, marking, exporting, and the favorites history.

#include "MainWindowFixture.h"

#include "symbols/symtable.h"

#include <QLineEdit>
#include <QMenu>
#include <QTimer>

namespace {

const QByteArray favoritesFile = "<?xml version=\"1.0\"?>\r\n<gpx creator=\"x\">\r\n"
                                 "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, "
                                 "Blue</sym></wpt>\r\n"
                                 "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt>\r\n</gpx>\r\n";

const QByteArray tracksFile = "<gpx>\r\n<wpt lat=\"1\" lon=\"2\"><name>W</name></wpt>\r\n"
                              "<trk><name>Day 1</name>\r\n<trkseg>\r\n"
                              "<trkpt lat=\"1\" lon=\"2\"></trkpt>\r\n"
                              "<trkpt lat=\"3\" lon=\"4\"></trkpt>\r\n</trkseg>\r\n</trk>\r\n"
                              "<trk><name>Day 2</name><trkseg><trkpt lat=\"5\" "
                              "lon=\"6\"></trkpt></trkseg></trk>\r\n</gpx>\r\n";

QColor statusColour(const frmForm1& w) {
    return w.txtStatus->palette().color(QPalette::Base);
}

QStringList outputFiles(const QString& device) {
    return QDir(device + "/output").entryList(QDir::Files, QDir::Name);
}

} // namespace

class CommandsTest : public QObject {
    Q_OBJECT
private slots:
    void fileClickChoosesTheSourceAndLoadsTheTable();
    void missingSymbolTableIsWrittenAndLoaded();
    void copyMakesAByteForByteDatedCopy();
    void copyOfAVanishedFileSaysSoAndForgetsIt();
    void loadFavoritesListsTheWorkedExample();
    void clicksAndSelectAllMarkRows();
    void loadTracksWritesTheScratchFile();
    void loadOfAMissingFileSaysItCantBeOpenned();
    void exportChecksComeInOrder();
    void exportWritesFavoritesWithConvertedSymbols();
    void exportWritesTheMarkedTrack();
    void saveThenMarkNewLeavesEveryRowUnmarked();
    void renamedFavoriteIsMarkedNew();
    void markNewWithoutSavedFavoritesSaysSo();
    void everyByteValueSurvivesLoadExportAndSave();
    void eachDeviceKeepsItsOwnFiles();
    void commandsWaitWhileALoadRuns();
};

void CommandsTest::fileClickChoosesTheSourceAndLoadsTheTable() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    QCOMPARE(w.SourceFileName, QStringLiteral("CURRENT.GPX"));
    QCOMPARE(w.txtStatus->text(), QStringLiteral("CURRENT.GPX"));
    QCOMPARE(statusColour(w), QColor(0, 255, 255));
    QVERIFY(!w.File1->isVisible() && !w.Dir1->isVisible() && !w.Drive1->isVisible());
    QVERIFY(w.mnuOpen->isEnabled());
    QVERIFY(w.mnuCopyNuvi->isEnabled());
    QVERIFY(w.mnuSelections->isEnabled());
    QCOMPARE(w.Grid2->Rows(), 87);
    QCOMPARE(w.Grid2->TextMatrix(0, 0), QStringLiteral("Waypoint"));
    QCOMPARE(w.Grid2->TextMatrix(86, 1), QStringLiteral("SHIPWRECK"));
    QVERIFY(!w.Grid2->isVisible());

    // Reload brings in what was saved meanwhile.
    f.writeFile(symtable::SymbolTablePath, "Flag, Blue\tBLUE\tFLAG\r\n");
    w.mnuReloadSymTable->trigger();
    QCOMPARE(w.Grid2->Rows(), 1);
    QCOMPARE(w.Grid2->TextMatrix(0, 1), QStringLiteral("BLUE\tFLAG"));
    QCOMPARE(w.txtStatus->text(), QStringLiteral("CURRENT.GPX"));
}

void CommandsTest::missingSymbolTableIsWrittenAndLoaded() {
    MainWindowFixture f;
    f.makeDevices({"Hand_Made"});
    frmForm1& w = f.start();
    f.chooseSource(f.device("Hand_Made"), "CURRENT.GPX", favoritesFile);
    QCOMPARE(f.readFile(f.device("Hand_Made") + "/symtable.txt").size(), 1984);
    QCOMPARE(w.Grid2->Rows(), 87);

    // A table copied from Windows is found whatever its letter case.
    QFile::remove(f.device("Hand_Made") + "/symtable.txt");
    f.writeFile(f.device("Hand_Made") + "/SymTable.txt", "Bank\tMONEY\r\n");
    w.mnuReloadSymTable->trigger();
    QCOMPARE(w.Grid2->Rows(), 1);
    QVERIFY(!QFileInfo::exists(f.device("Hand_Made") + "/symtable.txt"));
}

void CommandsTest::copyMakesAByteForByteDatedCopy() {
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    QByteArray everyByte;
    for (int b = 0; b < 256; ++b)
        everyByte.append(char(b));
    everyByte += "\r\nlast line without an end";
    QDir().mkpath(f.home.path() + "/unit/Garmin/GPX");
    f.chooseSource(f.home.path() + "/unit/Garmin/GPX", "CURRENT.GPX", everyByte);
    const QDateTime before = QDateTime::currentDateTime();
    w.mnuCopyNuvi->trigger();
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Copying is Done"));
    QCOMPARE(statusColour(w), QColor(0, 255, 255));
    const QStringList copies = QDir(f.device("Nuvi_1")).entryList({"*_CURRENT.GPX"}, QDir::Files);
    QCOMPARE(copies.size(), 1);
    QVERIFY(copies.first().startsWith(before.toString("yyyy-MM-dd-")));
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/" + copies.first()), everyByte);
    QCOMPARE(w.SourceFileName, QStringLiteral("CURRENT.GPX"));
    QCOMPARE(w.CurrentFolder, f.home.path() + "/unit/Garmin/GPX");
}

void CommandsTest::copyOfAVanishedFileSaysSoAndForgetsIt() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    QFile::remove(f.device("Nuvi_1") + "/CURRENT.GPX");
    w.mnuCopyNuvi->trigger();
    QCOMPARE(f.messages, QStringList{"File CURRENT.GPXcan't be copied."});
    QVERIFY(w.SourceFileName.isEmpty());
    QCOMPARE(w.txtStatus->text(), QStringLiteral("  Please open a file first."));
}

void CommandsTest::loadFavoritesListsTheWorkedExample() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    w.mnuSelectFavorites->trigger();
    QCOMPARE(w.windowTitle(), QStringLiteral("Favorites Selected"));
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Finished Loading Favorites"));
    QCOMPARE(statusColour(w), QColor(0, 255, 255));
    QVERIFY(w.Grid1->isVisible());
    QCOMPARE(w.Grid1->FixedRows(), 1);
    QCOMPARE(w.Grid1->Rows(), 3);
    QCOMPARE(w.Grid1->TextMatrix(0, 1), QStringLiteral("NAME"));
    QCOMPARE(w.Grid1->TextMatrix(0, 2), QStringLiteral("FAVORITE'S XML CODE"));
    QCOMPARE(w.Grid1->TextMatrix(0, 3), QStringLiteral("SYMBOL"));
    QCOMPARE(w.Grid1->ColWidth(2), 0);
    QCOMPARE(f.column(0), QStringList({" ", " "}));
    QCOMPARE(f.column(1), QStringList({"A & B", "Home"}));
    QCOMPARE(f.column(3), QStringList({"Flag, Blue", "--- NONE ---"}));
    QCOMPARE(w.Grid1->TextMatrix(2, 2),
             QStringLiteral("<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt> "));
    QCOMPARE(w.HeaderText, QStringLiteral("<?xml version=\"1.0\"?> <gpx creator=\"x\"> "));
    QVERIFY(w.ItemsLoaded && !w.TracksLoaded);
    for (QAction* a : {w.mnuExport, w.mnuSaveFavorites, w.mnuMarkNewFavorites, w.mnuSelectAllItems,
                       w.mnuUnselectAllItems, w.mnuSelectFavorites, w.mnuSelectTracks})
        QVERIFY2(a->isEnabled(), qPrintable(a->objectName()));

    // Open hides the grid and the commands that need it.
    w.mnuOpen->trigger();
    QVERIFY(!w.Grid1->isVisible());
    QVERIFY(!w.mnuExport->isEnabled() && !w.mnuSelectAllItems->isEnabled());
}

void CommandsTest::clicksAndSelectAllMarkRows() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    w.mnuSelectFavorites->trigger();
    f.clickGrid(1, 1);
    QCOMPARE(f.column(0), QStringList({"X", " "}));
    f.clickGrid(2, 3);
    QCOMPARE(f.column(0), QStringList({"X", "X"}));
    f.clickGrid(1, 0);
    QCOMPARE(f.column(0), QStringList({" ", "X"}));
    w.mnuSelectAllItems->trigger();
    QCOMPARE(f.column(0), QStringList({"X", "X"}));
    f.clickGrid(2, 1);
    QCOMPARE(f.column(0), QStringList({"X", " "}));
    w.mnuUnselectAllItems->trigger();
    QCOMPARE(f.column(0), QStringList({" ", " "}));
    // A second load forgets every mark.
    w.mnuSelectAllItems->trigger();
    w.mnuSelectFavorites->trigger();
    QCOMPARE(f.column(0), QStringList({" ", " "}));
}

void CommandsTest::loadTracksWritesTheScratchFile() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(tracksFile);
    w.mnuSelectTracks->trigger();
    QCOMPARE(w.windowTitle(), QStringLiteral("Tracks Selected"));
    QVERIFY(w.txtStatus->text().startsWith(QStringLiteral("Finished loading tracks ")));
    QVERIFY(QRegularExpression(QStringLiteral("^Finished loading tracks \\d\\d:\\d\\d:\\d\\d "
                                              "\\d\\d:\\d\\d:\\d\\d$"))
                .match(w.txtStatus->text())
                .hasMatch());
    QCOMPARE(f.column(1), QStringList({"Day 1", "Day 2"}));
    QCOMPARE(f.column(2), QStringList({"<name>Day 1", "<name>Day 2"}));
    QCOMPARE(w.Grid1->TextMatrix(0, 1), QStringLiteral("TRACK NAME"));
    QCOMPARE(w.Grid1->ColWidth(3), 0);
    QCOMPARE(w.HeaderText, QStringLiteral("<gpx> "));
    QVERIFY(w.ItemsLoaded && w.TracksLoaded);
    QVERIFY(!w.mnuSaveFavorites->isEnabled() && !w.mnuMarkNewFavorites->isEnabled());
    QVERIFY(w.mnuExport->isEnabled());
    const QByteArray scratch = f.readFile(f.device("Nuvi_1") + "/TEMP.TMP");
    QCOMPARE(scratch, QByteArray("<trk><name>Day 1</name> \r\n<trkseg>\r\n"
                                 " <trkpt lat=\"1\" lon=\"2\"></trkpt>\r\n"
                                 " <trkpt lat=\"3\" lon=\"4\"></trkpt>\r\n"
                                 " </trkseg> \r\n</trk>\r\n <trk><name>Day 2</name>\r\n"
                                 "<trkseg>\r\n<trkpt lat=\"5\" lon=\"6\"></trkpt>\r\n"
                                 "</trkseg>\r\n</trk>\r\n</gpx>\r\n"));
}

void CommandsTest::loadOfAMissingFileSaysItCantBeOpenned() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    w.mnuSelectFavorites->trigger();
    f.clickGrid(1);
    QFile::remove(f.device("Nuvi_1") + "/CURRENT.GPX");
    // A folder in the file's place is no source either.
    QDir().mkdir(f.device("Nuvi_1") + "/CURRENT.GPX");
    w.mnuSelectFavorites->trigger();
    QCOMPARE(f.messages, QStringList{"File CURRENT.GPXcan't be openned."});
    QCOMPARE(w.windowTitle(), QStringLiteral("NOTHING Selected"));
    QVERIFY(w.SourceFileName.isEmpty());
    QCOMPARE(w.txtStatus->text(), QStringLiteral("  Please open a file first."));
    QCOMPARE(w.Grid1->Rows(), 1);
    // Without a chosen file the loaders only ask for one.
    w.mnuSelectTracks->trigger();
    QCOMPARE(f.messages.size(), 1);
    QCOMPARE(w.txtStatus->text(), QStringLiteral("  Please open a file first."));
}

void CommandsTest::exportChecksComeInOrder() {
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    w.mnuExport_Click();
    QCOMPARE(f.messages.takeFirst(), QStringLiteral("Select a GPX file."));
    QVERIFY(w.File1->isVisible());

    f.chooseSource(f.device("Nuvi_1"), "CURRENT.GPX", favoritesFile);
    w.mnuExport_Click();
    QCOMPARE(f.messages.takeFirst(),
             QStringLiteral("Select favorites or tracks first.\r\nSee Selections menu."));

    w.mnuSelectFavorites->trigger();
    w.mnuExport->trigger();
    QCOMPARE(f.messages.takeFirst(), QStringLiteral("Please select an item first."));
    QVERIFY(!QFileInfo::exists(f.device("Nuvi_1") + "/output"));
}

void CommandsTest::exportWritesFavoritesWithConvertedSymbols() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    w.mnuSelectFavorites->trigger();
    w.mnuSelectAllItems->trigger();
    w.mnuExport->trigger();
    QVERIFY2(f.messages.isEmpty(), qPrintable(f.messages.join('\n')));
    QCOMPARE(w.txtStatus->text(), QStringLiteral("EXPORT IS DONE"));
    QCOMPARE(statusColour(w), QColor(0, 255, 255));
    QCOMPARE(outputFiles(f.device("Nuvi_1")), QStringList{"A  B.gpx"});
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/output/A  B.gpx"),
             QByteArray("<?xml version=\"1.0\"?> <gpx creator=\"x\"> \r\n"
                        "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>BLUE "
                        "FLAG</sym></wpt> \r\n"
                        "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt> \r\n</gpx>\r\n"));

    // The same items again, without conversion, go to the next free name.
    w.mnuWithOutSymbolConversion->trigger();
    QVERIFY(!w.mnuWithSymbolConversion->isChecked());
    QVERIFY(w.mnuWithOutSymbolConversion->isChecked());
    w.mnuExport->trigger();
    QCOMPARE(outputFiles(f.device("Nuvi_1")), QStringList({"A  B 1.gpx", "A  B.gpx"}));
    QVERIFY(
        f.readFile(f.device("Nuvi_1") + "/output/A  B 1.gpx").contains("<sym>Flag, Blue</sym>"));
    // Clicking the checked item changes nothing.
    w.mnuWithOutSymbolConversion->trigger();
    QVERIFY(w.mnuWithOutSymbolConversion->isChecked());
}

void CommandsTest::exportWritesTheMarkedTrack() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(tracksFile);
    w.mnuSelectTracks->trigger();
    f.clickGrid(2);
    w.mnuExport->trigger();
    QCOMPARE(w.txtStatus->text(), QStringLiteral("EXPORT IS DONE"));
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/output/Day 2.gpx"),
             QByteArray("<gpx> \r\n <trk><name>Day 2</name>\r\n<trkseg>\r\n"
                        "<trkpt lat=\"5\" lon=\"6\"></trkpt>\r\n</trkseg>\r\n</trk>\r\n"
                        "</gpx>\r\n"));
}

void CommandsTest::saveThenMarkNewLeavesEveryRowUnmarked() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    w.mnuSelectFavorites->trigger();
    f.clickGrid(1);
    w.mnuSaveFavorites->trigger();
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Favorites Saved"));
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/FAVORITES.TXT"),
             QByteArray("A & B\t<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, "
                        "Blue</sym></wpt> \r\nHome\t<wpt lat=\"3\" lon=\"4\"><name>Home</name>"
                        "</wpt> \r\n"));
    w.mnuMarkNewFavorites->trigger();
    QCOMPARE(w.txtStatus->text(), QStringLiteral("New favorites marked with an X"));
    QCOMPARE(f.column(0), QStringList({" ", " "}));
    QCOMPARE(w.lstList1->count(), 2);

    // With tracks loaded there are no favorites to save.
    w.mnuSelectTracks->trigger();
    w.mnuSaveFavorites_Click();
    QCOMPARE(f.messages, QStringList{"Select favorites first.\r\nSee Selections menu."});
}

void CommandsTest::renamedFavoriteIsMarkedNew() {
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    f.writeFile(f.device("Nuvi_1") + "/favorites.txt", "home\tanything\r\nA & B\r\n");
    f.chooseSource(f.device("Nuvi_1"), "CURRENT.GPX", favoritesFile);
    w.mnuSelectFavorites->trigger();
    w.mnuMarkNewFavorites->trigger();
    QCOMPARE(f.column(0), QStringList({" ", "X"}));
}

void CommandsTest::markNewWithoutSavedFavoritesSaysSo() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    w.mnuSelectFavorites->trigger();
    f.clickGrid(2);
    w.mnuMarkNewFavorites->trigger();
    QCOMPARE(f.messages, QStringList{"Favorites must have been saved at some point\r\nbefore "
                                     "this option will work."});
    QCOMPARE(f.column(0), QStringList({" ", "X"}));
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Marking New Favorites."));
    QCOMPARE(statusColour(w), QColor(255, 255, 0));
}

// A favorite holding every byte value but those the loader turns into structure (CR, LF and
// '<') leaves through the export and the favorites history exactly as it stood in the file.
void CommandsTest::everyByteValueSurvivesLoadExportAndSave() {
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    QByteArray bytes;
    for (int b = 0; b < 256; ++b) {
        if (b != '\r' && b != '\n' && b != '<')
            bytes.append(char(b));
    }
    const QByteArray favorite = "<wpt lat=\"1\" lon=\"2\"><name>N\xe9\x80\xff</name><desc>" +
                                bytes + "</desc><sym>\x81\x8d\x8f\x90\x9d</sym></wpt>";
    const QByteArray header = "<gpx creator=\"\xa9\x01\">";
    f.chooseSource(f.device("Nuvi_1"), "CURRENT.GPX",
                   header + "\r\n" + favorite + "\r\n</gpx>\r\n");
    w.mnuSelectFavorites->trigger();
    QCOMPARE(w.Grid1->Rows(), 2);
    QCOMPARE(w.Grid1->TextMatrix(1, 1), QStringLiteral("N\u00e9\u20ac\u00ff"));
    w.mnuSelectAllItems->trigger();
    w.mnuExport->trigger();
    QVERIFY2(f.messages.isEmpty(), qPrintable(f.messages.join('\n')));
    const QStringList files = outputFiles(f.device("Nuvi_1"));
    QCOMPARE(files.size(), 1);
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/output/" + files.first()),
             header + " \r\n" + favorite + " \r\n</gpx>\r\n");

    w.mnuSaveFavorites->trigger();
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/FAVORITES.TXT"),
             "N\xe9\x80\xff\t" + favorite + " \r\n");
    w.mnuMarkNewFavorites->trigger();
    QCOMPARE(f.column(0), QStringList{" "});
}

// Exports, the favorites history and the scratch file go to the device taken, and switching
// devices leaves the other device's files as they were.
void CommandsTest::eachDeviceKeepsItsOwnFiles() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2"});
    frmForm1& w = f.start();
    auto take = [&w](const QString& name) {
        w.mnuSwitchDevice_Click();
        const QList<QListWidgetItem*> found = w.lstDevice->findItems(name, Qt::MatchExactly);
        QCOMPARE(found.size(), 1);
        w.lstDevice->setCurrentItem(found.first());
        w.lstDevice_Click();
        w.btnOK_Click();
        QCOMPARE(w.windowTitle(), "Tarnwick - Device = " + name);
    };
    take("Nuvi_1");
    f.chooseSource(f.device("Nuvi_1"), "CURRENT.GPX", favoritesFile);
    w.mnuSelectFavorites->trigger();
    w.mnuSelectAllItems->trigger();
    w.mnuExport->trigger();
    w.mnuSaveFavorites->trigger();
    w.mnuSelectTracks->trigger();
    const QByteArray scratch1 = f.readFile(f.device("Nuvi_1") + "/TEMP.TMP");

    take("Nuvi_2");
    f.chooseSource(f.device("Nuvi_2"), "CURRENT.GPX", tracksFile);
    w.mnuSelectTracks->trigger();
    w.mnuSelectAllItems->trigger();
    w.mnuExport->trigger();
    QVERIFY2(f.messages.isEmpty(), qPrintable(f.messages.join('\n')));

    QCOMPARE(outputFiles(f.device("Nuvi_1")), QStringList{"A  B.gpx"});
    QCOMPARE(outputFiles(f.device("Nuvi_2")), QStringList{"Day 1.gpx"});
    QVERIFY(QFileInfo::exists(f.device("Nuvi_1") + "/FAVORITES.TXT"));
    QVERIFY(!QFileInfo::exists(f.device("Nuvi_2") + "/FAVORITES.TXT"));
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/TEMP.TMP"), scratch1);
    QVERIFY(f.readFile(f.device("Nuvi_2") + "/TEMP.TMP").contains("Day 2"));
    QCOMPARE(f.readFile(f.device("Nuvi_2") + "/symtable.txt").size(), 1984);

    // With Nuvi_2 taken, Mark New Favorites finds no saved favorites of its own.
    w.mnuSelectFavorites->trigger();
    f.messages.clear();
    w.mnuMarkNewFavorites->trigger();
    QCOMPARE(f.messages.size(), 1);
}

// During a long load the window repaints and rows can be marked, but a second load, Export,
// Save Favorites and Mark New Favorites wait until it ends.
void CommandsTest::commandsWaitWhileALoadRuns() {
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    QByteArray points;
    for (int i = 0; i < 1000; ++i)
        points += "<trkpt lat=\"1\" lon=\"2\"><ele>3</ele><time>2010-08-05T14:32:00Z</time>"
                  "</trkpt>\r\n";
    QByteArray file = "<gpx>\r\n";
    // Enough data that the load lets events run several times however fast it reads.
    for (int t = 1; t <= 600; ++t)
        file += "<trk><name>T" + QByteArray::number(t) + "</name><trkseg>\r\n" + points +
                "</trkseg></trk>\r\n";
    file += "</gpx>\r\n";
    f.chooseSource(f.device("Nuvi_1"), "CURRENT.GPX", file);
    file.clear();

    int probes = 0;
    qsizetype rowsShown = 0;
    QStringList enabledDuringLoad;
    QTimer probe;
    QObject::connect(&probe, &QTimer::timeout, [&] {
        if (!w.loading())
            return;
        if (++probes > 1)
            return;
        rowsShown = w.Grid1->Rows();
        for (QAction* item : {w.mnuSelectFavorites, w.mnuSelectTracks, w.mnuExport,
                              w.mnuSaveFavorites, w.mnuMarkNewFavorites}) {
            if (item->isEnabled())
                enabledDuringLoad.append(item->objectName());
        }
        f.clickGrid(1);
        w.mnuExport_Click();
        w.mnuSaveFavorites_Click();
        w.mnuMarkNewFavorites_Click();
        w.mnuSelectFavorites_Click();
        w.mnuSelectTracks_Click();
    });
    probe.start(0);
    w.mnuSelectTracks->trigger();
    probe.stop();

    QVERIFY2(probes > 0, "the load never let events run");
    QVERIFY(rowsShown > 1);
    QCOMPARE(enabledDuringLoad, QStringList());
    QVERIFY2(f.messages.isEmpty(), qPrintable(f.messages.join('\n')));
    QVERIFY(!QFileInfo::exists(f.device("Nuvi_1") + "/output"));
    QVERIFY(!QFileInfo::exists(f.device("Nuvi_1") + "/FAVORITES.TXT"));
    QCOMPARE(w.windowTitle(), QStringLiteral("Tracks Selected"));
    QVERIFY(w.txtStatus->text().startsWith(QStringLiteral("Finished loading tracks")));
    QCOMPARE(w.Grid1->Rows(), 601);
    QCOMPARE(w.Grid1->TextMatrix(1, 0), QStringLiteral("X"));
    QCOMPARE(w.Grid1->TextMatrix(600, 1), QStringLiteral("T600"));

    // Usable again at once, in the states a tracks load gives.
    QVERIFY(w.mnuExport->isEnabled());
    QVERIFY(w.mnuSelectFavorites->isEnabled());
    QVERIFY(!w.mnuSaveFavorites->isEnabled());
    QVERIFY(!w.mnuMarkNewFavorites->isEnabled());
    w.mnuExport->trigger();
    QCOMPARE(outputFiles(f.device("Nuvi_1")), QStringList{"T1.gpx"});
}

QTEST_MAIN(CommandsTest)
#include "tst_commands.moc"
