// The bytes the main window's commands write, end to end: the dated copy, the favorites and
// tracks loads, marking, the exports with and without symbol conversion, and the favorites
// history.

#include "MainWindowFixture.h"

namespace {

const QByteArray favoritesFile = "<?xml version=\"1.0\"?>\r\n<gpx creator=\"x\">\r\n"
                                 "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, "
                                 "Blue</sym></wpt>\r\n"
                                 "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt>\r\n"
                                 "<trk><name>Day 1</name>\r\n<trkseg>\r\n"
                                 "<trkpt lat=\"1\" lon=\"2\"></trkpt>\r\n</trkseg>\r\n</trk>\r\n"
                                 "<trk><name>Day 2</name><trkseg><trkpt lat=\"5\" "
                                 "lon=\"6\"></trkpt></trkseg></trk>\r\n</gpx>\r\n";

QStringList outputFiles(const QString& device) {
    return QDir(device + "/output").entryList(QDir::Files, QDir::Name);
}

} // namespace

class CommandsTest : public QObject {
    Q_OBJECT
private slots:
    void favoritesExportAndHistoryWriteTheirBytes();
    void everyByteValueSurvivesCopyLoadExportAndSave();
};

void CommandsTest::favoritesExportAndHistoryWriteTheirBytes() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(favoritesFile);
    const QString device = f.device("Nuvi_1");
    w.mnuExport_Click();
    QCOMPARE(f.messages, QStringList{"Select favorites or tracks first.\r\nSee Selections menu."});
    f.messages.clear();
    w.mnuSelectFavorites->trigger();
    QCOMPARE(f.column(1), QStringList({"A & B", "Home"}));
    QCOMPARE(f.column(2), QStringList({"<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>Flag, "
                                       "Blue</sym></wpt> ",
                                       "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt> "}));
    QCOMPARE(f.column(3), QStringList({"Flag, Blue", "--- NONE ---"}));
    f.clickGrid(2, 3);
    f.clickGrid(1, 0);
    f.clickGrid(2, 1);
    QCOMPARE(f.column(0), QStringList({"X", " "}));
    w.mnuSelectAllItems->trigger();
    w.mnuExport->trigger();
    const QByteArray converted = "<?xml version=\"1.0\"?> <gpx creator=\"x\"> \r\n"
                                 "<wpt lat=\"1\" lon=\"2\"><name>A &amp; B</name><sym>BLUE "
                                 "FLAG</sym></wpt> \r\n"
                                 "<wpt lat=\"3\" lon=\"4\"><name>Home</name></wpt> \r\n</gpx>\r\n";
    QCOMPARE(f.readFile(device + "/output/A  B.gpx"), converted);
    w.mnuWithOutSymbolConversion->trigger();
    QVERIFY(!w.mnuWithSymbolConversion->isChecked() && w.mnuWithOutSymbolConversion->isChecked());
    w.mnuExport->trigger();
    QCOMPARE(f.readFile(device + "/output/A  B 1.gpx"),
             QByteArray(converted).replace("BLUE FLAG", "Flag, Blue"));
    w.mnuWithSymbolConversion->trigger();
    QVERIFY(w.mnuWithSymbolConversion->isChecked() && !w.mnuWithOutSymbolConversion->isChecked());

    w.mnuUnselectAllItems->trigger();
    QCOMPARE(f.column(0), QStringList({" ", " "}));
    w.mnuSaveFavorites->trigger();
    QCOMPARE(f.readFile(device + "/FAVORITES.TXT"), "A & B\t" + f.column(2)[0].toLatin1() +
                                                        "\r\nHome\t" + f.column(2)[1].toLatin1() +
                                                        "\r\n");
    // A favorite renamed since the save is new; the saved file is found whatever its case.
    QFile::rename(device + "/FAVORITES.TXT", device + "/favorites.txt");
    f.writeFile(device + "/favorites.txt", "home\tx\r\nA & B\r\n");
    w.mnuMarkNewFavorites->trigger();
    QCOMPARE(f.column(0), QStringList({" ", "X"}));
    QCOMPARE(w.lstList1->count(), 2);
    // A track goes out with the file's header, as the scratch file holds it.
    w.mnuSelectTracks->trigger();
    f.clickGrid(2);
    w.mnuExport->trigger();
    QCOMPARE(
        f.readFile(device + "/output/Day 2.gpx"),
        "<?xml version=\"1.0\"?> <gpx creator=\"x\"> \r\n <trk><name>Day 2</name>\r\n"
        "<trkseg>\r\n<trkpt lat=\"5\" lon=\"6\"></trkpt>\r\n</trkseg>\r\n</trk>\r\n</gpx>\r\n");
    QCOMPARE(f.messages, QStringList());
}

// Every byte value but those the loader turns into structure (CR, LF, '<') leaves through
// the copy, the export and the favorites history as it stood in the file.
void CommandsTest::everyByteValueSurvivesCopyLoadExportAndSave() {
    QByteArray bytes;
    for (int b = 0; b < 256; ++b) {
        if (b != '\r' && b != '\n' && b != '<')
            bytes.append(char(b));
    }
    const QByteArray favorite = "<wpt lat=\"1\" lon=\"2\"><name>N\xe9\x80\xff</name><desc>" +
                                bytes + "</desc><sym>\x81\x8d\x8f\x90\x9d</sym></wpt>";
    const QByteArray header = "<gpx creator=\"\xa9\x01\">";
    const QByteArray source = header + "\r\n" + favorite + "\r\n</gpx>\r\nno line end";
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(source);
    const QString device = f.device("Nuvi_1");
    w.mnuCopyNuvi->trigger();
    w.mnuCopyNuvi->trigger(); // the same bytes in the same minute make no second copy
    const QStringList copies = QDir(device).entryList({"2*_CURRENT.GPX"}, QDir::Files);
    QCOMPARE(copies.size(), 1);
    QCOMPARE(f.readFile(device + "/" + copies.first()), source);
    w.mnuSelectFavorites->trigger();
    QCOMPARE(w.Grid1->TextMatrix(1, 1), QStringLiteral("N\u00e9\u20ac\u00ff"));
    w.mnuSelectAllItems->trigger();
    w.mnuExport->trigger();
    QCOMPARE(outputFiles(device).size(), 1);
    QCOMPARE(f.readFile(device + "/output/" + outputFiles(device).first()),
             header + " \r\n" + favorite + " \r\n</gpx>\r\n");
    w.mnuSaveFavorites->trigger();
    QCOMPARE(f.readFile(device + "/FAVORITES.TXT"), "N\xe9\x80\xff\t" + favorite + " \r\n");
    QCOMPARE(f.messages, QStringList());
}

QTEST_MAIN(CommandsTest)
#include "tst_commands.moc"
