// The main window's item commands: loading favorites or tracks into the item grid, marking,
// exporting, and the favorites history.

#include "app/frmForm1.h"

#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileListBox.h"
#include "app/StatusColours.h"
#include "app/StatusReports.h"
#include "dialogs/Dialogs.h"
#include "export/ExportWriter.h"
#include "favorites/FavoritesHistory.h"
#include "items/FavoritesScanner.h"
#include "items/FlexGrid.h"
#include "items/ItemMarks.h"
#include "items/ScratchFile.h"
#include "items/SourceLoad.h"
#include "items/TracksScanner.h"
#include "symbols/symtable.h"
#include "text/TextHelpers.h"
#include "workspace/Workspace.h"

#include <QAction>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QListWidget>
#include <QRegularExpression>
#include <QTime>

namespace {

// Whether a source's names are shown as UTF-8: it declares UTF-8, or no encoding at all (the
// XML default). The header holds the XML declaration.
bool showsUtf8(const QString& header) {
    static const QRegularExpression declared(
        QStringLiteral(R"(<\?xml[^>]*\bencoding\s*=\s*["']([^"']*)["'])"));
    const QRegularExpressionMatch match = declared.match(header);
    if (!match.hasMatch())
        return true;
    const QString encoding = match.captured(1);
    return encoding.compare(QLatin1String("UTF-8"), Qt::CaseInsensitive) == 0 ||
           encoding.compare(QLatin1String("UTF8"), Qt::CaseInsensitive) == 0;
}

QString timeOfDay() {
    return QTime::currentTime().toString(QStringLiteral("HH:mm:ss"));
}

} // namespace

quint64 frmForm1::beginLoad() {
    m_activeLoad = ++m_loadsStarted;
    m_heldDuringLoad.clear();
    for (QAction* item :
         {mnuSelectFavorites, mnuSelectTracks, mnuExport, mnuSaveFavorites, mnuMarkNewFavorites}) {
        m_heldDuringLoad.append({item, item->isEnabled()});
        item->setEnabled(false);
    }
    return m_activeLoad;
}

void frmForm1::endLoad() {
    m_activeLoad = 0;
    for (const auto& [item, enabled] : std::as_const(m_heldDuringLoad))
        item->setEnabled(enabled);
    m_heldDuringLoad.clear();
}

void frmForm1::cancelLoad() {
    if (!loading())
        return;
    endLoad();
    setStatus(QStringLiteral("Loading stopped."), StatusColours::cyan());
    m_reports->say(QStringLiteral("Loading stopped."));
}

void frmForm1::prepareGrid(bool tracks) {
    Grid1->setRows(0);
    Grid1->show();
    // The grid covers the file lists; hidden, they can't choose another source by keyboard
    // under a grid whose rows Export would still write.
    Drive1->hide();
    Dir1->hide();
    File1->hide();
    Grid1->AddItem(QStringLiteral(" "));
    if (tracks) {
        Grid1->setTextMatrix(0, 1, QStringLiteral("TRACK NAME"));
        Grid1->setTextMatrix(0, 2, QStringLiteral("BLANK"));
        Grid1->setColWidth(0, 240);
        Grid1->setColWidth(1, 6240);
        Grid1->setColWidth(2, 0);
        Grid1->setColWidth(3, 0);
    } else {
        Grid1->setTextMatrix(0, 1, QStringLiteral("NAME"));
        Grid1->setTextMatrix(0, 2, QStringLiteral("FAVORITE'S XML CODE"));
        Grid1->setTextMatrix(0, 3, QStringLiteral("SYMBOL"));
        Grid1->setColWidth(0, 240);
        Grid1->setColWidth(1, 4440);
        Grid1->setColWidth(2, 0);
        Grid1->setColWidth(3, 1560);
    }
    m_trackSourceNames = QStringList{QString()};
    Grid1->setDisplayUtf8(false);
}

bool frmForm1::openSource(QFile& source) {
    if (openSourceFile(source))
        return true;
    m_reports->failed(QStringLiteral("Loading"), sourceOpenError(source));
    Dialogs::MsgBox(this,
                    QStringLiteral("File ") + SourceFileName + QStringLiteral("can't be openned."));
    SourceFileName.clear();
    setWindowTitle(QStringLiteral("NOTHING Selected"));
    return false;
}

