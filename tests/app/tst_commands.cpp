// The bytes the main window's commands write, end to end, for every byte value. The command
// line's tests compare the window's exports and history with its own for the other choices.

#include "MainWindowFixture.h"

namespace {

QStringList outputFiles(const QString& device) {
    return QDir(device + "/output").entryList(QDir::Files, QDir::Name);
}

} // namespace

class CommandsTest : public QObject {
    Q_OBJECT
private slots:
    void everyByteValueSurvivesCopyLoadExportAndSave();
};

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
