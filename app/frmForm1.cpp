#include "app/frmForm1.h"

#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileDrop.h"
#include "app/FileListBox.h"
#include "app/ItemDetailsPane.h"
#include "app/StatusColours.h"
#include "app/StatusReports.h"
#include "app/VolumeWatch.h"
#include "app/WindowLayout.h"
#include "app/WindowSettings.h"
#include "dialogs/Dialogs.h"
#include "help/HelpWindow.h"
#include "items/FlexGrid.h"
#include "items/SourceLoad.h"
#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"
#include "text/Copyright.h"
#include "workspace/DatedCopy.h"
#include "workspace/Workspace.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QShortcut>
#include <QStatusBar>

#include <utility>

namespace {

constexpr int twipsPerPixel = 15;
const QColor paleCyan(192, 255, 255);
const QColor paleYellow(255, 255, 128);
const QString separatorCaption = QStringLiteral("------------------");

// Places a control at a position given in twips. The position is kept as the control's
// "twips" property, the design that any other size of the window is worked out from.
void place(QWidget* widget, int left, int top, int width, int height) {
    widget->setProperty("twips", QRect(left, top, width, height));
    widget->setGeometry(left / twipsPerPixel, top / twipsPerPixel, width / twipsPerPixel,
                        height / twipsPerPixel);
}

// The design's MS Sans Serif is a bitmap font on Windows, blocky when the display is scaled;
// Microsoft Sans Serif is its TrueType successor with the same metrics.
QFont msSansSerif(qreal points, bool bold = false) {
    QFont font;
    font.setFamilies({QStringLiteral("Microsoft Sans Serif"), QStringLiteral("MS Sans Serif")});
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(points);
    font.setBold(bold);
    return font;
}

} // namespace

frmForm1::frmForm1(QWidget* parent)
    : QMainWindow(parent) {
    setObjectName(QStringLiteral("frmForm1"));
    setWindowTitle(QStringLiteral("Tarnwick"));
    buildControls();
    buildMenus();
    m_reports = new StatusReports(statusBar(), Grid1->gridModel());
    // The window opens at its designed size (the client area, the menu bar and the status
    // bar) and may grow from there.
    auto* layout = new WindowLayout(centralWidget());
    new ItemDetailsPane(*this, mnuViewDetails, *layout);
    resize(sizeHint());
    m_settings = new WindowSettings(this);
    new VolumeWatch(Drive1);
    new FileDrop(this, [this](const QString& path) {
        if (mnuOpen->isEnabled())
            mnuOpen_Click();
        chooseSourceFile(path);
    });
    connectHandlers();
    connectKeys();
    Form_Load();
}

frmForm1::~frmForm1() = default;

