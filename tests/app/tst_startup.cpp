// The main window's start-up, its device decision, and choosing, switching and creating
// devices.

#include "FileSizeLimit.h"
#include "MainWindowFixture.h"

#include "app/DirListBox.h"
#include "app/DriveListBox.h"

#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>

namespace {

QColor statusColour(const frmForm1& w) {
    return w.txtStatus->palette().color(QPalette::Base);
}

} // namespace

class StartupTest : public QObject {
    Q_OBJECT
private slots:
    void firstRunCreatesRootAndTakesTheNewDevice();
    void firstRunDeclinedLeavesOnlyExitDeviceAndHelp();
    void handMadeEmptyFolderIsTheOnlyDevice();
    void everyControlAndMenuItemCarriesItsName();
    void copyrightSignAndAboutBox();
    void severalDevicesOfferTheChoiceInNaturalOrder();
    void okTakesTheChosenDevice();
    void okWithoutSelectionKeepsTheChoiceOpen();
    void doubleClickTakesTheDeviceAtOnce();
    void cancelAtStartUpEndsTheProgram();
    void switchDeviceThenCancelKeepsTheDevice();
    void takingTheCurrentDeviceAgainClearsTheChosenFile();
    void createDeviceCleansTheName_data();
    void createDeviceCleansTheName();
    void createDeviceRefusals();
    void createDeviceWhileChoosingAddsTheName();
    void createSecondDeviceEnablesSwitch();
    void folderChangeShowsThePathInTheStatusLine();
    void fileListShowsGpxFilesWhateverTheirCase();
};

void StartupTest::firstRunCreatesRootAndTakesTheNewDevice() {
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    QVERIFY(!QFileInfo::exists(f.root()));
    frmForm1& w = f.start();

    QCOMPARE(f.prompts,
             QStringList{QStringLiteral("Enter new device name|CREATE NEW DEVICE FOLDER|Nuvi_1")});
    QVERIFY(QFileInfo(f.device(QStringLiteral("Nuvi_1"))).isDir());
    QCOMPARE(QFileInfo(f.device(QStringLiteral("Nuvi_1")) + QStringLiteral("/symtable.txt")).size(),
             1984);
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));
    QCOMPARE(w.DeviceFolder, f.device(QStringLiteral("Nuvi_1")));
    QCOMPARE(w.Dir1->Path(), f.device(QStringLiteral("Nuvi_1")));
    QCOMPARE(w.File1->Path(), f.device(QStringLiteral("Nuvi_1")));
    QVERIFY(w.Drive1->isVisible() && w.Dir1->isVisible() && w.File1->isVisible());
    QVERIFY(w.txtStatus->isVisible());
    QVERIFY(w.txtStatus->isReadOnly());
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Select drive, folder and file."));
    QCOMPARE(statusColour(w), QColor(255, 255, 0));
    QVERIFY(!w.mnuOpen->isEnabled());
    QVERIFY(!w.mnuCopyNuvi->isEnabled());
    QVERIFY(!w.mnuSelections->isEnabled());
    QVERIFY(!w.mnuExport->isEnabled());
    QVERIFY(w.mnuSymbolTableSelections->isEnabled());
    QVERIFY(!w.mnuSwitchDevice->isEnabled());
    QVERIFY(w.mnuCreateNewUser->isEnabled());
    QVERIFY(f.messages.isEmpty());
}

