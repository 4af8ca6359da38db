#pragma once

#include "ReferenceScanners.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QIODevice>
#include <QList>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

// Helpers shared by the scanner tests and fuzz targets.

// Joins the lines, each followed by the line end.
QByteArray joinLines(const QList<QByteArray>& lines, QByteArrayView lineEnd = "\r\n");

// Feeds the source to the scanners in chunks of chunkSize bytes (the last may be shorter),
// or, with chunkSize 0, in chunks of random sizes from 1 up drawn from random. The results
// have the reference's shape, so that the two compare directly.
ReferenceFavorites scanFavorites(QByteArrayView source, qsizetype chunkSize = 1,
                                 QRandomGenerator* random = nullptr);
ReferenceTracks scanTracks(QByteArrayView source, qsizetype chunkSize = 1,
                           QRandomGenerator* random = nullptr,
                           qsizetype bufferSize = TracksScanner::defaultBufferSize);

// An empty text when both agree, otherwise a description of the first difference.
QString firstDifference(const ReferenceFavorites& expected, const ReferenceFavorites& actual);
QString firstDifference(const ReferenceTracks& expected, const ReferenceTracks& actual);

// A random mix of the tags the scanners look for, their parts and near misses, CR, LF,
// entities, attributes and arbitrary bytes: the kind of input that finds a scanner whose
// shortcuts differ from the character-by-character rules.
QByteArray randomGpxSoup(QRandomGenerator& random, int pieces);
// The source with a few random bytes inserted, removed or replaced.
QByteArray mutated(QByteArray source, QRandomGenerator& random, int edits);

// The GPX and XML files of the shared corpus; empty when the folder is absent.
QStringList corpusFiles();
QByteArray readAll(const QString& path);

// A device that takes limit bytes and then fails every write with its error text.
class FailingDevice : public QIODevice {
public:
    explicit FailingDevice(qint64 limit);
    QByteArray written() const { return m_written; }
    static QString failureText();

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 maxSize) override;

private:
    qint64 m_limit;
    QByteArray m_written;
};
