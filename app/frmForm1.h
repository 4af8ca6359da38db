#pragma once

#include <QByteArrayView>
#include <QList>
#include <QMainWindow>
#include <QPair>
#include <QStringList>

#include <functional>

class QAction;
class QFile;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class QPushButton;
class DirListBox;
class DriveListBox;
class FileListBox;
class FlexGrid;
class StatusReports;
class WindowSettings;

// The main window: the program's whole working surface and its start-up form. It holds the
// state that all commands share (the window-level variables below, the enabled and checked
// states of its menu items, the cells of its two grids) and one handler per command.
//
// Constructing it builds the window and runs the start-up (Form_Load), including the device
// decision, whose input box appears before the window is first shown.
class frmForm1 : public QMainWindow {
    Q_OBJECT
public:
    explicit frmForm1(QWidget* parent = nullptr);
    ~frmForm1() override;

    // True once the user left the start-up device choice without taking a device: the
    // program ends, even if the window was never shown.
    bool programEnded() const { return m_programEnded; }
    // True while a favorites or tracks load is reading its file.
    bool loading() const { return m_activeLoad != 0; }
    // How often a running load appends its rows and lets the window repaint. A slow unit
    // makes every load a long one; tests shorten the interval to meet a load mid-way.
    void setRepaintInterval(qint64 milliseconds) { m_repaintMilliseconds = milliseconds; }

    // Window-level variables.
    bool ItemsLoaded = false;
    bool TracksLoaded = false;
    bool InHeader = false;
    QString CurrentFolder;
    QString DeviceFolder;
    QString SourceFileName;
    QString ExportName;
    QString HeaderText;
    QString BuildDate;
    QString LoadStartTime;

    // Controls.
    QLineEdit* txtStatus;
    DriveListBox* Drive1;
    DirListBox* Dir1;
    FileListBox* File1;
    FlexGrid* Grid1;
    FlexGrid* Grid2;
    QLabel* lblDevice;
    QListWidget* lstDevice;
    QPushButton* btnOK;
    QPushButton* btnCANCEL;
    DirListBox* Dir2;
    QListWidget* lstList1;
    QLabel* copyright;

    // Menus and menu items.
    QMenu* mnuFile;
    QAction* mnuOpen;
    QAction* mnuCopyNuvi;
    QAction* mnuExit;
    QMenu* mnuSelections;
    QAction* mnuSelectTracks;
    QAction* mnuSelectFavorites;
    QAction* mnuX1;
    QAction* mnuMarkNewFavorites;
    QAction* mnuSelectAllItems;
    QAction* mnuUnselectAllItems;
    QAction* mnuX2;
    QAction* mnuSaveFavorites;
    QAction* mnuExport;
    QMenu* mnuUsers;
    QAction* mnuCreateNewUser;
    QAction* mnuSwitchDevice;
    QMenu* mnuSymbolTableSelections;
    QAction* mnuWithSymbolConversion;
    QAction* mnuWithOutSymbolConversion;
    QAction* mnuReloadSymTable;
    QAction* mnuSymbolTable;
    QMenu* mnuView;
    QAction* mnuViewDetails;
    QMenu* helpMnu;
    QAction* mnuAbout;
    QAction* mnuHelpDoc;
    QAction* mnuDeviceSelection;
    QAction* mnuExportFavoritesHelp;
    QAction* mnuHelpMarkNewFavorites;
    QAction* mnuHelpSaveFavorites;
    QAction* mnuHelpSymbolTable;

    // Start-up and the window's own commands.
    void Form_Load();
    void mnuExit_Click();
    void mnuAbout_Click();

    // Devices.
    void mnuSwitchDevice_Click();
    void lstDevice_Click();
    void lstDevice_DblClick();
    void btnOK_Click();
    void btnCANCEL_Click();
    void mnuCreateNewUser_Click();

    // Source file choice.
    void mnuOpen_Click();
    void Drive1_Change();
    void Dir1_Change();
    void File1_Click();
    void mnuCopyNuvi_Click();
    // Chooses a file as the source as a click on it in the file list does, once a device is
    // taken: at once when one is, otherwise as soon as the device choice takes one.
    void chooseSourceFile(const QString& path);

