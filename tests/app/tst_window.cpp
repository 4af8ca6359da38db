// The main window's fixed design as data (controls, menus, the states the start-up leaves,
// device names), and the device choice by mouse and keyboard.

#include "MainWindowFixture.h"

#include "app/StatusReports.h"
#include "workspace/Volumes.h"

#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

namespace {

// The controls the commands show and hide, and the items they enable and disable.
const QStringList screens = {"txtStatus", "Drive1",    "Dir1",  "File1",     "Grid1",
                             "lblDevice", "lstDevice", "btnOK", "btnCANCEL", "copyright"};
const QStringList switchedItems = {
    "mnuOpen",           "mnuCopyNuvi",         "mnuSelections",
    "mnuExport",         "mnuSaveFavorites",    "mnuMarkNewFavorites",
    "mnuSelectAllItems", "mnuUnselectAllItems", "mnuSymbolTableSelections",
    "mnuSwitchDevice"};

} // namespace

class WindowTest : public QObject {
    Q_OBJECT
private slots:
    void controlsKeepTheirDesign();
    void menusKeepTheirDesign();
    void startUpLeavesTheDesignedState_data();
    void startUpLeavesTheDesignedState();
    void deviceNamesAreCleanedOrRefused_data();
    void deviceNamesAreCleanedOrRefused();
    void deviceMadeAfterADeclinedStartIsTaken();
    void startWithAFileForTheWorkspaceSaysSo();
    void eachLoadKeepsTheHeaderOfItsOwnSource();
    void deviceChoiceFollowsMouseAndKeyboard();
    void messageBoxBeforeTheWindowIsCentred();
};

void WindowTest::controlsKeepTheirDesign() {
    MainWindowFixture f;
    f.makeDevices({QStringLiteral("Nuvi_1")});
    frmForm1& w = f.start();
    QCOMPARE(w.objectName(), QStringLiteral("frmForm1"));
    for (const QStringList& row : tableRows("app_controls.tsv")) {
        const QWidget* c = w.findChild<QWidget*>(row[0]);
        QVERIFY2(c, qPrintable(row[0]));
        const QRect r = c->property("twips").isValid() ? c->property("twips").toRect()
                                                       : QRect(QPoint(), c->size() * 15);
        const QColor bg = c->palette().color(qobject_cast<const FlexGrid*>(c) ? QPalette::Base
                                                                              : QPalette::Window);
        const auto given = [&row](int i, const QString& value) {
            return row[i] == "-" ? "-" : value;
        };
        QCOMPARE(
            QStringList(
                {row[0], QString::number(r.x()), QString::number(r.y()), QString::number(r.width()),
                 QString::number(r.height()),
                 given(5, QStringLiteral("%1,%2,%3").arg(bg.red()).arg(bg.green()).arg(bg.blue())),
                 given(6, QString::number(c->font().pointSizeF())),
                 given(7, QString::number(c->font().bold())),
                 given(8, c->property("text").toString())}),
            row);
        QCOMPARE(c->size(), r.size() / 15);
        QVERIFY(c == w.centralWidget() || c->pos() == r.topLeft() / 15);
    }
    QCOMPARE(w.lblDevice->palette().color(QPalette::WindowText), QColor(Qt::black));
    QCOMPARE(w.Grid1->Cols(), 4);
    QCOMPARE(w.Grid2->Cols(), 2);
    QCOMPARE(w.File1->Pattern(), QStringLiteral("*.GPX"));
    const QString notice = w.copyright->text(); // read whole, the copyright sign 11th
    QCOMPARE(notice.at(10), QChar(169));
    QVERIFY(w.copyright->fontMetrics().horizontalAdvance(notice) <=
            w.copyright->contentsRect().width());
    w.mnuAbout->trigger();
    QCOMPARE(f.messages, QStringList{"Tarnwick.\r\n\r\n" + notice + "\r\n\r\nCompiled 08/05/2010"});
}

