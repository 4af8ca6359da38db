#include "help/HelpPages.h"

#include "text/Copyright.h"
#include "workspace/Workspace.h"

#include <QDir>

namespace {

// A blank line of a page is an item of one space, so that it keeps its height in the list.
const QString blank = QStringLiteral(" ");

QString indent(int spaces, const QString& text) {
    return QString(spaces, QLatin1Char(' ')) + text;
}

QString copyrightLine() {
    return indent(3, Copyright::notice());
}

// The pages tell the user where exports go, so the folder is named the way the user sees the
// workspace root on this system.
QString outputFolderLine() {
    return indent(3, QStringLiteral("The exported file will be located in ") +
                         QDir::toNativeSeparators(Workspace::displayRoot() +
                                                  QStringLiteral("/devicename/output")));
}

QStringList descriptionPage() {
    return {
        blank,
        indent(3, QStringLiteral("This program reads the CURRENT.GPX file from a Nuvi GPS.")),
        blank,
        indent(3, QStringLiteral("The user can select which track(s) or Favorites to export.")),
        blank,
        outputFolderLine(),
        blank,
        indent(3, QStringLiteral("Where: devicename is the name of the selected device.")),
        blank,
        indent(3, QStringLiteral(
                      "The file's name will be similar to the name of the first item with an X.")),
        blank,
        blank,
        copyrightLine(),
    };
}

QStringList deviceSelectionPage() {
    return {
        blank,
        indent(3, QStringLiteral(
                      "In order to work with more than one Nuvi GPS unit, it is neccissary")),
        indent(3, QStringLiteral("to have a separate folder for each device.")),
        blank,
        indent(3, QStringLiteral(
                      "Device selection, listed under the Device option permits the use of")),
        indent(3, QStringLiteral("several devices as needed.")),
        blank,
        indent(3, QStringLiteral(
                      "The user can create new Devices..ie folders for the GPS units which")),
        indent(3, QStringLiteral("can then be selected for the device (GPS unit) being used.")),
        blank,
        blank,
        copyrightLine(),
    };
}

QStringList exportFavoritesPage() {
    return {
        blank,
        indent(3, QStringLiteral("Click on the \"Selections\".")),
        blank,
        indent(3, QStringLiteral("Then click on \"Load Favorites\" or \"Load Tracks\".")),
        blank,
        indent(3, QStringLiteral("Click on the item to be exported.")),
        blank,
        indent(3, QStringLiteral("An X should appear in the first column.")),
        blank,
        indent(3, QStringLiteral("Click it again to remove the X. ")),
        blank,
        indent(3, QStringLiteral("When you are ready to export, click Export.")),
        blank,
        outputFolderLine(),
        blank,
        indent(3, QStringLiteral("Where: devicename is the name of the selected device.")),
        blank,
        indent(3, QStringLiteral(
                      "The file's name will be similar to the name of the first item with an X.")),
        blank,
        blank,
        copyrightLine(),
    };
}

QStringList markNewFavoritesPage() {
    return {
        blank,
        indent(3, QStringLiteral("Click on the \"Selections\".")),
        blank,
        indent(3, QStringLiteral("Then click on \"Load Favorites\".")),
        blank,
        indent(3, QStringLiteral("Then click on \"Mark New Favorites\".")),
        blank,
        indent(3, QStringLiteral("This will put an X in the first column of those favorites that")),
        indent(3, QStringLiteral("are not in the favorites file that was saved earlier.")),
        blank,
        indent(3, QStringLiteral("When you are ready to export, click Export.")),
        blank,
        outputFolderLine(),
        blank,
        indent(3, QStringLiteral("Where: devicename is the name of the selected device.")),
        blank,
        indent(3, QStringLiteral(
                      "The file's name will be similar to the name of the first item with an X.")),
        blank,
        indent(3, QStringLiteral("This function works with the \"Save Favorites\" function.")),
        blank,
        blank,
        copyrightLine(),
    };
}

QStringList saveFavoritesPage() {
    return {
        blank,
        indent(3, QStringLiteral("Click on the \"Selections\".")),
        blank,
        indent(3, QStringLiteral("Then click on \"Save Favorites\".")),
        blank,
        indent(3, QStringLiteral("This will save the favorites into the FAVORITES.TXT file.")),
        blank,
        indent(3, QStringLiteral(
                      "Do this after you have loaded favorites and have finished exporting")),
        indent(3, QStringLiteral("the ones you want.")),
        blank,
        indent(3,
               QStringLiteral("The next time you load favorites, this file will be compared with")),
        indent(3, QStringLiteral("the load to determine which favorites have been added.")),
        blank,
        indent(3, QStringLiteral("This function works with the \"Mark New Favorites\" option.")),
        blank,
        blank,
        copyrightLine(),
    };
}

QStringList symbolTablePage() {
    return {
        indent(2, QStringLiteral(
                      "The symbols that are in a Garmin Nuvi GPS unit do not always match")),
        indent(2, QStringLiteral("the symbols that are available in the GPS program that imports")),
        indent(2, QStringLiteral("the data.")),
        blank,
        indent(2,
               QStringLiteral("To compensate for this, a cross reference table is automatically")),
        indent(2,
               QStringLiteral("created when a new device is added.  This cross reference table")),
        indent(2, QStringLiteral("can be edited by selecting the \"Edit Symbol Table\"")),
        indent(2, QStringLiteral("item on the \"Symbol Table\" pull down menu.")),
        blank,
        indent(2, QStringLiteral(
                      "Select the symbol to be edited and change the item in the box above")),
        indent(2, QStringLiteral("the grid.")),
        blank,
        indent(2, QStringLiteral(
                      "The default symbol table is for use with the Nuvi and with the Delorme")),
        indent(2, QStringLiteral(
                      "map programs.  It has been tested with Street Atlas 2008 and Topo 7.0")),
        blank,
        indent(2, QStringLiteral("The Delorme symbols used are:")),
        indent(2, QStringLiteral("- Some of the default symbols that come with the product.")),
        indent(2, QStringLiteral(
                      "- The Earthmate PN-20 symbols that are loaded if you install it with the")),
        indent(4, QStringLiteral("Delorme Earthmate PN-20 (or simular) GPS unit option.")),
        indent(2, QStringLiteral("- And finally, the QUILLAVERN symbols that are in the")),
        indent(4, QStringLiteral("QUILLAVERN.DIM file.")),
        blank,
        indent(2, QStringLiteral(
                      "The QUILLAVERN.DIM file must be copied by the user into the folder:")),
        indent(2, QStringLiteral("\\delorme docs\\symbols")),
        blank,
        indent(2,
               QStringLiteral("If changes were made that need to be saved, be sure to select the")),
        indent(2, QStringLiteral("\"Save\" option under \"File\".")),
        indent(2, QStringLiteral("The program does NOT remind you to save your changes.")),
        blank,
        blank,
        copyrightLine(),
    };
}

} // namespace

