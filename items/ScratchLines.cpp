#include "items/ScratchLines.h"

#include "text/CodePage.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>

namespace {

constexpr QByteArrayView lineEnd("\r\n");
constexpr QByteArrayView trackStart("<trk>");
constexpr QByteArrayView fileEnd("</gpx>");
constexpr qsizetype scratchBlockSize = 1024 * 1024;

} // namespace

bool ScratchLines::current(QByteArrayView& line) {
    qsizetype from = m_pos;
    for (;;) {
        const qsizetype end = lineEndFrom(from);
        if (end >= 0) {
            line = QByteArrayView(m_buffer).sliced(m_pos, end - m_pos);
            m_next = end + lineEndSize;
            return true;
        }
        if (ended()) {
            if (m_pos >= m_buffer.size())
                return false;
            line = QByteArrayView(m_buffer).sliced(m_pos);
            m_next = m_buffer.size();
            return true;
        }
        // A CR at the end may begin a CR LF that the next block completes.
        from = std::max(m_pos, m_buffer.size() - 1);
        from -= refill();
    }
}

bool ScratchLines::seek(Needle* name, Needle& stop) {
    for (;;) {
        const qsizetype to = completeEnd();
        if (to > m_pos) {
            const qsizetype atStop = find(stop, to);
            const qsizetype limit = atStop < 0 ? to : lineEndAfter(atStop);
            const qsizetype atName = name ? find(*name, limit) : -1;
            const qsizetype hit = atName >= 0 ? atName : atStop;
            if (hit >= 0) {
                m_pos = lineStart(hit);
                return true;
            }
            m_pos = to;
        }
        if (ended())
            return false;
        refill();
    }
}

ScratchLines::Copy ScratchLines::copyUntil(const std::function<bool(QByteArrayView)>& sink,
                                           Needle& first, Needle& second) {
    for (;;) {
        const qsizetype to = completeEnd();
        if (to > m_pos) {
            const qsizetype a = find(first, to);
            const qsizetype b = find(second, to);
            const qsizetype hit = a < 0 ? b : (b < 0 ? a : std::min(a, b));
            const qsizetype stop = hit < 0 ? to : lineStart(hit);
            const QByteArrayView lines = QByteArrayView(m_buffer).sliced(m_pos, stop - m_pos);
            if (!lines.isEmpty() && !sink(lines))
                return Copy::SinkFailed;
            // The last line of the data may have no line end of its own.
            if (hit < 0 && ended() && !lines.isEmpty() && !lines.endsWith(lineEnd) &&
                !sink(lineEnd))
                return Copy::SinkFailed;
            m_pos = stop;
            if (hit >= 0)
                return Copy::Stopped;
        }
        if (ended())
            return Copy::AtEnd;
        refill();
    }
}

bool ScratchLines::isLineEndAt(qsizetype at) const {
    return at >= m_pos && at + 1 < m_buffer.size() && m_buffer[at] == '\r' &&
           m_buffer[at + 1] == '\n';
}

// Where the first line end at or after from begins, or -1.
qsizetype ScratchLines::lineEndFrom(qsizetype from) const {
    const char* const data = m_buffer.constData();
    const qsizetype size = m_buffer.size();
    for (qsizetype at = from + 1; at < size;) {
        const auto* lf = static_cast<const char*>(std::memchr(data + at, '\n', size_t(size - at)));
        if (!lf)
            return -1;
        if (isLineEndAt(lf - data - 1))
            return lf - data - 1;
        at = lf - data + 1;
    }
    return -1;
}

// Where the line that holds the byte at offset at begins.
qsizetype ScratchLines::lineStart(qsizetype at) const {
    while (at > m_pos && !isLineEndAt(at - lineEndSize))
        --at;
    return at;
}

// Where the line after the one that holds the byte at offset at begins.
qsizetype ScratchLines::lineEndAfter(qsizetype at) const {
    const qsizetype end = lineEndFrom(at - 1);
    return end < 0 ? m_buffer.size() : end + lineEndSize;
}