void frmForm1::buildControls() {
    auto* client = new QWidget(this);
    client->setObjectName(QStringLiteral("client"));
    client->setMinimumSize(6825 / twipsPerPixel, 5880 / twipsPerPixel);
    QPalette background = client->palette();
    background.setColor(QPalette::Window, paleCyan);
    client->setPalette(background);
    client->setAutoFillBackground(true);
    setCentralWidget(client);

    txtStatus = new QLineEdit(QStringLiteral("Text1"), client);
    txtStatus->setObjectName(QStringLiteral("txtStatus"));
    txtStatus->setReadOnly(true);
    txtStatus->setFocusPolicy(Qt::ClickFocus);
    place(txtStatus, 120, 120, 6615, 285);
    setStatus(txtStatus->text(), StatusColours::cyan());

    Drive1 = new DriveListBox(client);
    Drive1->setObjectName(QStringLiteral("Drive1"));
    place(Drive1, 120, 480, 2775, 315);

    Dir1 = new DirListBox(client);
    Dir1->setObjectName(QStringLiteral("Dir1"));
    place(Dir1, 120, 840, 2415, 4140);

    File1 = new FileListBox(client);
    File1->setObjectName(QStringLiteral("File1"));
    File1->setPattern(QStringLiteral("*.gpx"));
    place(File1, 2640, 840, 4095, 4185);

    Grid1 = new FlexGrid(4, client);
    Grid1->setObjectName(QStringLiteral("Grid1"));
    place(Grid1, 120, 480, 6615, 4815);
    Grid1->setRows(1);
    Grid1->setFixedRows(1);
    QPalette gridBackground = Grid1->palette();
    gridBackground.setColor(QPalette::Base, paleCyan);
    Grid1->setPalette(gridBackground);

    Grid2 = new FlexGrid(2, client);
    Grid2->setObjectName(QStringLiteral("Grid2"));
    place(Grid2, 4920, 3360, 1815, 2535);
    Grid2->setRows(2);
    Grid2->setFixedRows(1);

    lblDevice = new QLabel(QStringLiteral("SELECT DEVICE"), client);
    lblDevice->setObjectName(QStringLiteral("lblDevice"));
    place(lblDevice, 1560, 720, 3135, 375);
    lblDevice->setFont(msSansSerif(13.5, true));
    QPalette heading = lblDevice->palette();
    heading.setColor(QPalette::Window, paleYellow);
    heading.setColor(QPalette::WindowText, Qt::black);
    lblDevice->setPalette(heading);
    lblDevice->setAutoFillBackground(true);

    lstDevice = new QListWidget(client);
    lstDevice->setObjectName(QStringLiteral("lstDevice"));
    place(lstDevice, 1560, 1080, 3135, 2160);
    lstDevice->setFont(msSansSerif(12));
    lstDevice->installEventFilter(this);

    btnOK = new QPushButton(QStringLiteral("OK"), client);
    btnOK->setObjectName(QStringLiteral("btnOK"));
    place(btnOK, 1560, 3240, 1335, 375);
    btnOK->hide();

    btnCANCEL = new QPushButton(QStringLiteral("CANCEL"), client);
    btnCANCEL->setObjectName(QStringLiteral("btnCANCEL"));
    place(btnCANCEL, 3360, 3240, 1335, 375);
    btnCANCEL->hide();

    Dir2 = new DirListBox(client);
    Dir2->setObjectName(QStringLiteral("Dir2"));
    place(Dir2, 1320, 3240, 2295, 1665);
    Dir2->hide();

    lstList1 = new QListWidget(client);
    lstList1->setObjectName(QStringLiteral("lstList1"));
    place(lstList1, 120, 5400, 1575, 255);
    lstList1->hide();

    copyright = new QLabel(Copyright::notice(), client);
    copyright->setObjectName(QStringLiteral("copyright"));
    place(copyright, 1920, 5520, 3015, 375);
    QPalette notice = copyright->palette();
    notice.setColor(QPalette::Window, paleCyan);
    copyright->setPalette(notice);
    copyright->setAutoFillBackground(true);
}