HelpPageInfo helpPageInfo(HelpPage page) {
    switch (page) {
    case HelpPage::Description:
        return {QStringLiteral("frmHelp"), QStringLiteral("Tarnwick Help"), 5670, 4290, 5415, 3570};
    case HelpPage::DeviceSelection:
        return {QStringLiteral("frmHelpDevice"),
                QStringLiteral("How to select new favorites to be exported"),
                5670,
                4695,
                5415,
                3960};
    case HelpPage::ExportFavorites:
        return {QStringLiteral("frmHelpExportFavorites"),
                QStringLiteral("How to select items to be exported"),
                5670,
                5505,
                5415,
                4740};
    case HelpPage::MarkNewFavorites:
        return {QStringLiteral("frmHelpMarkNewFavorites"),
                QStringLiteral("How mark new favorites to be exported"),
                5670,
                5280,
                5415,
                4545};
    case HelpPage::SaveFavorites:
        return {QStringLiteral("frmHelpSaveFavorites"),
                QStringLiteral("Form1"),
                5655,
                5190,
                5415,
                4350};
    case HelpPage::SymbolTable:
        return {QStringLiteral("frmHelpSymbolTable"),
                QStringLiteral("The Symbol Table"),
                5805,
                6030,
                5535,
                5325};
    }
    return {};
}

QStringList helpPageLines(HelpPage page) {
    switch (page) {
    case HelpPage::Description:
        return descriptionPage();
    case HelpPage::DeviceSelection:
        return deviceSelectionPage();
    case HelpPage::ExportFavorites:
        return exportFavoritesPage();
    case HelpPage::MarkNewFavorites:
        return markNewFavoritesPage();
    case HelpPage::SaveFavorites:
        return saveFavoritesPage();
    case HelpPage::SymbolTable:
        return symbolTablePage();
    }
    return {};
}
