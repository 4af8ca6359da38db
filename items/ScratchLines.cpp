#include "items/ScratchLines.h"

#include "text/CodePage.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr QByteArrayView lineEnd("\r\n");
constexpr QByteArrayView trackStart("<trk>");
constexpr QByteArrayView fileEnd("</gpx>");
constexpr qsizetype scratchBlockSize = 1024 * 1024;

// A needle looked for 16 positions at a time: a position is a candidate when its first, middle
// and last bytes are the needle's, and only a candidate is compared whole. In track data hardly
// anything but an occurrence of "<trk>", "</gpx>" or a track name is a candidate ("<ele>" has
// the first and last byte of "<trk>", "</ele>" those of "</gpx>"), so the pass costs little
// more than reading the bytes.
class Probe {
public:
    explicit Probe(QByteArrayView needle)
        : m_needle(needle)
#ifdef __SSE2__
        , m_first(_mm_set1_epi8(needle.isEmpty() ? 0 : needle.front()))
        , m_middle(_mm_set1_epi8(needle.isEmpty() ? 0 : needle[needle.size() / 2]))
        , m_last(_mm_set1_epi8(needle.isEmpty() ? 0 : needle.back()))
#endif
    {
    }

    qsizetype size() const {
        return m_needle.size();
    }
    bool isAt(const char* p) const {
        return std::memcmp(p, m_needle.data(), size_t(m_needle.size())) == 0;
    }
#ifdef __SSE2__
    // Bit i is set when the needle may begin at p + i. Reads the 15 + size() bytes from p on;
    // the needle must not be empty.
    unsigned candidates(const char* p) const {
        const auto matches = [p](qsizetype offset, __m128i byte) {
            return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + offset)),
                                  byte);
        };
        const __m128i all =
            _mm_and_si128(_mm_and_si128(matches(0, m_first), matches(size() / 2, m_middle)),
                          matches(size() - 1, m_last));
        return unsigned(_mm_movemask_epi8(all));
    }
#endif

private:
    QByteArrayView m_needle;
#ifdef __SSE2__
    __m128i m_first;
    __m128i m_middle;
    __m128i m_last;
#endif
};

// The last LF in [begin, end), or null; what memrchr does, which only glibc has. Looks at 64
// bytes at a time from the end, then 16, so a block of one long line costs about as much as
// reading it: about memrchr's time on 50 MB.
const char* lastLineFeed(const char* begin, const char* end) {
#ifdef __SSE2__
    const __m128i lf = _mm_set1_epi8('\n');
    const auto lineFeeds = [&lf](const char* p) {
        return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), lf);
    };
    while (end - begin >= 64) {
        const __m128i any = _mm_or_si128(_mm_or_si128(lineFeeds(end - 64), lineFeeds(end - 48)),
                                         _mm_or_si128(lineFeeds(end - 32), lineFeeds(end - 16)));
        if (_mm_movemask_epi8(any))
            break;
        end -= 64;
    }
    while (end - begin >= 16) {
        const unsigned hits = unsigned(_mm_movemask_epi8(lineFeeds(end - 16)));
        if (hits)
            return end - 16 + (31 - __builtin_clz(hits));
        end -= 16;
    }
#endif
    while (end > begin) {
        if (*--end == '\n')
            return end;
    }
    return nullptr;
}

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

bool ScratchLines::seek(QByteArrayView stop, QByteArrayView name) {
    for (;;) {
        const qsizetype to = completeEnd();
        if (to > m_pos) {
            if (const qsizetype hit = find(stop, name, to); hit >= 0) {
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
                                           QByteArrayView first, QByteArrayView second) {
    for (;;) {
        const qsizetype to = completeEnd();
        if (to > m_pos) {
            const qsizetype hit = find(first, second, to);
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

// The first offset from the cursor up to to (a line boundary) where the bytes of a or of b
// stand within one line, or -1; an empty needle is not looked for. Both are looked for in the
// same pass, which ends at the first occurrence of either.
qsizetype ScratchLines::find(QByteArrayView a, QByteArrayView b, qsizetype to) const {
    const char* const data = m_buffer.constData();
    const Probe probes[] = {Probe(a), Probe(b)};
    const auto occursAt = [&](qsizetype at) {
        for (const Probe& probe : probes) {
            if (probe.size() > 0 && at + probe.size() <= to && probe.isAt(data + at) &&
                withinLine(at, probe.size()))
                return true;
        }
        return false;
    };
    const qsizetype longest = std::max(a.size(), b.size());
    if (longest == 0)
        return -1;
    qsizetype at = m_pos;
#ifdef __SSE2__
    // Whole steps of 16 positions while every probe's reads stay before to.
    for (; at + 15 + longest <= to; at += 16) {
        unsigned mask = 0;
        for (const Probe& probe : probes) {
            if (probe.size() > 0)
                mask |= probe.candidates(data + at);
        }
        for (; mask != 0; mask &= mask - 1) {
            const qsizetype candidate = at + __builtin_ctz(mask);
            if (occursAt(candidate))
                return candidate;
        }
    }
#endif
    for (; at < to; ++at) {
        if (occursAt(at))
            return at;
    }
    return -1;
}

// Whether the size bytes at offset at hold no part of a line end: an occurrence across a line
// end is in no line.
bool ScratchLines::withinLine(qsizetype at, qsizetype size) const {
    for (qsizetype k = std::max(m_pos, at - 1); k < at + size; ++k) {
        if (isLineEndAt(k))
            return false;
    }
    return true;
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
        const char* lf = lastLineFeed(data + kept, data + at);
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

bool NameSearch::seek(ScratchLines& lines, QByteArrayView stop) {
    if (!m_possible)
        return lines.seek(stop);
    if (!m_bytes.isEmpty())
        return lines.seek(stop, m_bytes);
    QByteArrayView line;
    for (; lines.current(line); lines.advance()) {
        if (!line.isEmpty())
            return true;
    }
    return false;
}

NameSearch::NameSearch(const QString& name)
    : m_bytes(CodePage::fromUnicode(name))
    , m_possible(CodePage::toUnicode(m_bytes) == name) {}

TrackLines readTrackLines(QIODevice& scratch, const QString& sourceName,
                          const std::function<bool(QByteArrayView)>& sink) {
    ScratchLines lines(scratch);
    NameSearch name(sourceName);
    QByteArrayView line;
    if (!name.seek(lines, fileEnd) || !lines.current(line) || !name.foundIn(line))
        return lines.failed() ? TrackLines::ReadFailed : TrackLines::NotFound;
    QByteArray first = line.toByteArray();
    first.append(lineEnd);
    if (!sink(first) || !line.contains(trackStart))
        return TrackLines::Found;
    lines.advance();
    lines.copyUntil(sink, trackStart, fileEnd);
    return lines.failed() ? TrackLines::ReadFailed : TrackLines::Found;
}