    // Items.
    void mnuSelectFavorites_Click();
    void mnuSelectTracks_Click();
    void Grid1_Click();
    void mnuSelectAllItems_Click();
    void mnuUnselectAllItems_Click();

    // Export and symbol table.
    void mnuExport_Click();
    void mnuWithSymbolConversion_Click();
    void mnuWithOutSymbolConversion_Click();
    void LoadSymbolTable();
    void mnuReloadSymTable_Click();
    void mnuSymbolTable_Click();

    // Favorites history.
    void mnuSaveFavorites_Click();
    void mnuMarkNewFavorites_Click();

    // Whether symbol conversion is on: the check mark of "Export With Symbol Conversion".
    bool SymbolConversion() const;

    // Each track row's name as the source stores it, by grid row (entry 0 unused).
    const QStringList& trackSourceNames() const { return m_trackSourceNames; }

    // The status bar's plain-words report of the last command.
    const StatusReports* statusReports() const { return m_reports; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildControls();
    void buildMenus();
    void connectHandlers();
    void connectKeys();

    // The status line: a text alone keeps the colour; with a colour it sets both.
    void setStatus(const QString& text);
    void setStatus(const QString& text, const QColor& colour);
    void setMenuEnabled(QMenu* menu, bool enabled);
    // Selects the drive that holds the folder, making the folder that drive's current one.
    void selectDriveOf(const QString& folder);
    // Says in the status bar which device is taken.
    void reportDevice();
    // Takes a device folder as the current device: caption, lists, Open.
    void takeDevice(const QString& folder);
    // Re-reads the device folders into the hidden folder list.
    void refreshDevices();
    // The source file: the folder of the lists plus the chosen name.
    QString SourceGpxFile() const;
    // Keeps the second load, Export and the favorites commands from starting while a load
    // reads its file, and gives them back their states when it ends.
    // beginLoad returns the load's number, which stays current until the load ends or is
    // cancelled; a load started from the window events that a cancelled one let run gets a
    // number of its own, so the cancelled one can never add rows to its grid.
    quint64 beginLoad();
    void endLoad();
    bool isCurrentLoad(quint64 load) const { return load != 0 && load == m_activeLoad; }
    // Ends a running load at its next block, for a command that takes its grid or its
    // device away (Open, Switch Device, OK). The held commands get their states back at
    // once, so whatever the command then does to them holds; the stopped load shows no
    // result, and a tracks load keeps the earlier scratch file.
    void cancelLoad();
    // Takes the device that was just created when none is taken yet.
    void takeCreatedDevice(const QString& name);
    void prepareGrid(bool tracks);
    // Lets pending window events run (the status repaints, the grid can be clicked).
    void DoEvents();
    // Opens the chosen source for a load; when it can't be, says so and forgets the file.
    bool openSource(QFile& source);
    // Feeds the source to a scanner in blocks until feed returns false or the file ends,
    // appending the rows found so far and letting the window repaint at least every 50 ms.
    // False when a read failed; the rows read until then stay.
    bool readSource(quint64 load, QFile& source, const std::function<bool(QByteArrayView)>& feed,
                    const std::function<void()>& appendRows);
    void reportReadError(const QString& path, const QString& reason);
    void choosePendingSource();

    StatusReports* m_reports = nullptr;
    WindowSettings* m_settings = nullptr;
    bool m_programEnded = false;
    // The start-up decision is over: a device created from now on is the user's own doing.
    bool m_startupDone = false;
    quint64 m_activeLoad = 0;
    quint64 m_loadsStarted = 0;
    qint64 m_repaintMilliseconds = 50;
    bool m_unloading = false;
    bool m_workspaceUsable = true;
    // The commands a load holds back while it runs, with the states they get back after it.
    QList<QPair<QAction*, bool>> m_heldDuringLoad;
    // The file given to be chosen as the source once a device is taken.
    QString m_pendingSource;
    // Each track row's name as the source stores it, by grid row.
    QStringList m_trackSourceNames;
};
