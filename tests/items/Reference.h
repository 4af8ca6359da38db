#pragma once

#include "symbols/symtable.h"

#include <QBuffer>
#include <QStringList>

class FlexGridModel;

// Rows: favorite name, code, symbol, or track name, code, name as written. starts counts "<wpt"
// or "<trk>"; -1 when a scanner's return values disagree with its state.
struct Scan {
    QList<QStringList> rows;
    QString header;
    bool hasHeader = false, stopped = false;
    qint64 starts = 0;
    QByteArray scratch;
};

// The loaders one character at a time, straight from their rules: the scanners' oracle.
Scan referenceFavorites(QByteArrayView source);
Scan referenceTracks(QByteArrayView source);
// The scanners fed blocks of the given sizes in turn (none: one block).
Scan scanFavorites(QByteArrayView source, const QList<qsizetype>& sizes);
Scan scanTracks(QByteArrayView source, const QList<qsizetype>& sizes, qsizetype bufferSize);
QStringList lines(const Scan& scan);
// Empty when both scanners agree with the references, else the first difference; compareAll()
// feeds the source whole, a byte at a time with a 1-byte scratch buffer, and in random blocks.
QString compareScanners(QByteArrayView source, const QList<qsizetype>& sizes, qsizetype bufferSize);
QString compareAll(QByteArrayView source, quint32 seed);

// The export bodies from the export's rules. rows: mark, name, code, symbol; sourceNames[r] is
// searched for grid row r. fillGrid() puts the heading row, then the rows, into a grid.
QByteArray referenceFavoritesBody(const QList<QStringList>& rows, const QList<SymbolPair>* table);
QByteArray referenceTracksBody(const QList<QStringList>& rows, const QStringList& sourceNames,
                               const QByteArray& scratch);
void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows);

// Opened unbuffered on data; reads at most 7 bytes at a time; reads and writes past failAt fail.
class Device : public QBuffer {
public:
    explicit Device(OpenMode mode, const QByteArray& bytes = {}, qint64 limit = -1)
        : failAt(limit) {
        setData(bytes);
        open(mode | Unbuffered);
    }
    qint64 failAt;

protected:
    qint64 readData(char* data, qint64 size) override;
    qint64 writeData(const char* data, qint64 size) override;
};

// Case files: "key: value" lines, a new case at each "case" key. values() splits each value at
// "|" and decodes the fields (percent-encoded Windows-1252); texts() joins them again.
using Case = QList<std::pair<QByteArray, QStringList>>;
QList<Case> readCases(const QString& name);
QList<QStringList> values(const Case& c, QByteArrayView key);
QStringList texts(const Case& c, QByteArrayView key);