void frmForm1::buildMenus() {
    QMenuBar* bar = menuBar();
    bar->setObjectName(QStringLiteral("menuBar"));
    auto menu = [bar](const char* name, const QString& caption) {
        QMenu* m = bar->addMenu(caption);
        m->setObjectName(QString::fromLatin1(name));
        return m;
    };
    auto item = [](QMenu* m, const char* name, const QString& caption) {
        QAction* a = m->addAction(caption);
        a->setObjectName(QString::fromLatin1(name));
        return a;
    };

    mnuFile = menu("mnuFile", QStringLiteral("&File"));
    mnuOpen = item(mnuFile, "mnuOpen", QStringLiteral("&Open"));
    mnuCopyNuvi = item(mnuFile, "mnuCopyNuvi",
                       QStringLiteral("&Copy Nuvi GPX file to ") + Workspace::displayRoot());
    mnuExit = item(mnuFile, "mnuExit", QStringLiteral("E&xit"));

    mnuSelections = menu("mnuSelections", QStringLiteral("&Selections"));
    mnuSelectTracks = item(mnuSelections, "mnuSelectTracks", QStringLiteral("Load &Tracks"));
    mnuSelectFavorites =
        item(mnuSelections, "mnuSelectFavorites", QStringLiteral("Load &Favorites"));
    mnuX1 = item(mnuSelections, "mnuX1", separatorCaption);
    // Drawn as a line and passed over by the arrow keys.
    mnuX1->setSeparator(true);
    mnuMarkNewFavorites =
        item(mnuSelections, "mnuMarkNewFavorites", QStringLiteral("&Mark New Favorites"));
    mnuSelectAllItems =
        item(mnuSelections, "mnuSelectAllItems", QStringLiteral("Select &All Items"));
    mnuUnselectAllItems =
        item(mnuSelections, "mnuUnselectAllItems", QStringLiteral("&UnSelect All Items"));
    mnuX2 = item(mnuSelections, "mnuX2", separatorCaption);
    mnuX2->setSeparator(true);
    mnuSaveFavorites = item(mnuSelections, "mnuSaveFavorites", QStringLiteral("&Save Favorites"));

    // A top-level item with no sub-items.
    mnuExport = bar->addAction(QStringLiteral("&Export"));
    mnuExport->setObjectName(QStringLiteral("mnuExport"));

    mnuUsers = menu("mnuUsers", QStringLiteral("&Device"));
    mnuCreateNewUser =
        item(mnuUsers, "mnuCreateNewUser", QStringLiteral("&Create New Device Folder"));
    mnuSwitchDevice = item(mnuUsers, "mnuSwitchDevice", QStringLiteral("&Switch Device"));

    mnuSymbolTableSelections = menu("mnuSymbolTableSelections", QStringLiteral("S&ymbol Table"));
    mnuWithSymbolConversion = item(mnuSymbolTableSelections, "mnuWithSymbolConversion",
                                   QStringLiteral("Export &With Symbol Conversion"));
    mnuWithSymbolConversion->setCheckable(true);
    mnuWithSymbolConversion->setChecked(true);
    mnuWithOutSymbolConversion = item(mnuSymbolTableSelections, "mnuWithOutSymbolConversion",
                                      QStringLiteral("Export With&out Symbol Conversion"));
    mnuWithOutSymbolConversion->setCheckable(true);
    mnuReloadSymTable =
        item(mnuSymbolTableSelections, "mnuReloadSymTable", QStringLiteral("&Reload Symbol Table"));
    mnuSymbolTable =
        item(mnuSymbolTableSelections, "mnuSymbolTable", QStringLiteral("&Edit Symbol Table"));

    mnuView = menu("mnuView", QStringLiteral("&View"));
    mnuViewDetails = item(mnuView, "mnuViewDetails", QStringLiteral("&Details"));
    mnuViewDetails->setCheckable(true);

    helpMnu = menu("helpMnu", QStringLiteral("&Help"));
    mnuAbout = item(helpMnu, "mnuAbout", QStringLiteral("&About"));
    mnuHelpDoc = item(helpMnu, "mnuHelpDoc", QStringLiteral("&Description"));
    mnuDeviceSelection = item(helpMnu, "mnuDeviceSelection", QStringLiteral("De&vice Selection"));
    mnuExportFavoritesHelp = item(helpMnu, "mnuExportFavoritesHelp",
                                  QStringLiteral("&How to select favorites or tracks to export"));
    mnuHelpMarkNewFavorites =
        item(helpMnu, "mnuHelpMarkNewFavorites", QStringLiteral("&Mark New Favorites"));
    mnuHelpSaveFavorites = item(helpMnu, "mnuHelpSaveFavorites", QStringLiteral("&Save Favorites"));
    mnuHelpSymbolTable = item(helpMnu, "mnuHelpSymbolTable", QStringLiteral("S&ymbol Table"));
}

