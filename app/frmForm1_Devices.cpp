// The main window's device commands: choosing, switching and creating a device.

#include "app/frmForm1.h"

#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileListBox.h"
#include "app/StatusColours.h"
#include "app/WindowSettings.h"
#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/symtable.h"
#include "text/TextHelpers.h"
#include "workspace/SafeFileName.h"
#include "workspace/Workspace.h"

#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include <algorithm>

#include <filesystem>
#include <system_error>

void frmForm1::mnuSwitchDevice_Click() {
    cancelLoad();
    Dir2->hide();
    refreshDevices();
    Grid1->hide();
    Drive1->hide();
    Dir1->hide();
    File1->hide();
    mnuExport->setEnabled(false);
    mnuSaveFavorites->setEnabled(false);
    mnuMarkNewFavorites->setEnabled(false);
    mnuSelectAllItems->setEnabled(false);
    mnuUnselectAllItems->setEnabled(false);

    lstDevice->clear();
    lstDevice->addItems(Workspace::deviceNames());
    lstDevice->setCurrentRow(-1); // nothing picked: a list filled anew has no selection

    lstDevice->show();
    lblDevice->setText(QStringLiteral("SELECT DEVICE"));
    lblDevice->show();
    btnOK->show();
    btnCANCEL->show();
    lstDevice->setFocus();
}

void frmForm1::lstDevice_Click() {
    const QList<QListWidgetItem*> selected = lstDevice->selectedItems();
    lblDevice->setText(selected.isEmpty() ? QStringLiteral("SELECT DEVICE")
                                          : selected.first()->text());
}

bool frmForm1::eventFilter(QObject* watched, QEvent* event) {
    // Focus makes the first name current without selecting it; the first arrow key then
    // selects that name instead of skipping it.
    if (watched == lstDevice && event->type() == QEvent::KeyPress &&
        lstDevice->selectedItems().isEmpty() && lstDevice->count() > 0) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Down || key == Qt::Key_Up) {
            const int row = lstDevice->currentRow() < 0 ? 0 : lstDevice->currentRow();
            lstDevice->setCurrentRow(row, QItemSelectionModel::ClearAndSelect);
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmForm1::lstDevice_DblClick() {
    btnOK_Click();
}

void frmForm1::btnOK_Click() {
    // Without a selected name there is no device to take: the choice stays open.
    const QList<QListWidgetItem*> selected = lstDevice->selectedItems();
    if (selected.isEmpty()) {
        Dialogs::MsgBox(this, QStringLiteral("No device is selected. Click a device name in "
                                             "the list, then OK."));
        return;
    }
    cancelLoad();
    const QString name = selected.first()->text();

    lstDevice->hide();
    lblDevice->hide();
    btnOK->hide();
    btnCANCEL->hide();

    const QString folder = QDir(Workspace::rootPath()).filePath(name);
    Workspace::MakeFolder(folder);
    refreshDevices();
    SourceFileName.clear();

    txtStatus->show();
    mnuOpen->setEnabled(true);
    setMenuEnabled(mnuSymbolTableSelections, true);
    mnuSwitchDevice->setEnabled(true);
    mnuCopyNuvi->setEnabled(false);
    takeDevice(folder);
}

void frmForm1::btnCANCEL_Click() {
    lstDevice->hide();
    lblDevice->hide();
    btnOK->hide();
    btnCANCEL->hide();
    txtStatus->show();
    mnuOpen->setEnabled(true);
    setMenuEnabled(mnuSymbolTableSelections, true);
    mnuSwitchDevice->setEnabled(true);
    mnuCopyNuvi->setEnabled(true);
    if (DeviceFolder.isEmpty()) {
        // No device was ever taken: the program ends.
        m_programEnded = true;
        close();
    }
}

void frmForm1::mnuCreateNewUser_Click() {
    // The suggestion is the first Nuvi_N that names no device yet.
    const QStringList devices = Workspace::deviceNames();
    QString suggestion;
    for (int n = 1; suggestion.isEmpty() || devices.contains(suggestion, Qt::CaseInsensitive); ++n)
        suggestion = QStringLiteral("Nuvi_%1").arg(n);
    const QString answer =
        Dialogs::InputBox(isVisible() ? this : nullptr, QStringLiteral("Enter new device name"),
                          QStringLiteral("CREATE NEW DEVICE FOLDER"), suggestion);
    if (answer.isEmpty())
        return;
    // Spaces around a name would make a second folder that looks like the first.
    const QString cleaned = CleanName(answer).trimmed();
    if (!std::any_of(cleaned.begin(), cleaned.end(),
                     [](QChar c) { return c.isLetterOrNumber(); })) {
        Dialogs::MsgBox(this, QStringLiteral("A device name needs letters or digits; \"%1\" has "
                                             "none, so no device was created.")
                                  .arg(answer));
        return;
    }
    const QString name = safeFileName(cleaned);

    const QString root = Workspace::rootPath();
    for (const QString& device : Workspace::deviceNames()) {
        if (device.trimmed().compare(name, Qt::CaseInsensitive) == 0) {
            Dialogs::MsgBox(this, QStringLiteral("The device %1 exists already; it was left as "
                                                 "it is.")
                                      .arg(device));
            return;
        }
    }

    // The user learns the folder's name before it is made, not when looking for it later.
    if (name != cleaned)
        Dialogs::MsgBox(this, QStringLiteral("\"%1\" can't name a folder on every system, so the "
                                             "device folder is named \"%2\".")
                                  .arg(cleaned, name));
    const QString folder = QDir(root).filePath(name);
    std::error_code error;
    if (!std::filesystem::create_directory(std::filesystem::path(folder.toStdU16String()), error)) {
        const QString reason = error ? QString::fromLocal8Bit(error.message().c_str())
                                     : QStringLiteral("An entry of that name exists already.");
        Dialogs::MsgBox(this, QStringLiteral("The device folder %1 can't be created:\r\n%2")
                                  .arg(QDir::toNativeSeparators(folder), reason));
        return;
    }
    const QString tableError = symtable::WriteDefaultSymbolTable(
        QDir(folder).filePath(QString::fromLatin1(symtable::fileName)));
    if (!tableError.isEmpty()) {
        // Nothing half-made stays behind: the folder is empty again and goes.
        QDir().rmdir(folder);
        Dialogs::MsgBox(this, QStringLiteral("The symbol table of the device %1 can't be "
                                             "written:\r\n%2")
                                  .arg(name, tableError));
        return;
    }

    refreshDevices();
    if (!lblDevice->isHidden())
        mnuSwitchDevice_Click();
    if (Workspace::deviceNames().size() > 1)
        mnuSwitchDevice->setEnabled(true);
    if (m_startupDone && DeviceFolder.isEmpty() && lblDevice->isHidden())
        takeCreatedDevice(name);
}

void frmForm1::takeCreatedDevice(const QString& name) {
    // The first start was declined and the user made a device later: it is taken as the
    // start-up takes a single device, so that Open and the Symbol Table menu are usable.
    takeDevice(QDir(Workspace::rootPath()).filePath(name));
    setStatus(QStringLiteral("Select drive, folder and file."), StatusColours::yellow());
}
