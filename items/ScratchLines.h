#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <functional>

class QIODevice;

// Reading the tracks load's scratch file, TEMP.TMP: the export copies the marked tracks from
// it and the details pane reads one track from it, both finding a track the same way.

// The lines of the scratch file, read forward in large blocks, with a cursor on one line.
// Lines end at CR LF; the last line needs no line end. The track data never hold a CR or LF
// of their own, the tracks load having turned them into spaces or dropped them, so a lone CR
// or LF stays part of its line. Searches jump through whole blocks, looking for both of their
// needles in one pass: only the line that holds what is looked for is taken apart, and a
// search stops at the first line that holds either, so each byte is looked at about once.
class ScratchLines {
public:
    explicit ScratchLines(QIODevice& device)
        : m_device(device) {}

    // The line at the cursor without its line end; false at the end of the data.
    bool current(QByteArrayView& line);
    // Moves the cursor past the line that current() gave.
    void advance() { m_pos = m_next; }
    // Moves the cursor to the first line from the cursor on that holds the stop bytes or, when
    // it is not empty, the name; false when no line does, the cursor then being at the end.
    bool seek(QByteArrayView stop, QByteArrayView name = {});

    enum class Copy { Stopped, AtEnd, SinkFailed };
    // Hands the lines from the cursor on, each with its line end, to sink in runs of whole
    // lines, up to the first line that holds the bytes of first or second, where the cursor
    // stays (Stopped), or to the end. A last line without a line end of its own gets one.
    Copy copyUntil(const std::function<bool(QByteArrayView)>& sink, QByteArrayView first,
                   QByteArrayView second);

    bool failed() const { return m_failed; }

private:
    static constexpr qsizetype lineEndSize = 2;

    bool ended() const { return m_atEnd || m_failed; }
    bool isLineEndAt(qsizetype at) const;
    qsizetype lineEndFrom(qsizetype from) const;
    qsizetype lineStart(qsizetype at) const;
    qsizetype lineEndAfter(qsizetype at) const;
    qsizetype completeEnd() const;
    qsizetype find(QByteArrayView a, QByteArrayView b, qsizetype to) const;
    bool withinLine(qsizetype at, qsizetype size) const;
    qsizetype refill();

    QIODevice& m_device;
    QByteArray m_buffer;
    qint64 m_base = 0;        // file offset of the buffer's first byte
    qsizetype m_pos = 0;      // the cursor: where its line begins
    qsizetype m_next = 0;     // where the line after the one current() gave begins
    qsizetype m_complete = 0; // where the last line end in the buffer ends
    bool m_atEnd = false;
    bool m_failed = false;
};

// A track name as the scratch file would hold it. A name with a character outside the code
// page cannot stand in the file at all. The empty name is found in every line that is not
// empty.
class NameSearch {
public:
    explicit NameSearch(const QString& name);

    bool foundIn(QByteArrayView line) const;
    // Moves the lines' cursor to the first line that holds the name or the stop bytes.
    bool seek(ScratchLines& lines, QByteArrayView stop);

private:
    QByteArray m_bytes;
    bool m_possible;
};

enum class TrackLines { Found, NotFound, ReadFailed };

// The lines of one track, found as the export finds a track when it is the only one marked:
// the first line that holds its name as the source writes it and, when that line starts a
// track, the lines after it up to the next track start or "</gpx>". They reach sink in runs
// of whole lines, each with its CR LF. The device is read forward from where it stands.
TrackLines readTrackLines(QIODevice& scratch, const QString& sourceName,
                          const std::function<bool(QByteArrayView)>& sink);