void StartupTest::firstRunDeclinedLeavesOnlyExitDeviceAndHelp() {
    MainWindowFixture f;
    frmForm1& w = f.start();
    QCOMPARE(f.prompts.size(), 1);
    QVERIFY(QFileInfo(f.root()).isDir());
    QCOMPARE(QDir(f.root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick"));
    QVERIFY(w.copyright->isVisible());
    for (QWidget* hidden : {static_cast<QWidget*>(w.txtStatus), static_cast<QWidget*>(w.Drive1),
                            static_cast<QWidget*>(w.Dir1), static_cast<QWidget*>(w.File1),
                            static_cast<QWidget*>(w.Grid1), static_cast<QWidget*>(w.lblDevice),
                            static_cast<QWidget*>(w.lstDevice), static_cast<QWidget*>(w.btnOK),
                            static_cast<QWidget*>(w.btnCANCEL)})
        QVERIFY2(!hidden->isVisible(), qPrintable(hidden->objectName()));
    QVERIFY(w.mnuExit->isEnabled());
    QVERIFY(w.mnuCreateNewUser->isEnabled());
    QVERIFY(w.helpMnu->isEnabled());
    QVERIFY(!w.mnuOpen->isEnabled());
    QVERIFY(!w.mnuCopyNuvi->isEnabled());
    QVERIFY(!w.mnuSwitchDevice->isEnabled());
    QVERIFY(!w.mnuSelections->isEnabled());
    QVERIFY(!w.mnuExport->isEnabled());
    QVERIFY(!w.mnuSymbolTableSelections->isEnabled());
    QVERIFY(!w.programEnded());
}

void StartupTest::handMadeEmptyFolderIsTheOnlyDevice() {
    MainWindowFixture f;
    f.makeDevices({QStringLiteral("Nuvi_1")});
    frmForm1& w = f.start();
    QVERIFY(f.prompts.isEmpty());
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));
    QCOMPARE(w.CurrentFolder, f.device(QStringLiteral("Nuvi_1")));
    QVERIFY(w.File1->isVisible());
    QCOMPARE(w.txtStatus->text(), QStringLiteral("Select drive, folder and file."));
}

void StartupTest::everyControlAndMenuItemCarriesItsName() {
    MainWindowFixture f;
    f.makeDevices({QStringLiteral("Nuvi_1")});
    frmForm1& w = f.start();
    QCOMPARE(w.objectName(), QStringLiteral("frmForm1"));
    const QStringList widgets = {"txtStatus", "Drive1",    "Dir1",      "File1", "Grid1",
                                 "Grid2",     "lblDevice", "lstDevice", "btnOK", "btnCANCEL",
                                 "Dir2",      "lstList1",  "copyright"};
    for (const QString& name : widgets)
        QVERIFY2(w.findChild<QWidget*>(name), qPrintable(name));
    const QStringList menus = {"mnuFile", "mnuSelections", "mnuUsers", "mnuSymbolTableSelections",
                               "helpMnu"};
    for (const QString& name : menus)
        QVERIFY2(w.findChild<QMenu*>(name), qPrintable(name));
    const QList<QPair<QString, QString>> items = {
        {"mnuOpen", "Open"},
        {"mnuCopyNuvi", "Copy Nuvi GPX file to ~/GPX"},
        {"mnuExit", "Exit"},
        {"mnuSelectTracks", "Load Tracks"},
        {"mnuSelectFavorites", "Load Favorites"},
        {"mnuX1", "------------------"},
        {"mnuMarkNewFavorites", "Mark New Favorites"},
        {"mnuSelectAllItems", "Select All Items"},
        {"mnuUnselectAllItems", "UnSelect All Items"},
        {"mnuX2", "------------------"},
        {"mnuSaveFavorites", "Save Favorites"},
        {"mnuExport", "&Export"},
        {"mnuCreateNewUser", "Create New Device Folder"},
        {"mnuSwitchDevice", "Switch Device"},
        {"mnuWithSymbolConversion", "Export With Symbol Conversion"},
        {"mnuWithOutSymbolConversion", "Export Without Symbol Conversion"},
        {"mnuReloadSymTable", "Reload Symbol Table"},
        {"mnuSymbolTable", "Edit Symbol Table"},
        {"mnuAbout", "About"},
        {"mnuHelpDoc", "Description"},
        {"mnuDeviceSelection", "Device Selection"},
        {"mnuExportFavoritesHelp", "How to select favorites or tracks to export"},
        {"mnuHelpMarkNewFavorites", "Mark New Favorites"},
        {"mnuHelpSaveFavorites", "Save Favorites"},
        {"mnuHelpSymbolTable", "Symbol Table"},
    };
    for (const auto& [name, caption] : items) {
        auto* action = w.findChild<QAction*>(name);
        QVERIFY2(action, qPrintable(name));
        QCOMPARE(action->text(), caption);
        QVERIFY2(action->shortcut().isEmpty(), qPrintable(name));
    }
    QCOMPARE(w.findChild<QMenu*>("mnuSymbolTableSelections")->title(),
             QStringLiteral("S&ymbol Table"));
    QVERIFY(w.mnuWithSymbolConversion->isChecked());
    QVERIFY(!w.mnuWithOutSymbolConversion->isChecked());

    // Positions are twips at 15 a pixel.
    QCOMPARE(w.centralWidget()->size(), QSize(455, 392));
    QCOMPARE(w.txtStatus->geometry(), QRect(8, 8, 441, 19));
    QCOMPARE(w.Grid1->geometry(), QRect(8, 32, 441, 321));
    QCOMPARE(w.File1->geometry(), QRect(176, 56, 273, 279));
    QCOMPARE(w.copyright->geometry(), QRect(128, 368, 201, 25));
    QCOMPARE(w.centralWidget()->palette().color(QPalette::Window), QColor(192, 255, 255));
    QCOMPARE(w.lblDevice->palette().color(QPalette::Window), QColor(255, 255, 128));
    QVERIFY(w.lblDevice->font().bold());
}

