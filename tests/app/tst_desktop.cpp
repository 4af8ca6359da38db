// The window on a desktop: what the status bar reports after each command, names shown as
// the UTF-8 they are while the cells keep their bytes, keys, a dropped file, the window
// growing and remembering, volumes coming and going, and help pages that fit.

#include "MainWindowFixture.h"

#include "app/StatusReports.h"
#include "app/VolumeWatch.h"
#include "help/HelpWindow.h"

#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QProgressBar>
#include <QScrollBar>
#include <QStatusBar>

namespace {

QByteArray gpx(const QByteArray& declaration) {
    QByteArray b = "<?xml version=\"1.0\"" + declaration + "?>\r\n<gpx>\r\n";
    for (const char* name : {"V\xc3\xb6lkerschlachtdenkmal", "Caf\xc3\xa9", "Caf\xe9 bad",
                             declaration.isEmpty() ? "Plain" : "Plain 2"})
        b += "<wpt lat=\"1\" lon=\"2\"><name>" + QByteArray(name) + "</name><sym>S " + name +
             "</sym></wpt>\r\n";
    for (const char* name : {"\xc3\x9c"
                             "ber den Pa\xc3\x9f",
                             "T"})
        b += "<trk><name>" + QByteArray(name) + "</name><trkseg></trkseg></trk>\r\n";
    return b + "</gpx>\r\n";
}

bool matches(const QString& text, const QString& pattern) {
    return QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern))
        .match(text)
        .hasMatch();
}

} // namespace

class DesktopTest : public QObject {
    Q_OBJECT
private slots:
    void commandsReportWhatTheyDid();
    void windowGrowsAndRemembers();
    void aSourceAtADriveRoot();
};

void DesktopTest::commandsReportWhatTheyDid() {
    QLocale::setDefault(QLocale(QLocale::English));
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(gpx(""));
    f.writeFile(f.device("Nuvi_1") + "/latin.gpx", gpx(" encoding=\"windows-1252\""));
    QDir().mkpath(f.home.path() + "/dropped");
    for (const QStringList& row : tableRows("desktop_reports.tsv")) {
        const QString step = row[0], arg = row[1], expected = asShown(row[2], f.home.path());
        QString seen = w.statusReports()->text();
        if (step == "load")
            (arg == "tracks" ? w.mnuSelectTracks : w.mnuSelectFavorites)->trigger();
        else if (step == "marknew")
            w.mnuMarkNewFavorites_Click();
        else if (step == "save")
            w.mnuSaveFavorites_Click();
        else if (step == "export")
            w.mnuExport_Click();
        else if (step == "copy")
            w.mnuCopyNuvi->trigger();
        else if (step == "key") {
            w.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&w));
            QTest::keySequence(&w, QKeySequence(arg));
        } else if (step == "space") {
            w.Grid1->setFocus();
            w.Grid1->setRow(arg.toInt());
            QTest::keyClick(w.Grid1, Qt::Key_Space);
        } else if (step == "jam") {
            QFile::remove(f.device("Nuvi_1") + '/' + arg);
            QDir().mkpath(f.device("Nuvi_1") + '/' + arg);
        } else if (step == "vanish")
            QFile::remove(w.CurrentFolder + '/' + w.SourceFileName);
        else if (step == "source")
            f.chooseSource(f.device("Nuvi_1"), arg, gpx(" encoding=\"windows-1252\""));
        else if (step == "drop") {
            f.writeFile(f.home.path() + arg, gpx(""));
            w.Drive1->setVolumes({{"/", "/", {}, {}}, volumeAt(f.home.path() + "/dropped", "S")});
            QMimeData data;
            data.setUrls({QUrl::fromLocalFile(f.home.path() + arg)});
            QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, {});
            QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(&w, &enter);
            QApplication::sendEvent(&w, &drop);
            QVERIFY(enter.isAccepted());
        } else if (step == "choose") { // as "Open with" does, in other letters than the disk's
            f.writeFile(f.home.path() + arg.section('|', 0, 0), gpx(""));
            w.chooseSourceFile(f.home.path() + arg.section('|', 1));
        }
        seen = w.statusReports()->text();
        if (step == "shown") {
            const QString cell = w.Grid1->TextMatrix(arg.toInt(), 1);
            seen = w.Grid1->displayed(cell) + '|' + cell;
        } else if (step == "drop" || step == "source" || step == "choose")
            seen = w.SourceFileName + " on /" + QFileInfo(w.Drive1->Drive()).fileName();
        else if (step == "said")
            seen = f.messages.value(f.messages.size() - 1);
        else if (step == "title")
            seen = w.windowTitle();
        else if (step == "times") { // the status line ends with the times the load began and ended
            const QStringList times = w.txtStatus->text().split(' ').mid(3);
            const auto now = [](const QString& text) {
                const QTime time = QTime::fromString(text, "HH:mm:ss");
                return time.isValid() && qAbs(time.secsTo(QTime::currentTime())) < 60;
            };
            seen = times.size() == 2 && std::all_of(times.begin(), times.end(), now)
                       ? "now"
                       : w.txtStatus->text();
        } else if (step == "windows") {
            QStringList shown;
            for (QWidget* window : QApplication::topLevelWidgets()) {
                shown << (window->isVisible() ? window->objectName() : QString());
                if (window != &w)
                    window->close();
            }
            seen = shown.join(' ').simplified() + '.';
        } else if (step == "link") {
            const QString href = QUrl::fromLocalFile(w.statusReports()->link()).toString();
            seen = w.findChild<QStatusBar*>("statusBar")
                           ->findChild<QLabel*>("statusReport")
                           ->text()
                           .endsWith(" &nbsp;<a href=\"" + href + "\">Open folder</a>")
                       ? QFileInfo(w.statusReports()->link()).fileName()
                       : "no link";
        }
        // A command that ended leaves no progress showing.
        QVERIFY(!w.statusBar()->findChild<QProgressBar*>()->isVisible());
        QVERIFY2(expected.isEmpty() || matches(seen, expected),
                 qPrintable(step + ' ' + arg + ": " + seen));
    }
}

