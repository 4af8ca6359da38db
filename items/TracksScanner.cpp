#include "items/TracksScanner.h"

#include "items/ScanText.h"
#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr QByteArrayView trackStart = "<trk>";
constexpr QByteArrayView waypointStart = "<wpt";
constexpr QByteArrayView nameEnd = "</name>";
constexpr QByteArrayView pointEnd = "</trkpt>";
constexpr QByteArrayView segmentStart = "<trkseg>";
constexpr QByteArrayView trackEnd = "</trk>";
constexpr QByteArrayView fileEnd = "</gpx>";
constexpr QByteArrayView nameStart = "<name>";
constexpr QByteArrayView lineEnd = "\r\n";

constexpr QByteArrayView recognisedTags[] = {trackStart,   waypointStart, nameEnd, pointEnd,
                                             segmentStart, trackEnd,      fileEnd};
constexpr ScanText::TagSet recognised(recognisedTags);

// The point copy stores 16 bytes at a time and may write this far past the bytes it keeps.
constexpr qsizetype copySlack = 16;

} // namespace

TracksScanner::TracksScanner(QIODevice* scratch, qsizetype bufferSize)
    : m_scratch(scratch)
    , m_bufferSize(std::max<qsizetype>(bufferSize, 1)) {
    m_buffer.resize(m_bufferSize + copySlack);
}

bool TracksScanner::feed(QByteArrayView bytes) {
    const char* p = bytes.data();
    const char* const end = p + bytes.size();
    while (p < end && !m_stopped) {
        if (m_tag.isEmpty()) {
            // Track points, nearly all the bytes of a file, go straight to the scratch buffer.
            // Before the first track only waypoints come, which never end in a "</trkpt>".
            if (m_gathered.isEmpty() && m_trackStarts > 0) {
                if (const char* after = copyPoint(p, end)) {
                    p = after;
                    continue;
                }
            }
            // Only a "<" whose next bytes may spell a recognised tag can change anything; the
            // text up to it, other tags included, joins the gathered text in one step. No
            // recognised tag is the beginning of another and none holds a CR or LF, so the
            // bytes at hand decide a tag, unless the block ends or a CR (dropped, so the tag
            // text goes on after it) comes first.
            qsizetype length = 0;
            ScanText::TagMatch match;
            const char* lt = ScanText::nextTag(p, end, recognised, match, length);
            ScanText::appendWithoutLineBreaks(m_gathered, QByteArrayView(p, (lt ? lt : end) - p));
            if (!lt)
                break;
            if (match == ScanText::TagMatch::Partial) {
                m_tag.append('<');
                p = lt + 1;
                continue;
            }
            // The characters before the tag's last one change nothing but the tag text.
            m_tag.append(QByteArrayView(lt, length - 1));
            p = lt + length;
            scanCharacter(p[-1]);
            continue;
        }
        const char ch = *p++;
        if (ch == '\r')
            continue;
        scanCharacter(ch == '\n' ? ' ' : ch);
    }
    return !m_stopped;
}

// A track point as most come, with nothing gathered before it: its text, line breaks mended,
// then "</trkpt>" and a line end, stored in the scratch buffer by the same pass that looks for
// its end, 16 bytes at a time. This is what "</trkpt>" does to the gathered text, without
// gathering it first. Returns where the point's "</trkpt>" ends; or null, the buffer keeping
// nothing, when anything else comes first: a "<" that may begin any other recognised tag, the
// last 16 bytes of the block, or the end of the room the buffer has before it is written out.
const char* TracksScanner::copyPoint(const char* p, const char* end) {
#ifdef __SSE2__
    char* const base = m_buffer.data();
    char* to = base + m_used;
    // The point and its line end leave the buffer short of full, as a write would flush it.
    const qsizetype last = m_bufferSize - pointEnd.size() - lineEnd.size() - 1;
    const auto each = [](char byte) { return _mm_set1_epi8(byte); };
    while (end - p >= 16 && to - base <= last) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        // A LF is stored as a space at once; the bytes after a CR, which is dropped, are
        // stored again from the CR's place by the next step.
        const __m128i lf = _mm_cmpeq_epi8(bytes, each('\n'));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                         _mm_or_si128(_mm_andnot_si128(lf, bytes), _mm_and_si128(lf, each(' '))));
        const unsigned cr = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, each('\r'))));
        const int kept = cr != 0 ? __builtin_ctz(cr) : 16;
        unsigned lt =
            unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, each('<')))) & ((1u << kept) - 1);
        for (; lt != 0; lt &= lt - 1) {
            const int at = __builtin_ctz(lt);
            if (end - p - at >= pointEnd.size() &&
                std::memcmp(p + at, pointEnd.data(), size_t(pointEnd.size())) == 0) {
                if (to + at - base > last)
                    return nullptr;
                std::memcpy(to + at, pointEnd.data(), size_t(pointEnd.size()));
                std::memcpy(to + at + pointEnd.size(), lineEnd.data(), size_t(lineEnd.size()));
                m_used = to + at - base + pointEnd.size() + lineEnd.size();
                return p + at + pointEnd.size();
            }
            qsizetype length = 0;
            if (ScanText::matchTag(p + at, end, recognised, length) != ScanText::TagMatch::None)
                return nullptr;
        }
        p += kept + (cr != 0);
        to += kept;
    }