bool frmForm1::readSource(quint64 load, QFile& source,
                          const std::function<bool(QByteArrayView)>& feed,
                          const std::function<void()>& appendRows) {
    QElapsedTimer sinceRepaint;
    sinceRepaint.start();
    const bool read = m_unloading || readInBlocks(source, feed, [&] {
                          if (sinceRepaint.elapsed() >= m_repaintMilliseconds) {
                              m_reports->loadProgress(source.pos(), source.size());
                              appendRows();
                              DoEvents();
                              sinceRepaint.restart();
                          }
                          return !m_unloading && isCurrentLoad(load);
                      });
    if (!read || isCurrentLoad(load))
        appendRows();
    return read;
}

void frmForm1::reportReadError(const QString& path, const QString& reason) {
    m_reports->failed(QStringLiteral("Loading"), reason);
    Dialogs::MsgBox(this, QStringLiteral("File %1 could not be read to its end:\r\n%2")
                              .arg(QDir::toNativeSeparators(path), reason));
}

void frmForm1::mnuSelectFavorites_Click() {
    if (loading())
        return;
    setStatus(QStringLiteral("  Please open a file first."));
    if (SourceFileName.isEmpty()) {
        m_reports->failed(QStringLiteral("Loading"), QStringLiteral("no source file is chosen"));
        return;
    }
    TracksLoaded = false;
    ItemsLoaded = true;
    mnuExport->setEnabled(true);
    mnuSaveFavorites->setEnabled(true);
    mnuMarkNewFavorites->setEnabled(true);
    mnuSelectAllItems->setEnabled(true);
    mnuUnselectAllItems->setEnabled(true);
    setWindowTitle(QStringLiteral("Favorites Selected"));
    prepareGrid(false);

    const QString path = SourceGpxFile();
    QFile source(path);
    if (!openSource(source))
        return;
    setStatus(QStringLiteral("Reading...."), StatusColours::yellow());
    m_reports->loadStarted(path);
    const quint64 load = beginLoad();

    FavoritesScanner scanner;
    auto appendRows = [this, &scanner] {
        if (scanner.hasHeader())
            Grid1->setDisplayUtf8(showsUtf8(scanner.header()));
        appendFavoriteRows(*Grid1->gridModel(), scanner.takeItems());
    };
    const bool readFailed = !readSource(
        load, source, [&scanner](QByteArrayView bytes) { return scanner.feed(bytes); }, appendRows);
    // A cancelled load leaves everything to the command that cancelled it.
    if (!isCurrentLoad(load))
        return;
    if (scanner.hasHeader())
        HeaderText = scanner.header();
    const QString readError = source.errorString();
    source.close();
    endLoad();

    if (readFailed) {
        reportReadError(path, readError);
        return;
    }
    if (m_unloading)
        return;
    setStatus(QStringLiteral("Finished Loading Favorites"), StatusColours::cyan());
    m_reports->loaded(false);
    Grid1->setFixedRows(1);
}

