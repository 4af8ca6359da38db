#pragma once

#include "symbols/symtable.h"

#include <QBuffer>
#include <QList>
#include <QStringList>

#include <utility>

class FlexGridModel;

// What a scan of a unit's file gives. Rows: a favorite as name, code, symbol; a track as
// name, code, name as the source writes it. starts counts "<wpt" or "<trk>" starts.
struct Scan {
    QList<QStringList> rows;
    QString header;
    bool hasHeader = false;
    bool stopped = false;
    qint64 starts = 0;
    QByteArray scratch;
};

// The loaders one character at a time, straight from their rules: the scanners' oracle.
Scan referenceFavorites(QByteArrayView source);
Scan referenceTracks(QByteArrayView source);
// The scanners fed the source in blocks of the given sizes, used in turn (none: one block);
// every block is fed, also after the scan stopped.
Scan scanFavorites(QByteArrayView source, const QList<qsizetype>& sizes);
Scan scanTracks(QByteArrayView source, const QList<qsizetype>& sizes, qsizetype bufferSize);
// A scan as lines: header, starts, one line per row (fields joined by "|"), scratch.
QStringList lines(const Scan& scan);
// Empty when both scanners agree with the references, else the first difference.
QString compareScanners(QByteArrayView source, const QList<qsizetype>& sizes, qsizetype bufferSize);

// The export bodies from the export's rules, the whole scratch file at hand. rows are the
// item rows (mark, name, code, symbol); sourceNames[r] is searched for grid row r.
QByteArray referenceFavoritesBody(const QList<QStringList>& rows, const QList<SymbolPair>* table);
QByteArray referenceTracksBody(const QList<QStringList>& rows, const QStringList& sourceNames,
                               const QByteArray& scratch);
// The heading row, then the item rows.
void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows);

// Reads at most 7 bytes at a time; reads and writes past failAt fail.
class Device : public QBuffer {
public:
    qint64 failAt = -1;

protected:
    qint64 readData(char* data, qint64 size) override;
    qint64 writeData(const char* data, qint64 size) override;
};

// Case files: "key: value" lines, a new case at each "case" key, "#" lines ignored. A value
// is split into fields at "|"; each is percent-encoded Windows-1252.
using Case = QList<std::pair<QByteArray, QByteArray>>;
QList<Case> readCases(const QString& name);
QList<QStringList> values(const Case& c, QByteArrayView key);