void frmForm1::connectHandlers() {
    connect(mnuOpen, &QAction::triggered, this, &frmForm1::mnuOpen_Click);
    connect(mnuCopyNuvi, &QAction::triggered, this, &frmForm1::mnuCopyNuvi_Click);
    connect(mnuExit, &QAction::triggered, this, &frmForm1::mnuExit_Click);
    connect(mnuSelectTracks, &QAction::triggered, this, &frmForm1::mnuSelectTracks_Click);
    connect(mnuSelectFavorites, &QAction::triggered, this, &frmForm1::mnuSelectFavorites_Click);
    connect(mnuMarkNewFavorites, &QAction::triggered, this, &frmForm1::mnuMarkNewFavorites_Click);
    connect(mnuSelectAllItems, &QAction::triggered, this, &frmForm1::mnuSelectAllItems_Click);
    connect(mnuUnselectAllItems, &QAction::triggered, this, &frmForm1::mnuUnselectAllItems_Click);
    connect(mnuSaveFavorites, &QAction::triggered, this, &frmForm1::mnuSaveFavorites_Click);
    connect(mnuExport, &QAction::triggered, this, &frmForm1::mnuExport_Click);
    connect(mnuCreateNewUser, &QAction::triggered, this, &frmForm1::mnuCreateNewUser_Click);
    connect(mnuSwitchDevice, &QAction::triggered, this, &frmForm1::mnuSwitchDevice_Click);
    connect(mnuWithSymbolConversion, &QAction::triggered, this,
            &frmForm1::mnuWithSymbolConversion_Click);
    connect(mnuWithOutSymbolConversion, &QAction::triggered, this,
            &frmForm1::mnuWithOutSymbolConversion_Click);
    connect(mnuReloadSymTable, &QAction::triggered, this, &frmForm1::mnuReloadSymTable_Click);
    connect(mnuSymbolTable, &QAction::triggered, this, &frmForm1::mnuSymbolTable_Click);
    connect(mnuAbout, &QAction::triggered, this, &frmForm1::mnuAbout_Click);
    connect(mnuHelpDoc, &QAction::triggered, this, [] { showHelpWindow(HelpPage::Description); });
    connect(mnuDeviceSelection, &QAction::triggered, this,
            [] { showHelpWindow(HelpPage::DeviceSelection); });
    connect(mnuExportFavoritesHelp, &QAction::triggered, this,
            [] { showHelpWindow(HelpPage::ExportFavorites); });
    connect(mnuHelpMarkNewFavorites, &QAction::triggered, this,
            [] { showHelpWindow(HelpPage::MarkNewFavorites); });
    connect(mnuHelpSaveFavorites, &QAction::triggered, this,
            [] { showHelpWindow(HelpPage::SaveFavorites); });
    connect(mnuHelpSymbolTable, &QAction::triggered, this,
            [] { showHelpWindow(HelpPage::SymbolTable); });

    connect(Drive1, &DriveListBox::Change, this, &frmForm1::Drive1_Change);
    connect(Dir1, &DirListBox::Change, this, &frmForm1::Dir1_Change);
    connect(File1, &FileListBox::Click, this, &frmForm1::File1_Click);
    connect(Grid1, &FlexGrid::Click, this, &frmForm1::Grid1_Click);
    // The heading follows the selection however it changes: a click, the arrow keys, or a
    // Ctrl+click that clears it.
    connect(lstDevice, &QListWidget::itemSelectionChanged, this, &frmForm1::lstDevice_Click);
    connect(lstDevice, &QListWidget::itemDoubleClicked, this, &frmForm1::lstDevice_DblClick);
    connect(lstDevice, &QListWidget::itemActivated, this, [this] {
        // Enter on a selected name takes it, as OK does.
        if (QApplication::mouseButtons() == Qt::NoButton)
            btnOK_Click();
    });
    connect(btnOK, &QPushButton::clicked, this, &frmForm1::btnOK_Click);
    connect(btnCANCEL, &QPushButton::clicked, this, &frmForm1::btnCANCEL_Click);
}