// The menu bar in order, an item below its menu indented by a TAB.
void WindowTest::menusKeepTheirDesign() {
    MainWindowFixture f;
    f.makeDevices({QStringLiteral("Nuvi_1")});
    frmForm1& w = f.start();
    const auto line = [](const QAction* a, const QString& name) { // no item has a shortcut
        return name + '\t' + a->text() + '\t' +
               (a->isSeparator()   ? QStringLiteral("separator")
                : a->isCheckable() ? QString::number(a->isChecked())
                                   : "-") +
               a->shortcut().toString();
    };
    QStringList seen, expected;
    for (const QAction* top : w.menuBar()->actions()) {
        seen << line(top, top->menu() ? top->menu()->objectName() : top->objectName());
        for (const QAction* item : top->menu() ? top->menu()->actions() : QList<QAction*>())
            seen << '\t' + line(item, item->objectName());
    }
    QStringList opens;
    for (QStringList row : tableRows("app_menu.tsv")) {
        if (row.size() == 5)
            opens << row[1] + '\t' + row.takeLast();
        expected << asShown(row.join('\t'), f.home.path());
    }
    QCOMPARE(seen, expected);
    for (const QString& item : opens) {
        w.findChild<QAction*>(item.section('\t', 0, 0))->trigger();
        QWidget* opened = nullptr;
        for (QWidget* top : QApplication::topLevelWidgets())
            opened = top->objectName() == item.section('\t', 1) && top->isVisible() ? top : opened;
        QVERIFY2(opened, qPrintable(item));
        opened->close();
    }
    // The two conversion items are one choice: a click checks its own and clears the other.
    for (QAction* a : {w.mnuWithOutSymbolConversion, w.mnuWithOutSymbolConversion,
                       w.mnuWithSymbolConversion, w.mnuWithSymbolConversion}) {
        a->trigger();
        QCOMPARE(w.mnuWithSymbolConversion->isChecked(), a == w.mnuWithSymbolConversion);
        QCOMPARE(w.mnuWithOutSymbolConversion->isChecked(), a != w.mnuWithSymbolConversion);
    }
}

void WindowTest::startUpLeavesTheDesignedState_data() {
    addTableRows("app_startup.tsv");
}

void WindowTest::startUpLeavesTheDesignedState() {
    QFETCH(QStringList, row);
    const auto list = [&row](int i) { return row.value(i).split(u',', Qt::SkipEmptyParts); };
    const QString answer = row.value(2), caption = row.value(3);
    const QStringList devices = list(1), shown = list(4), enabled = list(5), listed = list(6);
    MainWindowFixture f;
    f.makeDevices(devices);
    f.answers = {answer};
    frmForm1& w = f.start();
    QVERIFY(QFileInfo(f.root()).isDir());
    QCOMPARE(f.prompts.size(), devices.isEmpty() ? 1 : 0);
    if (!f.prompts.isEmpty())
        QCOMPARE(f.prompts.first(),
                 QStringLiteral("Enter new device name|CREATE NEW DEVICE FOLDER|Nuvi_1"));
    QCOMPARE(w.windowTitle(), caption);
    QCOMPARE(f.on(screens), shown);
    QCOMPARE(f.on(switchedItems), enabled);
    QCOMPARE(MainWindowFixture::texts(*w.lstDevice), listed);
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Select drive, folder and file."));
    QCOMPARE(w.txtStatus->palette().color(QPalette::Base), QColor(255, 255, 0));
    if (!answer.isEmpty())
        QCOMPARE(QFileInfo(f.device(answer) + QStringLiteral("/symtable.txt")).size(), 1984);
    if (w.File1->isVisible())
        QCOMPARE(w.CurrentFolder, f.device(caption.mid(20)));
    QVERIFY(f.messages.isEmpty());

    // CANCEL before any device is taken ends the program; otherwise OK takes one.
    if (!listed.isEmpty()) {
        w.lstDevice->setCurrentRow(1);
        QCOMPARE(w.lblDevice->text(), listed[1]);
        w.btnCANCEL->click();
        QVERIFY(w.programEnded());
    }
}

void WindowTest::deviceNamesAreCleanedOrRefused_data() {
    addTableRows("app_device_names.tsv");
}

void WindowTest::deviceNamesAreCleanedOrRefused() {
    QFETCH(QStringList, row);
    const QString answer = row.value(1), folder = row.value(2), message = row.value(3);
    MainWindowFixture f;
    f.makeDevices({QStringLiteral("Nuvi_1")});
    frmForm1& w = f.start();
    QSet<QString> after = {QStringLiteral("Nuvi_1")};
    f.answers = {answer};
    w.mnuCreateNewUser->trigger();
    QCOMPARE(f.messages, message.isEmpty() ? QStringList() : QStringList{message});
    if (!folder.isEmpty())
        after.insert(folder);
    const QStringList made = QDir(f.root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    QCOMPARE(QSet<QString>(made.begin(), made.end()), after);
    if (!folder.isEmpty()) {
        QCOMPARE(QFileInfo(f.device(folder) + QStringLiteral("/symtable.txt")).size(), 1984);
        QVERIFY(w.mnuSwitchDevice->isEnabled());
        QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));
    }
}

