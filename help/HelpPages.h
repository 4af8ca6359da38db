#pragma once

#include <QString>
#include <QStringList>

// The six pages of the Help menu, in the order of their menu items.
enum class HelpPage {
    Description,
    DeviceSelection,
    ExportFavorites,
    MarkNewFavorites,
    SaveFavorites,
    SymbolTable
};

// How a page's window looks: its name, caption, inside size and list box size, in twips
// (15 twips make one pixel). The Exit button and the list box stand at the same place in
// every window.
struct HelpPageInfo {
    QString objectName;
    QString caption;
    int width;
    int height;
    int listWidth;
    int listHeight;
};

HelpPageInfo helpPageInfo(HelpPage page);

// Every item of the page's list, in order; the last one is the copyright notice.
QStringList helpPageLines(HelpPage page);