void frmForm1::connectKeys() {
    // Shortcuts of their own rather than the items' shortcuts: a key reaches an item only
    // while the item and its menu are usable, as a click does.
    auto key = [this](const QKeySequence& keys, QAction* item, QMenu* menu) {
        connect(new QShortcut(keys, this), &QShortcut::activated, item, [item, menu] {
            if (item->isEnabled() && (!menu || menu->isEnabled()))
                item->trigger();
        });
    };
    key(QKeySequence(Qt::CTRL | Qt::Key_O), mnuOpen, mnuFile);
    key(QKeySequence(Qt::CTRL | Qt::Key_E), mnuExport, nullptr);
    key(QKeySequence(Qt::CTRL | Qt::Key_Q), mnuExit, mnuFile);
    key(QKeySequence(Qt::CTRL | Qt::Key_A), mnuSelectAllItems, mnuSelections);
    key(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_A), mnuUnselectAllItems, mnuSelections);
    key(QKeySequence(Qt::Key_F1), mnuHelpDoc, helpMnu);
    // Space marks the current row, as a click on it does.
    connect(Grid1, &FlexGrid::KeyPress, this, [this](QChar key) {
        if (key == QLatin1Char(' '))
            Grid1_Click();
    });
}

void frmForm1::setStatus(const QString& text) {
    txtStatus->setText(text);
    txtStatus->setCursorPosition(0);
}

void frmForm1::setStatus(const QString& text, const QColor& colour) {
    QPalette palette = txtStatus->palette();
    palette.setColor(QPalette::Base, colour);
    palette.setColor(QPalette::Text, Qt::black);
    txtStatus->setPalette(palette);
    setStatus(text);
}

void frmForm1::setMenuEnabled(QMenu* menu, bool enabled) {
    menu->setEnabled(enabled);
    menu->menuAction()->setEnabled(enabled);
}

void frmForm1::DoEvents() {
    QCoreApplication::processEvents();
}

QString frmForm1::SourceGpxFile() const {
    return QDir(CurrentFolder).filePath(SourceFileName);
}

bool frmForm1::SymbolConversion() const {
    return mnuWithSymbolConversion->isChecked();
}

void frmForm1::Form_Load() {
    BuildDate = QStringLiteral("08/05/2010");

    // The notice always shows the copyright sign as its 11th character.
    QString notice = copyright->text();
    if (notice.size() >= 11)
        notice[10] = QChar(169);
    copyright->setText(notice);

    const QString root = Workspace::rootPath();
    Workspace::MakeFolder(root);
    if (!QFileInfo(root).isDir()) {
        m_workspaceUsable = false;
        Dialogs::MsgBox(nullptr, QStringLiteral("The workspace folder %1 can neither be found nor "
                                                "created, so no device can be used.")
                                     .arg(Workspace::displayPath(root)));
    } else {
        Workspace::removeLeftovers();
    }

    CurrentFolder = root;
    SourceFileName.clear();
    selectDriveOf(CurrentFolder);
    Dir1->setPath(CurrentFolder); // the file list follows it
    Drive1->hide();
    Dir1->hide();
    File1->hide();

    Dir2->setPath(CurrentFolder);
    Dir2->hide();
    lstDevice->hide();
    lblDevice->hide();

    ItemsLoaded = false;
    TracksLoaded = false;
    InHeader = false;

    mnuCopyNuvi->setEnabled(false);
    setMenuEnabled(mnuSelections, false);
    mnuExport->setEnabled(false);
    mnuSaveFavorites->setEnabled(false);
    mnuMarkNewFavorites->setEnabled(false);
    mnuSelectAllItems->setEnabled(false);
    mnuUnselectAllItems->setEnabled(false);

    Grid1->hide();
    Grid2->hide();
    txtStatus->hide();

    mnuOpen->setEnabled(false);
    setMenuEnabled(mnuSymbolTableSelections, false);
    mnuSwitchDevice->setEnabled(false);

    DeviceFolder.clear();

    // The device decision: three tests, each on a fresh count of the device folders.
    if (m_workspaceUsable) {
        refreshDevices();
        if (Workspace::deviceNames().isEmpty())
            mnuCreateNewUser_Click();
        const QStringList devices = Workspace::deviceNames();
        if (devices.size() == 1)
            takeDevice(QDir(root).filePath(devices.first()));
        if (Workspace::deviceNames().size() > 1)
            mnuSwitchDevice_Click();
    }

    setStatus(QStringLiteral("Select drive, folder and file."), StatusColours::yellow());
    m_startupDone = true;
}

