#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <functional>

class QIODevice;

// Reading the tracks load's scratch file, TEMP.TMP: the export copies the marked tracks from
// it and the details pane reads one track from it, both finding a track the same way.

// Bytes to look for in the scratch file, and what an earlier look found: the search moves
// forward only, so each byte of the file is looked at once for each of them.
class Needle {
public:
    explicit Needle(QByteArrayView bytes)
        : m_bytes(bytes) {}

    QByteArrayView bytes() const { return m_bytes; }

private:
    friend class ScratchLines;
    QByteArrayView m_bytes;
    qint64 m_found = -1; // the first occurrence at or after m_clear, as a file offset
    qint64 m_clear = 0;  // no occurrence within a line starts before this file offset
};

// The lines of the scratch file, read forward in large blocks, with a cursor on one line.
// Lines end at CR LF; the last line needs no line end. The track data never hold a CR or LF
// of their own, the tracks load having turned them into spaces or dropped them, so a lone CR
// or LF stays part of its line. Searches jump through whole blocks: only the line that holds
// what is looked for is taken apart.
class ScratchLines {
public:
    explicit ScratchLines(QIODevice& device)
        : m_device(device) {}

    // The line at the cursor without its line end; false at the end of the data.
    bool current(QByteArrayView& line);
    // Moves the cursor past the line that current() gave.
    void advance() { m_pos = m_next; }
    // Moves the cursor to the first line from the cursor on that holds either needle's bytes
    // (name may be null); false when no line does, the cursor then being at the end.
    bool seek(Needle* name, Needle& stop);

    enum class Copy { Stopped, AtEnd, SinkFailed };
    // Hands the lines from the cursor on, each with its line end, to sink in runs of whole
    // lines, up to the first line that holds either needle's bytes, where the cursor stays
    // (Stopped), or to the end. A last line without a line end of its own gets one.
    Copy copyUntil(const std::function<bool(QByteArrayView)>& sink, Needle& first, Needle& second);

    bool failed() const { return m_failed; }

private:
    static constexpr qsizetype lineEndSize = 2;

    bool ended() const { return m_atEnd || m_failed; }
    bool isLineEndAt(qsizetype at) const;
    qsizetype lineEndFrom(qsizetype from) const;
    qsizetype lineStart(qsizetype at) const;
    qsizetype lineEndAfter(qsizetype at) const;
    qsizetype completeEnd() const;
    qsizetype find(Needle& needle, qsizetype to);
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
    bool seek(ScratchLines& lines, Needle& stop);

private:
    QByteArray m_bytes;
    bool m_possible;
    Needle m_needle;
};

enum class TrackLines { Found, NotFound, ReadFailed };

// The lines of one track, found as the export finds a track when it is the only one marked:
// the first line that holds its name as the source writes it and, when that line starts a
// track, the lines after it up to the next track start or "</gpx>". They reach sink in runs
// of whole lines, each with its CR LF. The device is read forward from where it stands.
TrackLines readTrackLines(QIODevice& scratch, const QString& sourceName,
                          const std::function<bool(QByteArrayView)>& sink);
