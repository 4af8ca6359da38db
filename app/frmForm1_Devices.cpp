// The main window's device commands: choosing, switching and creating a device.

#include "app/frmForm1.h"

#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileListBox.h"
#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/symtable.h"
#include "text/TextHelpers.h"
#include "workspace/Workspace.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include <filesystem>
#include <system_error>

void frmForm1::mnuSwitchDevice_Click() {
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
    lstDevice->setCurrentRow(-1);
    lstDevice->clearSelection();

    lstDevice->show();
    lblDevice->setText(QStringLiteral("SELECT DEVICE"));
    lblDevice->show();
    btnOK->show();
    btnCANCEL->show();
    lstDevice->setFocus();
}

void frmForm1::lstDevice_Click() {
    const QListWidgetItem* selected = lstDevice->currentItem();
    if (selected)
        lblDevice->setText(selected->text());
}

void frmForm1::lstDevice_DblClick() {
    btnOK_Click();
}

void frmForm1::btnOK_Click() {
    // Without a selected name there is no device to take: the choice stays open.
    const QListWidgetItem* selected = lstDevice->currentItem();
    if (!selected || !selected->isSelected() || selected->text().isEmpty())
        return;
    const QString name = selected->text();

    lstDevice->hide();
    lblDevice->hide();
    btnOK->hide();
    btnCANCEL->hide();

    CurrentFolder = QDir(Workspace::rootPath()).filePath(name);
    DeviceFolder = CurrentFolder;
    Workspace::MakeFolder(DeviceFolder);
    refreshDevices();
    SourceFileName.clear();
    DeviceFolder = CurrentFolder;

    selectDriveOf(CurrentFolder);
    Dir1->setPath(CurrentFolder);
    File1->setPath(Dir1->Path());
    setWindowTitle(QStringLiteral("Tarnwick - Device = ") + QFileInfo(DeviceFolder).fileName());

    txtStatus->show();
    mnuOpen->setEnabled(true);
    setMenuEnabled(mnuSymbolTableSelections, true);
    mnuSwitchDevice->setEnabled(true);
    mnuCopyNuvi->setEnabled(false);
    mnuOpen_Click();
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
    const QString answer =
        Dialogs::InputBox(isVisible() ? this : nullptr, QStringLiteral("Enter new device name"),
                          QStringLiteral("CREATE NEW DEVICE FOLDER"), QStringLiteral("Nuvi_1"));
    if (answer.isEmpty())
        return;
    const QString name = CleanName(answer);
    if (name.isEmpty()) {
        Dialogs::MsgBox(this, QStringLiteral("A device name needs letters or digits; \"%1\" has "
                                             "none, so no device was created.")
                                  .arg(answer));
        return;
    }

    const QString root = Workspace::rootPath();
    for (const QString& device : Workspace::deviceNames()) {
        if (device.compare(name, Qt::CaseInsensitive) == 0) {
            Dialogs::MsgBox(this, QStringLiteral("The device %1 exists already; it was left as "
                                                 "it is.")
                                      .arg(device));
            return;
        }
    }

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
    refreshDevices();
    if (Workspace::deviceNames().size() > 1)
        mnuSwitchDevice->setEnabled(true);
}