void frmForm1::takeDevice(const QString& folder) {
    CurrentFolder = folder;
    DeviceFolder = CurrentFolder;
    CurrentFolder = m_settings->folderFor(DeviceFolder);
    selectDriveOf(CurrentFolder);
    setWindowTitle(QStringLiteral("Tarnwick - Device = ") + QFileInfo(DeviceFolder).fileName());
    reportDevice();
    mnuOpen_Click();
    choosePendingSource();
}

void frmForm1::refreshDevices() {
    Dir2->setPath(Workspace::rootPath()); // read anew each time
}

void frmForm1::selectDriveOf(const QString& folder) {
    Drive1->rememberFolder(folder);
    Drive1->setDrive(folder);
}

void frmForm1::mnuAbout_Click() {
    const QString notice = Copyright::notice();
    const QString text = QStringLiteral("Tarnwick.\r\n\r\n") + notice.left(10) + QChar(169) +
                         notice.mid(11) + QStringLiteral("\r\n\r\nCompiled ") + BuildDate;
    Dialogs::MsgBox(this, text);
}

void frmForm1::mnuExit_Click() {
    close();
}

void frmForm1::closeEvent(QCloseEvent* event) {
    // Form_Unload: a load that is still reading stops at its next block, and its file is
    // closed as its command unwinds. The close is never refused.
    m_unloading = true;
    event->accept();
}

// ---- Source file choice -------------------------------------------------------------------

void frmForm1::mnuOpen_Click() {
    cancelLoad();
    File1->setPattern(QStringLiteral("*.GPX"));
    Dir1->setPath(CurrentFolder);
    File1->setPath(Dir1->Path());
    Drive1->show();
    Dir1->show();
    File1->show();
    Grid1->hide();
    txtStatus->show();
    mnuExport->setEnabled(false);
    mnuSaveFavorites->setEnabled(false);
    mnuMarkNewFavorites->setEnabled(false);
    mnuSelectAllItems->setEnabled(false);
    mnuUnselectAllItems->setEnabled(false);
    setMenuEnabled(mnuSymbolTableSelections, true);
    symtable::SymbolTablePath = symtable::tablePathIn(DeviceFolder);
}

void frmForm1::Drive1_Change() {
    Dir1->setPath(Drive1->currentFolderOf(Drive1->Drive()));
}

void frmForm1::Dir1_Change() {
    File1->setPath(Dir1->Path());
    CurrentFolder = Dir1->Path();
    Drive1->rememberFolder(CurrentFolder);
    setStatus(QDir::toNativeSeparators(CurrentFolder));
}

void frmForm1::reportDevice() {
    m_reports->say(
        QStringLiteral("Working with the device %1 in %2")
            .arg(QFileInfo(DeviceFolder).fileName(), Workspace::displayPath(DeviceFolder)));
}

void frmForm1::File1_Click() {
    const QString clicked = File1->FileName();
    if (clicked.isEmpty())
        return;
    mnuOpen->setEnabled(true);
    Drive1->hide();
    Dir1->hide();
    File1->hide();
    SourceFileName = clicked;
    m_settings->rememberFolder(DeviceFolder, CurrentFolder);
    setStatus(SourceFileName, StatusColours::cyan());
    mnuCopyNuvi->setEnabled(true);
    setMenuEnabled(mnuSelections, true);
    m_reports->say(
        QStringLiteral("Chose %1 as the source").arg(Workspace::displayPath(SourceGpxFile())));
    Grid2->hide();
    LoadSymbolTable();
}

void frmForm1::chooseSourceFile(const QString& path) {
    m_pendingSource = path;
    if (!DeviceFolder.isEmpty())
        choosePendingSource();
}