void frmForm1::mnuSelectTracks_Click() {
    if (loading())
        return;
    setStatus(QStringLiteral("  Please open a file first."));
    if (SourceFileName.isEmpty()) {
        m_reports->failed(QStringLiteral("Loading"), QStringLiteral("no source file is chosen"));
        return;
    }
    ItemsLoaded = true;
    TracksLoaded = true;
    InHeader = true;
    mnuExport->setEnabled(true);
    mnuSelectAllItems->setEnabled(true);
    mnuUnselectAllItems->setEnabled(true);
    mnuSaveFavorites->setEnabled(false);
    mnuMarkNewFavorites->setEnabled(false);
    setWindowTitle(QStringLiteral("Tracks Selected"));
    prepareGrid(true);

    const QString path = SourceGpxFile();
    QFile source(path);
    if (!openSource(source))
        return;

    // The scratch file replaces the earlier one only once the load has written it.
    const QString scratchPath = scratchPathIn(DeviceFolder);
    ScratchFile scratch(scratchPath);
    if (const QString reason = scratch.open(); !reason.isEmpty()) {
        m_reports->failed(QStringLiteral("Loading"), reason);
        Dialogs::MsgBox(this, QStringLiteral("The track scratch file %1 can't be created:\r\n%2")
                                  .arg(QDir::toNativeSeparators(scratchPath), reason));
        return;
    }

    setStatus(QStringLiteral("Reading...."), StatusColours::yellow());
    m_reports->loadStarted(path);
    LoadStartTime = timeOfDay();
    HeaderText.clear();
    const quint64 load = beginLoad();

    TracksScanner scanner(&scratch.file());
    auto appendRows = [this, &scanner] {
        if (scanner.hasHeader())
            Grid1->setDisplayUtf8(showsUtf8(scanner.header()));
        const QList<TrackItem> items = scanner.takeItems();
        if (items.isEmpty())
            return;
        for (const TrackItem& item : items)
            m_trackSourceNames.append(item.sourceName);
        Grid1->gridModel()->appendRows(trackRows(items));
    };
    const bool readFailed = !readSource(
        load, source, [&scanner](QByteArrayView bytes) { return scanner.feed(bytes); }, appendRows);
    // A cancelled load leaves everything to the command that cancelled it, and its scratch
    // file is dropped.
    if (!isCurrentLoad(load))
        return;
    if (scanner.hasHeader())
        HeaderText = scanner.header();
    InHeader = !scanner.hasHeader();
    const QString readError = source.errorString();
    source.close();
    // A failed read leaves the earlier scratch file in place; so does a failure to write out
    // the last bytes (a full disk) or to rename.
    QString writeError;
    if (!readFailed)
        writeError = scanner.finish() ? scratch.place() : scanner.writeError();
    const bool written = !readFailed && writeError.isEmpty();
    endLoad();

    if (readFailed) {
        reportReadError(path, readError);
        return;
    }
    if (!written) {
        m_reports->failed(QStringLiteral("Loading"), writeError);
        Dialogs::MsgBox(this, QStringLiteral("The track scratch file %1 could not be "
                                             "written:\r\n%2")
                                  .arg(QDir::toNativeSeparators(scratchPath), writeError));
        return;
    }
    if (m_unloading)
        return;
    setStatus(QStringLiteral("Finished loading tracks ") + LoadStartTime + QLatin1Char(' ') +
                  timeOfDay(),
              StatusColours::cyan());
    m_reports->loaded(true);
    if (Grid1->Rows() > 1)
        Grid1->setFixedRows(1);
}

void frmForm1::Grid1_Click() {
    const int row = Grid1->Row();
    if (row <= 0)
        return;
    Grid1->setTextMatrix(row, 0, toggledMark(Grid1->TextMatrix(row, 0)));
}

void frmForm1::mnuSelectAllItems_Click() {
    setAllMarks(*Grid1->gridModel(), QStringLiteral("X"));
}

void frmForm1::mnuUnselectAllItems_Click() {
    setAllMarks(*Grid1->gridModel(), QStringLiteral(" "));
}