void StartupTest::copyrightSignAndAboutBox() {
    MainWindowFixture f;
    f.makeDevices({QStringLiteral("Nuvi_1")});
    frmForm1& w = f.start();
    QCOMPARE(w.copyright->text().at(10), QChar(169));
    // The notice is read in full, not cut at the label's edge.
    QVERIFY(w.copyright->fontMetrics().horizontalAdvance(w.copyright->text()) <=
            w.copyright->contentsRect().width());
    QCOMPARE(w.BuildDate, QStringLiteral("08/05/2010"));
    w.mnuAbout->trigger();
    QCOMPARE(f.messages.size(), 1);
    const QStringList lines = f.messages.first().split(QStringLiteral("\r\n"));
    QCOMPARE(lines.size(), 5);
    QCOMPARE(lines[0], QStringLiteral("Tarnwick."));
    QCOMPARE(lines[1], QString());
    QVERIFY(lines[2].contains(QChar(169)));
    QCOMPARE(lines[3], QString());
    QCOMPARE(lines[4], QStringLiteral("Compiled 08/05/2010"));
}

void StartupTest::severalDevicesOfferTheChoiceInNaturalOrder() {
    MainWindowFixture f;
    f.makeDevices({"Work", "Nuvi_10", "Nuvi_2", "nuvi_1"});
    frmForm1& w = f.start();
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick"));
    QStringList listed;
    for (int i = 0; i < w.lstDevice->count(); ++i)
        listed.append(w.lstDevice->item(i)->text());
    QCOMPARE(listed, QStringList({"nuvi_1", "Nuvi_2", "Nuvi_10", "Work"}));
    QVERIFY(w.lstDevice->isVisible() && w.btnOK->isVisible() && w.btnCANCEL->isVisible());
    QCOMPARE(w.lblDevice->text(), QStringLiteral("SELECT DEVICE"));
    QVERIFY(w.lstDevice->selectedItems().isEmpty());
    QVERIFY(!w.txtStatus->isVisible());
    QVERIFY(!w.File1->isVisible());
    QVERIFY(!w.mnuSwitchDevice->isEnabled());
}

void StartupTest::okTakesTheChosenDevice() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2", "Work"});
    frmForm1& w = f.start();
    const QRect rect = w.lstDevice->visualItemRect(w.lstDevice->item(1));
    QTest::mouseClick(w.lstDevice->viewport(), Qt::LeftButton, {}, rect.center());
    QCOMPARE(w.lblDevice->text(), QStringLiteral("Nuvi_2"));
    QTest::mouseClick(w.btnOK, Qt::LeftButton);
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_2"));
    QCOMPARE(w.DeviceFolder, f.device(QStringLiteral("Nuvi_2")));
    QCOMPARE(w.File1->Path(), f.device(QStringLiteral("Nuvi_2")));
    QVERIFY(w.File1->isVisible() && w.txtStatus->isVisible());
    QVERIFY(!w.lstDevice->isVisible() && !w.btnOK->isVisible());
    QVERIFY(!w.mnuCopyNuvi->isEnabled());
    QVERIFY(w.mnuOpen->isEnabled());
    QVERIFY(w.mnuSwitchDevice->isEnabled());
    QVERIFY(w.mnuSymbolTableSelections->isEnabled());
    QVERIFY(w.SourceFileName.isEmpty());
}

void StartupTest::okWithoutSelectionKeepsTheChoiceOpen() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2"});
    frmForm1& w = f.start();
    QTest::mouseClick(w.btnOK, Qt::LeftButton);
    QVERIFY(w.lstDevice->isVisible());
    QVERIFY(w.btnOK->isVisible());
    QVERIFY(w.DeviceFolder.isEmpty());
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick"));
}