void WindowTest::deviceMadeAfterADeclinedStartIsTaken() {
    MainWindowFixture f;
    frmForm1& w = f.start();
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick"));
    f.answers = {QStringLiteral("Nuvi_1")};
    w.mnuCreateNewUser->trigger();
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));
    QCOMPARE(f.on(switchedItems), QStringList{"mnuSymbolTableSelections"});
    QVERIFY(w.File1->isVisible());
    QCOMPARE(w.Dir1->Path(), f.device(QStringLiteral("Nuvi_1")));
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Select drive, folder and file."));
    QCOMPARE(w.txtStatus->cursorPosition(), 0); // a text longer than the line shows its start
    QCOMPARE(w.statusReports()->text(),
             asShown("Working with the device Nuvi_1 in ~/GPX/Nuvi_1", f.home.path()));
}

// A load's header is the text of its own source before its first item: a tracks load of an
// empty file keeps none of the favorites load before it, which an export would write.
void WindowTest::eachLoadKeepsTheHeaderOfItsOwnSource() {
    MainWindowFixture f;
    frmForm1& w = f.startWithSource("<gpx>\r\n<wpt><name>A</name></wpt>\r\n</gpx>\r\n");
    w.mnuSelectFavorites->trigger();
    QCOMPARE(w.HeaderText, QStringLiteral("<gpx> ")); // its line end read as a space
    f.chooseSource(f.device(QStringLiteral("Nuvi_1")), QStringLiteral("EMPTY.GPX"), {});
    w.mnuSelectTracks->trigger();
    QCOMPARE(w.HeaderText, QString());
}

void WindowTest::startWithAFileForTheWorkspaceSaysSo() {
    MainWindowFixture f;
    f.writeFile(f.root(), "not a folder");
    QCOMPARE(f.start().windowTitle(), QStringLiteral("Tarnwick"));
    QCOMPARE(f.messages, QStringList{asShown("The workspace folder ~/GPX can neither be found nor "
                                             "created, so no device can be used.",
                                             f.home.path())});
    QVERIFY(f.prompts.isEmpty());
}

// Arrow keys, Ctrl+click and OK without a name are walked by the state model; here the mouse.
void WindowTest::deviceChoiceFollowsMouseAndKeyboard() {
    MainWindowFixture f;
    f.makeDevices({QStringLiteral("Nuvi_1"), QStringLiteral("Nuvi_2"), QStringLiteral("Work")});
    frmForm1& w = f.start();
    w.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&w));
    QTest::keyClick(w.lstDevice, Qt::Key_Down); // the first arrow key selects the first name
    QCOMPARE(w.lblDevice->text(), QStringLiteral("Nuvi_1"));
    const QPoint first = w.lstDevice->visualItemRect(w.lstDevice->item(0)).center();
    QTest::mouseClick(w.lstDevice->viewport(), Qt::LeftButton, Qt::ControlModifier, first);
    QCOMPARE(w.lblDevice->text(), QStringLiteral("SELECT DEVICE"));
    const QPoint third = w.lstDevice->visualItemRect(w.lstDevice->item(2)).center();
    QTest::mouseClick(w.lstDevice->viewport(), Qt::LeftButton, {}, third);
    QTest::mouseDClick(w.lstDevice->viewport(), Qt::LeftButton, {}, third);
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Work"));
    QCOMPARE(w.txtStatus->text(), QDir::toNativeSeparators(f.device(QStringLiteral("Work"))));
    // Another drive moves the folder list to that drive's folder, which the status line shows.
    w.Drive1->setVolumes({{"/", "/", {}, {}}, volumeAt(f.home.path(), "UNIT")});
    w.Drive1->setDrive(f.home.path());
    QCOMPARE(w.Dir1->Path(), f.home.path());
    QCOMPARE(w.txtStatus->text(), QDir::toNativeSeparators(f.home.path()));
}

void WindowTest::messageBoxBeforeTheWindowIsCentred() {
    Dialogs::setMessageHandler({});
    Dialogs::setInputHandler({});
    const QString text = QStringLiteral("A message long enough to make the box wide.");
    // The input box is as wide as its title needs, beside the title bar's icon and button.
    const QString title = QStringLiteral("CREATE NEW DEVICE FOLDER");
    const QFontMetrics caption(QApplication::font("QMdiSubWindowTitleBar"));
    for (const bool input : {false, true}) {
        QRect box;
        QTimer::singleShot(200, [&box] {
            if (QWidget* shown = QApplication::activeModalWidget()) {
                box = shown->frameGeometry();
                shown->close();
            }
        });
        input ? void(Dialogs::InputBox(nullptr, "Enter new device name", title, {}))
              : Dialogs::MsgBox(nullptr, text);
        const QPoint centre = QGuiApplication::primaryScreen()->availableGeometry().center();
        QVERIFY2((box.center() - centre).manhattanLength() <= 4, input ? "input box" : "message");
        QVERIFY(!input || box.width() >= caption.horizontalAdvance(title) + 4 * caption.height());
    }
}

QTEST_MAIN(WindowTest)
#include "tst_window.moc"
