#pragma once

#include "items/FavoritesScanner.h"
#include "items/TracksScanner.h"

#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class FlexGridModel;
class QFile;
class QIODevice;

// The steps of loading a unit's file into the item grid that need no window, shared by the
// main window's loads and the command line.

// Opens the source for reading. Only a regular file is read: a FIFO or a device behind a link
// could block the program or never end.
bool openSourceFile(QFile& source);

// Why openSourceFile() refused or failed to open the source, in a sentence.
QString sourceOpenError(const QFile& source);

// Feeds the source to a scanner in blocks. After each block fed, afterBlock decides whether
// to read on; the reading also stops once feed returns false or the file ends. Returns false
// when a read failed; source.errorString() says why.
bool readInBlocks(QIODevice& source, const std::function<bool(QByteArrayView)>& feed,
                  const std::function<bool()>& afterBlock);

// The item grid's rows (mark, name, code, symbol) of the tracks a scanner listed.
QList<QStringList> trackRows(const QList<TrackItem>& items);

// Appends the favorites' rows (mark, name, code, symbol) to the grid, their texts moved in.
void appendFavoriteRows(FlexGridModel& grid, QList<FavoriteItem>&& items);

// The track scratch file of a device, TEMP.TMP, whatever the letter case of its name.
QString scratchPathIn(const QString& deviceFolder);
