#pragma once

#include "symbols/symtable.h"

#include <QList>
#include <QString>
#include <QStringList>

class FlexGridModel;
class QIODevice;

// The export: the items marked in the item grid, written to a new GPX file that a DeLorme map
// program can import. The grid has 4 columns: 0 Mark ("X" = marked), 1 Name, 2 Code (a
// favorite's GPX text), 3 Symbol; row 0 is the heading row, the items are rows 1 to Rows() - 1.
//
// Every line of the file ends with CR LF and text becomes bytes through the Windows-1252 code
// page, the way the loaders read it, so that the bytes of the source reach the output unchanged.

// A listed track: its name as the grid shows it (entities decoded) and as the source writes it.
struct TrackKey {
    QString name;
    QString sourceName;
};

// The first free base name in the folder: base, base + " 1", base + " 2", ..., with base made
// safe on every system first (safeFileName: "CON" gives "CON_"). A name is free only when no
// entry of the folder has name + ".gpx" without regard to case.
QString freeExportName(const QString& outputFolder, const QString& base);

// The folder a device's exports go to, "output", whatever the letter case of its name.
QString outputFolderIn(const QString& deviceFolder);

// Whether any item row is marked, and the name the export takes from the marks: that of the
// first marked row that has one (empty when none has).
struct MarkedItems {
    bool any = false;
    QString firstName;
};
MarkedItems markedItems(const FlexGridModel& grid);

struct ExportResult {
    QString path;                   // the file written (empty when nothing was written)
    QString error;                  // reason of a failure (empty on success)
    bool scratchUnreadable = false; // TEMP.TMP could not be opened (tracks); error says why
};

// Writes the header line, the favorites body and "</gpx>" to a new file in outputFolder named
// freeExportName(outputFolder, base) + ".gpx", so that the window and the command line both
// keep the file-name rule. base has been through CleanName already. The folder is made when
// missing. The file is created so that it can never replace an existing one, even one that
// appears meanwhile; a failure leaves no file behind.
// conversion == nullptr: the favorites are written without symbol conversion.
ExportResult exportFavorites(const QString& outputFolder, const QString& base,
                             const QString& header, const FlexGridModel& grid,
                             const QList<SymbolPair>* conversion);

// The same for tracks: the body comes from the scratch file the tracks load wrote.
// sourceNames[r] (indexed by grid row, entry 0 unused) is row r's name as the source writes
// it, with entities undecoded; rows beyond the list (all rows of an empty list) are searched
// by the grid's name (column 1).
// A scratch file that cannot be opened sets scratchUnreadable and leaves no file behind.
ExportResult exportTracks(const QString& outputFolder, const QString& base, const QString& header,
                          const FlexGridModel& grid, const QStringList& sourceNames,
                          const QString& scratchPath);

// One line per marked favorite: its Code, with the text after its first "<sym>" replaced by
// the DeLorme symbol when conversion is given and the row's Symbol is in it (the first equal
// pair wins). Returns false when a write failed.
bool writeFavoritesBody(QIODevice& out, const FlexGridModel& grid,
                        const QList<SymbolPair>* conversion);

enum class TracksBody { Written, ScratchUnreadable, WriteFailed, ReadFailed };

// Copies the marked tracks from the scratch device, which is read once, forward only; it is
// opened for reading when it is not open yet. Each marked track is found by its name and
// written as the line holding it and, when that line starts a track, the lines after it up
// to the next track start or "</gpx>".
TracksBody writeTracksBody(QIODevice& out, QIODevice& scratch, const FlexGridModel& grid,
                           const QStringList& sourceNames);