void StartupTest::doubleClickTakesTheDeviceAtOnce() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2", "Work"});
    frmForm1& w = f.start();
    const QRect rect = w.lstDevice->visualItemRect(w.lstDevice->item(2));
    QTest::mouseClick(w.lstDevice->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(w.lstDevice->viewport(), Qt::LeftButton, {}, rect.center());
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Work"));
    QVERIFY(!w.lstDevice->isVisible());
}

void StartupTest::cancelAtStartUpEndsTheProgram() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2", "Work"});
    frmForm1& w = f.start();
    QTest::mouseClick(w.btnCANCEL, Qt::LeftButton);
    QVERIFY(w.programEnded());
    QVERIFY(!w.isVisible());
    QVERIFY(f.messages.isEmpty());
    // Nothing was made on the way.
    QCOMPARE(QDir(f.root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 3);
}

void StartupTest::switchDeviceThenCancelKeepsTheDevice() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2"});
    frmForm1& w = f.start();
    w.lstDevice->setCurrentRow(0);
    w.btnOK_Click();
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));

    w.mnuSwitchDevice->trigger();
    QVERIFY(w.lstDevice->isVisible());
    QVERIFY(!w.File1->isVisible() && !w.Grid1->isVisible());
    QVERIFY(!w.mnuExport->isEnabled());
    QTest::mouseClick(w.btnCANCEL, Qt::LeftButton);
    QVERIFY(!w.programEnded());
    QVERIFY(w.isVisible());
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));
    QCOMPARE(w.DeviceFolder, f.device(QStringLiteral("Nuvi_1")));
    QVERIFY(w.txtStatus->isVisible());
    QVERIFY(!w.File1->isVisible() && !w.Grid1->isVisible());
    QVERIFY(w.mnuCopyNuvi->isEnabled());
}

void StartupTest::takingTheCurrentDeviceAgainClearsTheChosenFile() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2"});
    frmForm1& w = f.start();
    w.lstDevice->setCurrentRow(0);
    w.btnOK_Click();
    f.chooseSource(f.device("Nuvi_1"), QStringLiteral("CURRENT.GPX"), "<gpx></gpx>");
    QCOMPARE(w.SourceFileName, QStringLiteral("CURRENT.GPX"));
    w.mnuSelectFavorites->trigger();
    QVERIFY(w.Grid1->isVisible());

    w.mnuSwitchDevice->trigger();
    w.lstDevice->setCurrentRow(0);
    w.btnOK_Click();
    QVERIFY(w.SourceFileName.isEmpty());
    QVERIFY(!w.Grid1->isVisible());
    QVERIFY(!w.mnuCopyNuvi->isEnabled());
    w.mnuCopyNuvi_Click();
    QCOMPARE(w.txtStatus->text(), QStringLiteral("  Please open a file first."));
}

void StartupTest::createDeviceCleansTheName_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("folder");
    QTest::newRow("punctuation dropped") << "My Nuvi #2!"
                                         << "My Nuvi 2";
    QTest::newRow("apostrophe, hyphen, underscore kept") << "O'Brien's-unit_3"
                                                         << "O'Brien's-unit_3";
    QTest::newRow("path separators dropped") << "../a/b"
                                             << "ab";
}

void StartupTest::createDeviceCleansTheName() {
    QFETCH(QString, answer);
    QFETCH(QString, folder);
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1"});
    frmForm1& w = f.start();
    f.answers = {answer};
    w.mnuCreateNewUser->trigger();
    QVERIFY(QFileInfo(f.device(folder)).isDir());
    QCOMPARE(f.readFile(f.device(folder) + "/symtable.txt").size(), 1984);
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));
    QVERIFY(f.messages.isEmpty());
}

