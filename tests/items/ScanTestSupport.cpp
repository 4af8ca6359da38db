#include "ScanTestSupport.h"

#include <QBuffer>
#include <QDir>
#include <QFile>

#include <algorithm>

namespace {

qsizetype nextChunk(qsizetype chunkSize, QRandomGenerator* random, qsizetype left) {
    qsizetype size = chunkSize;
    if (size <= 0) {
        // Mostly small chunks, now and then a large one.
        size = random->bounded(4) == 0 ? random->bounded(1, 4096) : random->bounded(1, 9);
    }
    return std::min(size, left);
}

template <typename T>
QString listDifference(const QList<T>& expected, const QList<T>& actual,
                       QString (*describe)(const T&)) {
    for (qsizetype i = 0; i < std::min(expected.size(), actual.size()); ++i) {
        if (!(expected[i] == actual[i]))
            return QStringLiteral("row %1: expected %2, got %3")
                .arg(i + 1)
                .arg(describe(expected[i]), describe(actual[i]));
    }
    if (expected.size() != actual.size())
        return QStringLiteral("expected %1 rows, got %2").arg(expected.size()).arg(actual.size());
    return {};
}

QString describeFavorite(const FavoriteItem& item) {
    return QStringLiteral("[%1|%2|%3]").arg(item.name, item.symbol, item.code);
}

QString describeTrack(const TrackItem& item) {
    return QStringLiteral("[%1|%2|%3]").arg(item.name, item.sourceName, item.code);
}

} // namespace

QByteArray joinLines(const QList<QByteArray>& lines, QByteArrayView lineEnd) {
    QByteArray out;
    for (const QByteArray& line : lines) {
        out += line;
        out += lineEnd;
    }
    return out;
}

ReferenceFavorites scanFavorites(QByteArrayView source, qsizetype chunkSize,
                                 QRandomGenerator* random) {
    ReferenceFavorites r;
    FavoritesScanner scanner;
    qsizetype at = 0;
    while (at < source.size()) {
        const qsizetype size = nextChunk(chunkSize, random, source.size() - at);
        const bool goesOn = scanner.feed(source.sliced(at, size));
        r.rows += scanner.takeItems();
        at += size;
        if (!goesOn)
            break;
    }
    r.hasHeader = scanner.hasHeader();
    r.header = scanner.header();
    r.itemStarts = scanner.itemStarts();
    r.stopped = scanner.stopped();
    return r;
}

ReferenceTracks scanTracks(QByteArrayView source, qsizetype chunkSize, QRandomGenerator* random,
                           qsizetype bufferSize) {
    ReferenceTracks r;
    QBuffer scratch(&r.scratch);
    scratch.open(QIODevice::WriteOnly);
    TracksScanner scanner(&scratch, bufferSize);
    qsizetype at = 0;
    while (at < source.size()) {
        const qsizetype size = nextChunk(chunkSize, random, source.size() - at);
        const bool goesOn = scanner.feed(source.sliced(at, size));
        r.rows += scanner.takeItems();
        at += size;
        if (!goesOn)
            break;
    }
    scanner.finish();
    r.hasHeader = scanner.hasHeader();
    r.header = scanner.header();
    r.trackStarts = scanner.trackStarts();
    r.stopped = scanner.stopped();
    return r;
}

QString firstDifference(const ReferenceFavorites& expected, const ReferenceFavorites& actual) {
    if (expected.hasHeader != actual.hasHeader || expected.header != actual.header)
        return QStringLiteral("header: expected %1 \"%2\", got %3 \"%4\"")
            .arg(expected.hasHeader)
            .arg(expected.header)
            .arg(actual.hasHeader)
            .arg(actual.header);
    if (expected.itemStarts != actual.itemStarts || expected.stopped != actual.stopped)
        return QStringLiteral("starts/stopped: expected %1/%2, got %3/%4")
            .arg(expected.itemStarts)
            .arg(expected.stopped)
            .arg(actual.itemStarts)
            .arg(actual.stopped);
    return listDifference(expected.rows, actual.rows, &describeFavorite);
}

