#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

// What a scan of a unit's file gives. Rows: a favorite as name, code, symbol; a track as
// name, code, name as the source writes it. starts counts "<wpt" (favorites) or "<trk>"
// (tracks) starts; scratch is the tracks scratch file.
struct Scan {
    QList<QStringList> rows;
    QString header;
    bool hasHeader = false;
    bool stopped = false;
    qint64 starts = 0;
    QByteArray scratch;
};

// The two loaders read one character at a time, straight from their rules: slow on purpose,
// the oracle of the block-wise scanners.
Scan referenceFavorites(QByteArrayView source);
Scan referenceTracks(QByteArrayView source);

// The block-wise scanners fed the source cut into blocks of the given sizes, used in turn
// (no sizes: one block); every block is fed, also after the scan stopped.
Scan scanFavorites(QByteArrayView source, const QList<qsizetype>& sizes);
Scan scanTracks(QByteArrayView source, const QList<qsizetype>& sizes, qsizetype bufferSize);

// The scan in one line per field and row, for comparing and printing.
QStringList lines(const Scan& scan);
// Empty when the scanners agree with the references on the source, else the first difference.
QString compareFavorites(QByteArrayView source, const QList<qsizetype>& sizes);
QString compareTracks(QByteArrayView source, const QList<qsizetype>& sizes, qsizetype bufferSize);

// Test case files: blocks of "key: value" lines parted by blank lines, "#" lines ignored.
// Values are unescaped: \r \n \t \\ and \xHH.
using Case = QList<std::pair<QByteArray, QByteArray>>;
QByteArray unescaped(QByteArrayView text);
QList<Case> readCases(const QString& path);
QStringList values(const Case& c, QByteArrayView key);
