#include "GpxGenerator.h"

#include <QByteArray>
#include <QFile>

#include <array>

namespace {

constexpr qsizetype flushSize = 1 << 20;

const std::array<const char*, 8> symbols = {"Flag, Blue",  "Residence", "Restaurant",
                                            "Gas Station", "Lodging",   "Shopping Center",
                                            "Scenic Area", "Flag, Red"};

// Names as a unit stores them: entity references and UTF-8 bytes included.
const std::array<const char*, 6> namePrefixes = {
    "Favorite", "Joe&apos;s Caf\xc3\xa9", "Smith &amp; Sons", "Lake", "Trailhead", "Home"};

class Writer {
public:
    Writer(QIODevice& out, bool oneLine)
        : m_out(out)
        , m_lineEnd(oneLine ? "" : "\r\n")
        , m_indent(oneLine ? "" : "  ") {
        m_buffer.reserve(flushSize + 4096);
    }

    Writer& operator<<(const char* text) {
        m_buffer += text;
        return *this;
    }
    Writer& operator<<(const QByteArray& text) {
        m_buffer += text;
        return *this;
    }
    Writer& operator<<(qint64 number) {
        m_buffer += QByteArray::number(number);
        return *this;
    }
    Writer& coordinate(double value) {
        m_buffer += QByteArray::number(value, 'f', 6);
        return *this;
    }
    Writer& endLine() {
        m_buffer += m_lineEnd;
        return maybeFlush();
    }
    Writer& indent(int level) {
        for (int i = 0; i < level; ++i)
            m_buffer += m_indent;
        return *this;
    }
    bool flush() {
        if (!m_failed && !m_buffer.isEmpty())
            m_failed = m_out.write(m_buffer) != m_buffer.size();
        m_buffer.clear();
        return !m_failed;
    }

private:
    Writer& maybeFlush() {
        if (m_buffer.size() >= flushSize)
            flush();
        return *this;
    }

    QIODevice& m_out;
    QByteArray m_buffer;
    const char* m_lineEnd;
    const char* m_indent;
    bool m_failed = false;
};

QByteArray timeStamp(qint64 seconds) {
    const qint64 minute = (seconds / 60) % 60;
    const qint64 hour = (seconds / 3600) % 24;
    const qint64 day = 1 + (seconds / 86400) % 28;
    return QByteArray("2010-08-") + QByteArray::number(day).rightJustified(2, '0') + 'T' +
           QByteArray::number(hour).rightJustified(2, '0') + ':' +
           QByteArray::number(minute).rightJustified(2, '0') + ':' +
           QByteArray::number(seconds % 60).rightJustified(2, '0') + 'Z';
}

void writeHeader(Writer& w) {
    w << "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>";
    w.endLine();
    w << "<gpx xmlns=\"http://www.topografix.com/GPX/1/1\" "
         "xmlns:gpxx=\"http://www.garmin.com/xmlschemas/GpxExtensions/v3\" "
         "xmlns:gpxtpx=\"http://www.garmin.com/xmlschemas/TrackPointExtension/v1\" "
         "creator=\"n\xc3\xbcvi 760\" version=\"1.1\" "
         "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
         "xsi:schemaLocation=\"http://www.topografix.com/GPX/1/1 "
         "http://www.topografix.com/GPX/1/1/gpx.xsd\">";
    w.endLine();
    w.indent(1) << "<metadata><link href=\"http://www.garmin.com\"><text>Garmin "
                   "International</text></link><time>2010-08-05T14:32:07Z</time></metadata>";
    w.endLine();
}

void writeFavorite(Writer& w, qint64 number) {
    const double lat = 44.0 + double(number % 10000) / 10000.0;
    const double lon = -93.0 - double(number % 7919) / 10000.0;
    w.indent(1) << "<wpt lat=\"";
    w.coordinate(lat) << "\" lon=\"";
    w.coordinate(lon) << "\">";
    w.endLine();
    w.indent(2) << "<ele>" << 250 + number % 100 << ".000000</ele>";
    w.endLine();
    w.indent(2) << "<time>" << timeStamp(number * 37) << "</time>";
    w.endLine();
    w.indent(2) << "<name>" << namePrefixes[number % namePrefixes.size()] << ' ' << number
                << "</name>";
    w.endLine();
    w.indent(2) << "<sym>" << symbols[number % symbols.size()] << "</sym>";
    w.endLine();
    w.indent(2) << "<extensions><gpxx:WaypointExtension><gpxx:DisplayMode>SymbolAndName"
                   "</gpxx:DisplayMode><gpxx:Categories><gpxx:Category>Favorites"
                   "</gpxx:Category></gpxx:Categories><gpxx:Address><gpxx:StreetAddress>"
                << 100 + number % 9000
                << " Main Street</gpxx:StreetAddress><gpxx:City>Minneapolis</gpxx:City>"
                   "<gpxx:State>MN</gpxx:State><gpxx:PostalCode>55"
                << 100 + number % 900
                << "</gpxx:PostalCode></gpxx:Address><gpxx:PhoneNumber>(612) 555-"
                << 1000 + number % 9000
                << "</gpxx:PhoneNumber></gpxx:WaypointExtension></extensions>";
    w.endLine();
    w.indent(1) << "</wpt>";
    w.endLine();
}

void writeTrack(Writer& w, qint64 track, qint64 points) {
    w.indent(1) << "<trk>";
    w.endLine();
    w.indent(2) << "<name>" << timeStamp(track * 86400 / 7).left(10) << " Drive " << track
                << "</name>";
    w.endLine();
    w.indent(2) << "<extensions><gpxx:TrackExtension><gpxx:DisplayColor>Magenta"
                   "</gpxx:DisplayColor></gpxx:TrackExtension></extensions>";
    w.endLine();
    w.indent(2) << "<trkseg>";
    w.endLine();
    for (qint64 p = 0; p < points; ++p) {
        w.indent(3) << "<trkpt lat=\"";
        w.coordinate(44.9 + double(p) * 0.00001) << "\" lon=\"";
        w.coordinate(-93.2 - double(track) * 0.001 - double(p) * 0.00001)
            << "\"><ele>" << 250 + p % 50 << ".38</ele><time>" << timeStamp(track * 5000 + p)
            << "</time></trkpt>";
        w.endLine();
    }
    w.indent(2) << "</trkseg>";
    w.endLine();
    w.indent(1) << "</trk>";
    w.endLine();
}

} // namespace

bool writeGpx(QIODevice& out, const GpxShape& shape) {
    Writer w(out, shape.oneLine);
    writeHeader(w);
    for (qint64 i = 0; i < shape.favorites; ++i)
        writeFavorite(w, shape.firstFavorite + i);
    for (qint64 t = 1; t <= shape.tracks; ++t)
        writeTrack(w, t, shape.pointsPerTrack);
    w << "</gpx>";
    w.endLine();
    return w.flush();
}

qint64 writeGpxFile(const QString& path, const GpxShape& shape) {
    QFile file(path);
    if (!file.open(QIODevice::NewOnly) || !writeGpx(file, shape))
        return -1;
    return file.size();
}