#else
    Q_UNUSED(p);
    Q_UNUSED(end);
#endif
    return nullptr;
}

void TracksScanner::scanCharacter(char ch) {
    if (ch == '<') {
        m_gathered.append(m_tag);
        m_tag.resize(0);
    }
    m_tag.append(ch);
    if (m_inHeader && m_tag == trackStart) {
        m_header = CodePage::toUnicode(m_gathered);
        m_inHeader = false;
        clearGathered();
    }
    if (ch == 't') {
        // A waypoint start only ends the header; waypoints are not listed, and whatever
        // was gathered up to the first track is dropped.
        if (m_tag == waypointStart) {
            if (m_inHeader)
                m_header = CodePage::toUnicode(m_gathered);
            m_inHeader = false;
            clearGathered();
        }
    } else if (ch == '>') {
        actOnTag();
    }
    if (!m_stopped && !ScanText::canBecomeTag(m_tag, {trackStart, waypointStart, nameEnd, pointEnd,
                                                      segmentStart, trackEnd, fileEnd})) {
        m_gathered.append(m_tag);
        m_tag.resize(0);
    }
}

void TracksScanner::actOnTag() {
    if (m_tag == trackStart) {
        // The first track starts the scratch file; a later one follows what stood between
        // the previous "</trk>" and it.
        if (m_trackStarts > 0)
            write(m_gathered);
        write(m_tag);
        ++m_trackStarts;
        m_currentListed = false;
        m_tag.resize(0);
        clearGathered();
    } else if (m_tag == nameEnd) {
        // The gathered text stays: the name reaches the scratch file with the next write.
        if (m_trackStarts > 0 && !m_currentListed)
            listTrack();
    } else if (m_tag == pointEnd) {
        write(m_gathered);
        writeLine(m_tag);
        m_tag.resize(0);
        clearGathered();
    } else if (m_tag == segmentStart || m_tag == trackEnd) {
        writeLine(m_gathered);
        writeLine(m_tag);
        m_tag.resize(0);
        clearGathered();
    } else if (m_tag == fileEnd) {
        // Nothing after it is read: what was gathered before it stays out of the scratch file.
        m_stopped = true;
        writeLine(m_tag);
    }
}

// A track gets its row at the first "</name>" whose gathered text holds "<name>"; further
// names of the same track add nothing, and a track without any gets no row, so rows and
// tracks stay paired.
void TracksScanner::listTrack() {
    const qsizetype from = m_gathered.indexOf(nameStart, m_nameSearchFrom);
    if (from < 0) {
        m_nameSearchFrom = std::max<qsizetype>(0, m_gathered.size() - nameStart.size() + 1);
        return;
    }
    TrackItem item;
    item.sourceName = CodePage::toUnicode(QByteArrayView(m_gathered).sliced(from + 6));
    item.name = DecodeXmlEntities(item.sourceName);
    item.code = CodePage::toUnicode(m_gathered);
    m_items.append(std::move(item));
    m_currentListed = true;
}

void TracksScanner::clearGathered() {
    m_gathered.resize(0);
    m_nameSearchFrom = 0;
}

void TracksScanner::write(QByteArrayView bytes) {
    if (m_writeFailed)
        return;
    while (!bytes.isEmpty()) {
        const qsizetype part = std::min(m_bufferSize - m_used, bytes.size());
        std::memcpy(m_buffer.data() + m_used, bytes.data(), size_t(part));
        m_used += part;
        bytes = bytes.sliced(part);
        if (m_used >= m_bufferSize && !flush())
            return;
    }
}

void TracksScanner::writeLine(QByteArrayView bytes) {
    write(bytes);
    write(lineEnd);
}

bool TracksScanner::flush() {
    if (m_writeFailed)
        return false;
    QByteArrayView rest = QByteArrayView(m_buffer).first(m_used);
    while (!rest.isEmpty()) {
        const qint64 written = m_scratch->write(rest.data(), rest.size());
        if (written <= 0) {
            m_writeFailed = true;
            m_stopped = true;
            m_writeError = m_scratch->errorString();
            return false;
        }
        rest = rest.sliced(written);
    }
    m_used = 0;
    return true;
}

bool TracksScanner::finish() {
    return flush();
}

QList<TrackItem> TracksScanner::takeItems() {
    return std::exchange(m_items, {});
}