void StartupTest::createDeviceRefusals() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1"});
    // An edited table must survive an attempt to create its device again.
    f.writeFile(f.device("Nuvi_1") + "/symtable.txt", "Bank\tCASH\r\n");
    frmForm1& w = f.start();

    f.answers = {QStringLiteral("***")};
    w.mnuCreateNewUser->trigger();
    QCOMPARE(f.messages.size(), 1);
    QVERIFY(f.messages.last().contains(QStringLiteral("letters or digits")));
    QVERIFY(!QFileInfo::exists(f.root() + "/symtable.txt"));

    f.answers = {QStringLiteral("nuvi_1")};
    w.mnuCreateNewUser->trigger();
    QCOMPARE(f.messages.size(), 2);
    QVERIFY(f.messages.last().contains(QStringLiteral("exists")));
    QCOMPARE(f.readFile(f.device("Nuvi_1") + "/symtable.txt"), QByteArray("Bank\tCASH\r\n"));

    // Cancel, or an empty answer, makes nothing and says nothing.
    f.answers = {QString()};
    w.mnuCreateNewUser->trigger();
    QCOMPARE(f.messages.size(), 2);

    // A full disk: the folder is made but its table can't be written, so it goes again.
    {
        FileSizeLimit full(0);
        QVERIFY(full.active());
        f.answers = {QStringLiteral("Nuvi_8")};
        w.mnuCreateNewUser->trigger();
    }
    QCOMPARE(f.messages.size(), 3);
    QVERIFY(f.messages.last().contains(QStringLiteral("Nuvi_8")));
    QCOMPARE(QDir(f.root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList{"Nuvi_1"});
    QVERIFY(!w.mnuSwitchDevice->isEnabled());

    // A root that refuses new folders.
    QFile::setPermissions(f.root(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    f.answers = {QStringLiteral("Nuvi_9")};
    w.mnuCreateNewUser->trigger();
    QFile::setPermissions(f.root(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (QFileInfo::exists(f.device("Nuvi_9")))
        QSKIP("running with privileges that ignore folder permissions");
    QCOMPARE(f.messages.size(), 4);
    QVERIFY(f.messages.last().contains(f.device("Nuvi_9")));
    QCOMPARE(QDir(f.root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList{"Nuvi_1"});
}

void StartupTest::createDeviceWhileChoosingAddsTheName() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1", "Nuvi_2"});
    frmForm1& w = f.start();
    f.answers = {QStringLiteral("Garage")};
    w.mnuCreateNewUser->trigger();
    QStringList listed;
    for (int i = 0; i < w.lstDevice->count(); ++i)
        listed.append(w.lstDevice->item(i)->text());
    QCOMPARE(listed, QStringList({"Garage", "Nuvi_1", "Nuvi_2"}));
    QVERIFY(w.lstDevice->selectedItems().isEmpty());
    QVERIFY(w.lstDevice->isVisible());
}

void StartupTest::createSecondDeviceEnablesSwitch() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1"});
    frmForm1& w = f.start();
    QVERIFY(!w.mnuSwitchDevice->isEnabled());
    f.answers = {QStringLiteral("Nuvi_2")};
    w.mnuCreateNewUser->trigger();
    QVERIFY(w.mnuSwitchDevice->isEnabled());
    QCOMPARE(w.windowTitle(), QStringLiteral("Tarnwick - Device = Nuvi_1"));
    QVERIFY(!w.lstDevice->isVisible());
}

void StartupTest::folderChangeShowsThePathInTheStatusLine() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1"});
    QDir().mkpath(f.device("Nuvi_1") + "/sub");
    frmForm1& w = f.start();
    w.Dir1->setPath(f.device("Nuvi_1") + "/sub");
    QCOMPARE(w.CurrentFolder, f.device("Nuvi_1") + "/sub");
    QCOMPARE(w.txtStatus->text(), QDir::toNativeSeparators(f.device("Nuvi_1") + "/sub"));
    QCOMPARE(w.File1->Path(), f.device("Nuvi_1") + "/sub");
    // Open shows the lists on the folder last shown, not the device folder.
    w.mnuOpen->trigger();
    QCOMPARE(w.Dir1->Path(), f.device("Nuvi_1") + "/sub");
}

void StartupTest::fileListShowsGpxFilesWhateverTheirCase() {
    MainWindowFixture f;
    f.makeDevices({"Nuvi_1"});
    for (const char* name : {"CURRENT.gpx", "current.GPX", "notes.txt", "b.Gpx"})
        f.writeFile(f.device("Nuvi_1") + "/" + name, "<gpx/>");
    frmForm1& w = f.start();
    QStringList listed;
    for (int i = 0; i < w.File1->count(); ++i)
        listed.append(w.File1->item(i)->text());
    QVERIFY(listed.contains("CURRENT.gpx"));
    QVERIFY(listed.contains("current.GPX"));
    QVERIFY(listed.contains("b.Gpx"));
    QVERIFY(!listed.contains("notes.txt"));
}

QTEST_MAIN(StartupTest)
#include "tst_startup.moc"