QString firstDifference(const ReferenceTracks& expected, const ReferenceTracks& actual) {
    if (expected.hasHeader != actual.hasHeader || expected.header != actual.header)
        return QStringLiteral("header: expected %1 \"%2\", got %3 \"%4\"")
            .arg(expected.hasHeader)
            .arg(expected.header)
            .arg(actual.hasHeader)
            .arg(actual.header);
    if (expected.trackStarts != actual.trackStarts || expected.stopped != actual.stopped)
        return QStringLiteral("starts/stopped: expected %1/%2, got %3/%4")
            .arg(expected.trackStarts)
            .arg(expected.stopped)
            .arg(actual.trackStarts)
            .arg(actual.stopped);
    if (expected.scratch != actual.scratch) {
        qsizetype at = 0;
        while (at < std::min(expected.scratch.size(), actual.scratch.size()) &&
               expected.scratch[at] == actual.scratch[at])
            ++at;
        return QStringLiteral("scratch differs at byte %1 (sizes %2 and %3)")
            .arg(at)
            .arg(expected.scratch.size())
            .arg(actual.scratch.size());
    }
    return listDifference(expected.rows, actual.rows, &describeTrack);
}

QByteArray randomGpxSoup(QRandomGenerator& random, int pieces) {
    static const QList<QByteArray> words = {"<wpt",
                                            "<wpt lat=\"1\" lon=\"2\">",
                                            "</wpt>",
                                            "<trk>",
                                            "</trk>",
                                            "<trkseg>",
                                            "</trkseg>",
                                            "<trkpt lat=\"3\">",
                                            "</trkpt>",
                                            "<name>",
                                            "</name>",
                                            "<sym>",
                                            "</sym>",
                                            "</gpx>",
                                            "<gpx>",
                                            "<rte>",
                                            "<rtept>",
                                            "</rte>",
                                            "<",
                                            ">",
                                            "\r\n",
                                            "\n",
                                            "\r",
                                            " ",
                                            "t",
                                            "Day 1",
                                            "Flag, Blue",
                                            "&amp;",
                                            "&apos;",
                                            "&amp;amp;",
                                            "&lt;",
                                            "<w",
                                            "pt",
                                            "<tr",
                                            "k>",
                                            "</na",
                                            "me>",
                                            "</trk",
                                            "pt>",
                                            "<trks",
                                            "eg>",
                                            "</gp",
                                            "x>",
                                            "<wp\rt",
                                            "<w\r\npt",
                                            "<trk\r>",
                                            "</name\r\n>",
                                            "<trk >",
                                            "<TRK>",
                                            "<wpt\r",
                                            "<<",
                                            "<name><name>",
                                            "</name></name>",
                                            "<sym></sym>"};
    QByteArray out;
    for (int i = 0; i < pieces; ++i) {
        const int kind = random.bounded(10);
        if (kind == 0)
            out += char(random.bounded(256));
        else
            out += words[random.bounded(words.size())];
    }
    return out;
}

QByteArray mutated(QByteArray source, QRandomGenerator& random, int edits) {
    static const char interesting[] = {'<', '>', '/', 't', '\r', '\n', ' ', 'w', 'p', 'k'};
    for (int i = 0; i < edits; ++i) {
        const qsizetype at = source.isEmpty() ? 0 : random.bounded(source.size());
        const char byte = random.bounded(2) ? interesting[random.bounded(int(sizeof interesting))]
                                            : char(random.bounded(256));
        switch (random.bounded(3)) {
        case 0:
            source.insert(at, byte);
            break;
        case 1:
            if (!source.isEmpty())
                source.remove(at, 1);
            break;
        default:
            if (!source.isEmpty())
                source[at] = byte;
            break;
        }
    }
    return source;
}

QStringList corpusFiles() {
    QStringList files;
    const QDir dir(QStringLiteral(TARNWICK_CORPUS));
    if (!dir.exists())
        return files;
    for (const QString& name :
         dir.entryList({QStringLiteral("*.gpx"), QStringLiteral("*.xml")}, QDir::Files, QDir::Name))
        files << dir.filePath(name);
    return files;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

FailingDevice::FailingDevice(qint64 limit)
    : m_limit(limit) {
    open(QIODevice::WriteOnly);
}

QString FailingDevice::failureText() {
    return QStringLiteral("No space left on device");
}

qint64 FailingDevice::readData(char*, qint64) {
    return -1;
}

qint64 FailingDevice::writeData(const char* data, qint64 maxSize) {
    const qint64 room = m_limit - m_written.size();
    if (room <= 0) {
        setErrorString(failureText());
        return -1;
    }
    const qint64 taken = std::min(room, maxSize);
    m_written.append(data, taken);
    return taken;
}