void frmForm1::choosePendingSource() {
    const QFileInfo file(std::exchange(m_pendingSource, QString()));
    if (file.filePath().isEmpty())
        return;
    // The lists go to the file's folder as the user would take them there, then the name is
    // clicked; a name the list does not show (not a GPX file) leaves the lists open there.
    selectDriveOf(file.absolutePath());
    Dir1->setPath(file.absolutePath());
    File1->refresh(); // the folder may be the one shown, the file new in it
    // The name as asked for, else as the folder holds it in other letters, where the file
    // system ignores case ("current.gpx" for Current.gpx on a unit's drive under Windows).
    QList<QListWidgetItem*> found = File1->findItems(file.fileName(), Qt::MatchExactly);
    if (found.isEmpty())
        found = File1->findItems(file.fileName(), Qt::MatchFixedString);
    if (found.isEmpty())
        return;
    File1->setCurrentItem(found.first());
    File1_Click();
}

void frmForm1::mnuCopyNuvi_Click() {
    setStatus(QStringLiteral("  Please open a file first."));
    if (SourceFileName.isEmpty()) {
        m_reports->failed(QStringLiteral("Copy"), QStringLiteral("no source file is chosen"));
        return;
    }
    QFile source(SourceGpxFile());
    if (!openSourceFile(source)) {
        m_reports->failed(QStringLiteral("Copy"), sourceOpenError(source));
        Dialogs::MsgBox(this, QStringLiteral("File ") + SourceFileName +
                                  QStringLiteral("can't be copied."));
        SourceFileName.clear();
        return;
    }
    setStatus(QStringLiteral("Copying...."), StatusColours::yellow());
    DoEvents();
    const DatedCopy::Result result =
        DatedCopy::copyInto(source, DeviceFolder, QDateTime::currentDateTime());
    if (!result.error.isEmpty()) {
        m_reports->failed(QStringLiteral("Copy"), result.error);
        Dialogs::MsgBox(this, QStringLiteral("The copy of %1 could not be made in %2:\r\n%3")
                                  .arg(QDir::toNativeSeparators(source.fileName()),
                                       QDir::toNativeSeparators(DeviceFolder), result.error));
        return;
    }
    setStatus(QStringLiteral("Copying is Done"), StatusColours::cyan());
    m_reports->copied(result.path, result.existed);
    File1->refresh(); // the copy shows when the list is on the device's folder
}

// ---- Symbol table -------------------------------------------------------------------------

void frmForm1::LoadSymbolTable() {
    symtable::SymbolTablePath = symtable::tablePathIn(DeviceFolder);
    Grid2->setRows(0);
    const QString path = symtable::SymbolTablePath;
    const symtable::ReadResult table = symtable::readOrCreate(path);
    if (table.createFailed) {
        Dialogs::MsgBox(this, QStringLiteral("The symbol table %1 is missing and can't be "
                                             "created:\r\n%2")
                                  .arg(QDir::toNativeSeparators(path), table.error));
        return;
    }
    if (!table.error.isEmpty()) {
        Dialogs::MsgBox(this, QStringLiteral("The symbol table %1 can't be read:\r\n%2")
                                  .arg(QDir::toNativeSeparators(path), table.error));
        return;
    }
    QList<QStringList> rows;
    rows.reserve(table.pairs.size());
    for (const SymbolPair& pair : table.pairs)
        rows.append({pair.nuvi, pair.delorme});
    Grid2->gridModel()->appendRows(rows);
}

void frmForm1::mnuReloadSymTable_Click() {
    LoadSymbolTable();
}

void frmForm1::mnuSymbolTable_Click() {
    showSymbolTableEditor(symtable::SymbolTablePath);
}

void frmForm1::mnuWithSymbolConversion_Click() {
    mnuWithSymbolConversion->setChecked(true);
    mnuWithOutSymbolConversion->setChecked(false);
}

void frmForm1::mnuWithOutSymbolConversion_Click() {
    mnuWithSymbolConversion->setChecked(false);
    mnuWithOutSymbolConversion->setChecked(true);
}
