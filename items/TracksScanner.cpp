#include "items/TracksScanner.h"

#include "items/ScanText.h"
#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <utility>

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

} // namespace

TracksScanner::TracksScanner(QIODevice* scratch, qsizetype bufferSize)
    : m_scratch(scratch)
    , m_bufferSize(std::max<qsizetype>(bufferSize, 1)) {
    m_buffer.reserve(m_bufferSize);
}

bool TracksScanner::feed(QByteArrayView bytes) {
    const char* p = bytes.data();
    const char* const end = p + bytes.size();
    while (p < end && !m_stopped) {
        if (m_tag.isEmpty()) {
            // Only a "<" whose next bytes may spell a recognised tag can change anything; the
            // text up to it, other tags included, joins the gathered text in one step. No
            // recognised tag is the beginning of another and none holds a CR or LF, so the
            // bytes at hand decide a tag, unless the block ends or a CR (dropped, so the tag
            // text goes on after it) comes first.
            qsizetype length = 0;
            ScanText::TagMatch match;
            const char* lt = ScanText::nextTag(p, end, recognised, match, length);
            const QByteArrayView run(p, (lt ? lt : end) - p);
            if (lt && match == ScanText::TagMatch::Whole && m_gathered.isEmpty() &&
                QByteArrayView(lt, length) == pointEnd &&
                m_buffer.size() + run.size() + length + lineEnd.size() < m_bufferSize) {
                // A track point as most come: its text goes straight to the scratch buffer,
                // which it does not fill.
                ScanText::appendWithoutLineBreaks(m_buffer, run);
                m_buffer.append(pointEnd).append(lineEnd);
                p = lt + length;
                continue;
            }
            ScanText::appendWithoutLineBreaks(m_gathered, run);
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
        m_stopped = true;
        writeLine(m_tag);
        m_tag.resize(0);
        clearGathered();
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
        const qsizetype room = m_bufferSize - m_buffer.size();
        const qsizetype part = std::min(room, bytes.size());
        m_buffer.append(bytes.first(part));
        bytes = bytes.sliced(part);
        if (m_buffer.size() >= m_bufferSize && !flush())
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
    QByteArrayView rest(m_buffer);
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
    m_buffer.resize(0);
    return true;
}

bool TracksScanner::finish() {
    return flush();
}

QList<TrackItem> TracksScanner::takeItems() {
    return std::exchange(m_items, {});
}