void frmForm1::mnuExport_Click() {
    if (loading())
        return;
    if (SourceFileName.isEmpty()) {
        m_reports->failed(QStringLiteral("Export"), QStringLiteral("no source file is chosen"));
        Dialogs::MsgBox(this, QStringLiteral("Select a GPX file."));
        mnuOpen_Click();
        return;
    }
    if (!ItemsLoaded) {
        m_reports->failed(QStringLiteral("Export"), QStringLiteral("nothing is loaded"));
        Dialogs::MsgBox(this, QStringLiteral("Select favorites or tracks first.\r\nSee Selections "
                                             "menu."));
        return;
    }
    const MarkedItems marked = markedItems(*Grid1->gridModel());
    ExportName = marked.firstName;
    if (!marked.any) {
        m_reports->failed(QStringLiteral("Export"), QStringLiteral("no item is marked"));
        Dialogs::MsgBox(this, QStringLiteral("Please select an item first."));
        return;
    }

    const QString outputFolder = outputFolderIn(DeviceFolder);
    Workspace::MakeFolder(outputFolder);
    setStatus(QStringLiteral("EXPORTING"), StatusColours::yellow());
    DoEvents();
    // A drive's root keeps its separator: "E:" alone is the current folder of drive E.
    if (CurrentFolder.endsWith(QLatin1Char('/')) && !QDir(CurrentFolder).isRoot())
        CurrentFolder.chop(1);
    ExportName = CleanName(ExportName);

    ExportResult result;
    QList<SymbolPair> table;
    if (TracksLoaded) {
        result = exportTracks(outputFolder, ExportName, HeaderText, *Grid1->gridModel(),
                              m_trackSourceNames, scratchPathIn(DeviceFolder));
    } else {
        table.reserve(Grid2->Rows());
        for (int row = 0; row < Grid2->Rows(); ++row)
            table.append({Grid2->TextMatrix(row, 0), Grid2->TextMatrix(row, 1)});
        result = exportFavorites(outputFolder, ExportName, HeaderText, *Grid1->gridModel(),
                                 SymbolConversion() ? &table : nullptr);
    }
    if (!result.error.isEmpty())
        m_reports->failed(QStringLiteral("Export"), result.error);
    if (result.scratchUnreadable) {
        Dialogs::MsgBox(this, QStringLiteral("File ") + SourceFileName +
                                  QStringLiteral("can't be openned."));
        return;
    }
    if (!result.error.isEmpty()) {
        Dialogs::MsgBox(this, QStringLiteral("The export file could not be written in %1:\r\n%2")
                                  .arg(QDir::toNativeSeparators(outputFolder), result.error));
        return;
    }
    ExportName = QFileInfo(result.path).completeBaseName();
    setStatus(QStringLiteral("EXPORT IS DONE"), StatusColours::cyan());
    m_reports->exported(result.path, TracksLoaded || !SymbolConversion() ? nullptr : &table);
}

void frmForm1::mnuSaveFavorites_Click() {
    if (loading())
        return;
    if (SourceFileName.isEmpty()) {
        m_reports->failed(QStringLiteral("Save"), QStringLiteral("no source file is chosen"));
        Dialogs::MsgBox(this, QStringLiteral("Select a GPX file."));
        mnuOpen_Click();
        return;
    }
    if (!ItemsLoaded || TracksLoaded) {
        m_reports->failed(QStringLiteral("Save"), QStringLiteral("no favorites are loaded"));
        Dialogs::MsgBox(this, QStringLiteral("Select favorites first.\r\nSee Selections menu."));
        return;
    }
    setStatus(QStringLiteral("Saving Favorites"), StatusColours::yellow());
    DoEvents();
    const QString path = favoritesPathIn(DeviceFolder);
    const QString error = saveFavorites(path, *Grid1->gridModel());
    if (!error.isEmpty()) {
        m_reports->failed(QStringLiteral("Save"), error);
        Dialogs::MsgBox(this, QStringLiteral("The favorites could not be saved to %1; the earlier "
                                             "file is unchanged:\r\n%2")
                                  .arg(QDir::toNativeSeparators(path), error));
        return;
    }
    setStatus(QStringLiteral("Favorites Saved"), StatusColours::cyan());
    m_reports->saved(path, Grid1->Rows() - 1);
}

void frmForm1::mnuMarkNewFavorites_Click() {
    if (loading())
        return;
    lstList1->clear();
    setStatus(QStringLiteral("Marking New Favorites."), StatusColours::yellow());
    DoEvents();
    const QString path = favoritesPathIn(DeviceFolder);
    const SavedNames saved = readSavedNames(path);
    if (!saved.opened) {
        // The box says what it always said; the status bar says why.
        m_reports->failed(QStringLiteral("Mark New Favorites"),
                          QFileInfo::exists(path)
                              ? saved.error
                              : QStringLiteral("the favorites were never saved"));
        Dialogs::MsgBox(this, QStringLiteral("Favorites must have been saved at some point\r\n"
                                             "before this option will work."));
        return;
    }
    if (!saved.error.isEmpty()) {
        m_reports->failed(QStringLiteral("Mark New Favorites"), saved.error);
        Dialogs::MsgBox(this, QStringLiteral("The saved favorites %1 could not be read:\r\n%2")
                                  .arg(QDir::toNativeSeparators(path), saved.error));
        return;
    }
    lstList1->addItems(saved.names);
    markNewFavorites(*Grid1->gridModel(), saved.names);
    setStatus(QStringLiteral("New favorites marked with an X"), StatusColours::cyan());
    m_reports->markedNew(int(saved.names.size()));
}
