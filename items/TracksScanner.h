#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

class QIODevice;

// One track as the item grid lists it. code is the gathered text at the track's "</name>"
// (e.g. "<name>Day 1"); sourceName is the name as the source writes it, which is how the
// export finds the track in the scratch file; name is sourceName with entities decoded.
struct TrackItem {
    QString name;
    QString code;
    QString sourceName;

    bool operator==(const TrackItem&) const = default;
};

// Reads the tracks of a unit's file without parsing XML, recognising "<trk>", "<wpt",
// "</name>", "</trkpt>", "<trkseg>", "</trk>" and "</gpx>" literally, one byte being one
// Windows-1252 character. It lists each track and at the same time writes the track data,
// cut into CR LF lines, to the scratch device: a line ends after every "</trkpt>",
// "<trkseg>" and "</trk>" stand on lines of their own, and "</gpx>" is the last line.
//
// Only the current gathered text is held, never the file: a track point, segment or track
// boundary empties it. The source may arrive in chunks of any size, cut anywhere.
class TracksScanner {
public:
    static constexpr qsizetype defaultBufferSize = 1024 * 1024;

    // The scratch bytes pass through a buffer of bufferSize bytes.
    explicit TracksScanner(QIODevice* scratch, qsizetype bufferSize = defaultBufferSize);

    // Scans the next bytes of the source. Returns false once "</gpx>" ended the scan or a
    // write to the scratch device failed; bytes fed after that are ignored.
    bool feed(QByteArrayView bytes);
    // Writes what the buffer still holds; false when any write failed.
    bool finish();
    bool stopped() const { return m_stopped; }
    bool writeFailed() const { return m_writeFailed; }

    // Tracks listed since the last call, in file order.
    QList<TrackItem> takeItems();

    // The header is the text before the first "<wpt" or, without waypoints, before the
    // first "<trk>"; empty until then.
    bool hasHeader() const { return !m_inHeader; }
    const QString& header() const { return m_header; }

    // Number of "<trk>" starts met so far.
    qint64 trackStarts() const { return m_trackStarts; }

    // The scratch device's errorString() after a failed write.
    QString writeError() const { return m_writeError; }

private:
    const char* copyPoint(const char* p, const char* end);
    void scanCharacter(char ch);
    void actOnTag();
    void listTrack();
    void clearGathered();
    void write(QByteArrayView bytes);
    void writeLine(QByteArrayView bytes);
    bool flush();

    QIODevice* m_scratch;
    qsizetype m_bufferSize;
    // The bytes not yet written out are the first m_used; the rest is room for the point
    // copy, which may write a little past the bytes it keeps.
    QByteArray m_buffer;
    qsizetype m_used = 0;
    // See FavoritesScanner: the gathered text and the tag text while it can still become a
    // recognised tag.
    QByteArray m_gathered;
    QByteArray m_tag;
    // How far the gathered text is known to hold no "<name>".
    qsizetype m_nameSearchFrom = 0;
    QList<TrackItem> m_items;
    QString m_header;
    QString m_writeError;
    qint64 m_trackStarts = 0;
    bool m_inHeader = true;
    // Whether the track begun by the latest "<trk>" has its row already.
    bool m_currentListed = false;
    bool m_stopped = false;
    bool m_writeFailed = false;
};
