#pragma once

#include <QString>
#include <QStringList>

class FlexGridModel;

// The favorites history of a device, FAVORITES.TXT: one line per favorite loaded at the last
// save, its name, one TAB and its GPX text, CR LF; bytes in Windows-1252. Marking new favorites
// reads back only the names, so a favorite whose name the file holds counts as known however
// its position or symbol changed since.

// The history file of a device: an existing one whatever the letter case of its name (a folder
// copied from Windows may hold "Favorites.txt"), otherwise the folder plus "FAVORITES.TXT".
QString favoritesPathIn(const QString& deviceFolder);

// Replaces the file with every item row of the grid (rows 1 to Rows() - 1, marked or not):
// Name (column 1), TAB, Code (column 2). The file is replaced whole or not at all: a failed save
// keeps the earlier file. Returns the reason of a failure, or an empty text.
QString saveFavorites(const QString& path, const FlexGridModel& grid);

struct SavedNames {
    QStringList names; // in file order
    QString error;     // why the file could not be opened or read to its end
    bool opened = false;
};

// The saved names: of each line the text before its first TAB, or the whole line when it has
// none (a file edited by hand). Lines end at CR LF or a lone LF; empty lines name nothing.
SavedNames readSavedNames(const QString& path);

// Marks every item row "X" whose name is not among the saved names, and " " every row whose
// name is. Names are compared exactly, case and all.
void markNewFavorites(FlexGridModel& grid, const QStringList& savedNames);