void DesktopTest::windowGrowsAndRemembers() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource(gpx(""));
    QCOMPARE(w.centralWidget()->size(), w.centralWidget()->minimumSize());
    const QSize grown = w.size() + QSize(300, 200);
    w.resize(grown);
    QApplication::processEvents();
    for (const bool loaded : {false, true}) {
        if (loaded) // the pane beside the grid, shown since the window has room for it
            w.mnuSelectFavorites->trigger();
        for (const QStringList& row : tableRows("desktop_layout.tsv")) {
            const QRect expected(row[1].toInt(), row[2].toInt(), row[3].toInt(), row[4].toInt());
            if (row.value(5) == (loaded ? "loaded" : ""))
                QCOMPARE(w.findChild<QWidget*>(row[0])->geometry(), expected);
        }
    }
    w.mnuOpen->trigger(); // the pane goes with the grid
    QVERIFY(w.findChild<QWidget*>("itemDetails")->isHidden());
    // A source chosen outside the device folder is where the next run opens the lists.
    QDir().mkpath(f.home.path() + "/unit");
    f.chooseSource(f.home.path() + "/unit", "CURRENT.GPX", gpx(""));
    w.close();
    frmForm1& again = f.start();
    QCOMPARE(again.size(), grown);
    QCOMPARE(again.CurrentFolder, f.home.path() + "/unit");
    again.mnuCreateNewUser_Click();
    QCOMPARE(f.prompts.last(), "Enter new device name|CREATE NEW DEVICE FOLDER|Nuvi_2");

    // A unit plugged in shows up, by its root until it has answered; pulled out, the list
    // goes back to the volumes left.
    const Volume root{"/", "/", {}, {}}, unit{f.home.path() + "/unit", "unit", {}, {}};
    QList<Volume> mounted = {root};
    DriveListBox drives(
        nullptr, [&] { return mounted; },
        [](const QString& at) {
            return Volume{at, at == "/" ? "/" : "NUVI 205W", {}, {}};
        });
    VolumeWatch watch(&drives);
    QVERIFY(!watch.poll());
    mounted.append(unit);
    QVERIFY(watch.poll());
    drives.setDrive(unit.rootPath);
    QTRY_COMPARE(drives.toolTip(), "NUVI 205W");
    mounted.removeLast();
    QVERIFY(watch.poll());
    QCOMPARE(drives.count(), 1);
    QCOMPARE(drives.Drive(), "/");

    // Every help page fits its list without scrolling sideways; Escape closes it.
    for (int page = 0; page <= int(HelpPage::SymbolTable); ++page) {
        QWidget* help = showHelpWindow(HelpPage(page));
        QVERIFY(QTest::qWaitForWindowExposed(help));
        QCOMPARE(help->findChild<QListWidget*>()->horizontalScrollBar()->maximum(), 0);
        QTest::keyClick(help, Qt::Key_Escape);
        QVERIFY(!openHelpWindow(HelpPage(page)));
    }
}

// A unit's file at the root of its drive (a drive letter made for the test), named in other
// letters than the disk's as "Open with" may: the drive's root stays its folder, "E:/" and
// not the drive-relative "E:", through a load and an export.
void DesktopTest::aSourceAtADriveRoot() {
    // The drive is the Windows test script's: Wine lists nothing on a drive that a program
    // makes with DefineDosDevice, so the script maps one before Wine starts.
    const QString drive = qEnvironmentVariable("TARNWICK_TEST_DRIVE");
    if (drive.isEmpty())
        QSKIP("No drive letter was made for the test: only Windows has them.");
    MainWindowFixture f;
    f.writeFile(drive + "/Current.gpx", gpx(""));
    const auto remove = qScopeGuard([&] { QFile::remove(drive + "/Current.gpx"); });
    f.answers = {"Nuvi_1"};
    frmForm1& w = f.start();
    w.chooseSourceFile(drive + "\\current.GPX");
    QCOMPARE(w.CurrentFolder + '|' + w.SourceFileName + '|' + w.Drive1->Drive(),
             drive + "/|Current.gpx|" + drive + "/");
    w.mnuSelectFavorites->trigger();
    w.Grid1->setFocus();
    w.Grid1->setRow(4);
    QTest::keyClick(w.Grid1, Qt::Key_Space);
    w.mnuExport_Click();
    QCOMPARE(w.statusReports()->text(),
             "Exported 1 item to Plain.gpx; 1 symbol had no translation");
    QCOMPARE(w.CurrentFolder, drive + "/");
}

QTEST_MAIN(DesktopTest)
#include "tst_desktop.moc"