// The end of the last whole line in the buffer: the last line ends only at the end of the
// data.
qsizetype ScratchLines::completeEnd() const {
    return ended() ? m_buffer.size() : std::max(m_pos, m_complete);
}

// The first occurrence of the needle's bytes from the cursor up to to (a line boundary)
// that stands within one line, or -1.
qsizetype ScratchLines::find(Needle& needle, qsizetype to) {
    if (needle.m_found >= m_base + m_pos)
        return needle.m_found < m_base + to ? needle.m_found - m_base : -1;
    const qsizetype size = needle.m_bytes.size();
    const char* const data = m_buffer.constData();
    for (qsizetype at = std::max<qsizetype>(m_pos, needle.m_clear - m_base); at < to;) {
        const auto* hit = static_cast<const char*>(
            memmem(data + at, size_t(to - at), needle.m_bytes.data(), size_t(size)));
        if (!hit)
            break;
        const qsizetype found = hit - data;
        // An occurrence across a line end is in no line.
        qsizetype k = std::max(m_pos, found - 1);
        while (k < found + size && !isLineEndAt(k))
            ++k;
        if (k == found + size) {
            needle.m_found = needle.m_clear = m_base + found;
            return found;
        }
        at = found + 1;
    }
    needle.m_clear = std::max(needle.m_clear, m_base + to);
    return -1;
}

// Drops the lines before the cursor and reads the next block; returns how far the bytes
// moved down.
qsizetype ScratchLines::refill() {
    const qsizetype dropped = m_pos;
    const qsizetype kept = m_buffer.size() - m_pos;
    std::memmove(m_buffer.data(), m_buffer.constData() + m_pos, size_t(kept));
    m_base += dropped;
    m_pos = 0;
    m_complete = std::max<qsizetype>(0, m_complete - dropped);
    m_buffer.resize(kept + scratchBlockSize);
    const qint64 got = m_device.read(m_buffer.data() + kept, scratchBlockSize);
    m_buffer.resize(kept + std::max<qint64>(got, 0));
    if (got < 0)
        m_failed = true;
    else if (got == 0)
        m_atEnd = true;
    // The last line end, in the new bytes or across their first one.
    const char* const data = m_buffer.constData();
    for (qsizetype at = m_buffer.size(); at > kept && at > 1;) {
        const auto* lf = static_cast<const char*>(memrchr(data + kept, '\n', size_t(at - kept)));
        if (!lf)
            break;
        if (lf > data && lf[-1] == '\r') {
            m_complete = lf - data + 1;
            break;
        }
        at = lf - data;
    }
    return dropped;
}

bool NameSearch::foundIn(QByteArrayView line) const {
    return m_possible && !line.isEmpty() && line.contains(m_bytes);
}

bool NameSearch::seek(ScratchLines& lines, Needle& stop) {
    if (!m_possible || !m_bytes.isEmpty())
        return lines.seek(m_possible ? &m_needle : nullptr, stop);
    QByteArrayView line;
    for (; lines.current(line); lines.advance()) {
        if (!line.isEmpty())
            return true;
    }
    return false;
}

NameSearch::NameSearch(const QString& name)
    : m_bytes(CodePage::fromUnicode(name))
    , m_possible(CodePage::toUnicode(m_bytes) == name)
    , m_needle(m_bytes) {}

TrackLines readTrackLines(QIODevice& scratch, const QString& sourceName,
                          const std::function<bool(QByteArrayView)>& sink) {
    ScratchLines lines(scratch);
    Needle fileEndNeedle(fileEnd);
    Needle trackStartNeedle(trackStart);
    NameSearch name(sourceName);
    QByteArrayView line;
    if (!name.seek(lines, fileEndNeedle) || !lines.current(line) || !name.foundIn(line))
        return lines.failed() ? TrackLines::ReadFailed : TrackLines::NotFound;
    QByteArray first = line.toByteArray();
    first.append(lineEnd);
    if (!sink(first) || !line.contains(trackStart))
        return TrackLines::Found;
    lines.advance();
    lines.copyUntil(sink, trackStartNeedle, fileEndNeedle);
    return lines.failed() ? TrackLines::ReadFailed : TrackLines::Found;
}
