#include "items/ItemDetails.h"

#include "items/ScratchLines.h"

#include <QDateTime>
#include <QIODevice>
#include <QXmlStreamReader>

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

// The mean radius of the Earth (IUGG): a great-circle length on it is within 0.5 % of the
// length on the ellipsoid for any track.
constexpr double earthRadius = 6371008.8;
constexpr double degree = M_PI / 180.0;
constexpr qsizetype outlineLimit = 2000;

double haversine(double lat1, double lon1, double lat2, double lon2) {
    const double dLat = (lat2 - lat1) * degree;
    const double dLon = (lon2 - lon1) * degree;
    const double a =
        std::sin(dLat / 2) * std::sin(dLat / 2) +
        std::cos(lat1 * degree) * std::cos(lat2 * degree) * std::sin(dLon / 2) * std::sin(dLon / 2);
    return 2 * earthRadius * std::asin(std::sqrt(std::min(1.0, a)));
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

QByteArrayView trimmed(QByteArrayView text) {
    while (!text.isEmpty() && isSpace(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isSpace(text.back()))
        text.chop(1);
    return text;
}

// A whole text as a number, as XML writes it: no leading "+", no hex.
bool toNumber(QByteArrayView text, double& value) {
    text = trimmed(text);
    if (text.isEmpty())
        return false;
    const char* const end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    return ec == std::errc() && ptr == end && std::isfinite(value);
}

// The value of an attribute in a start tag's text (after the element name): name = "value"
// or name = 'value', the name standing after white space.
bool attribute(QByteArrayView tag, QByteArrayView name, double& value) {
    for (qsizetype at = tag.indexOf(name); at >= 0; at = tag.indexOf(name, at + 1)) {
        if (at == 0 || !isSpace(tag[at - 1]))
            continue;
        qsizetype i = at + name.size();
        while (i < tag.size() && isSpace(tag[i]))
            ++i;
        if (i >= tag.size() || tag[i] != '=')
            continue;
        ++i;
        while (i < tag.size() && isSpace(tag[i]))
            ++i;
        if (i >= tag.size() || (tag[i] != '"' && tag[i] != '\''))
            return false;
        const qsizetype close = tag.indexOf(tag[i], i + 1);
        return close > i && toNumber(tag.sliced(i + 1, close - i - 1), value);
    }
    return false;
}

// The text of the first element <tag>...</tag> in the text, or a null view.
QByteArrayView elementText(QByteArrayView text, QByteArrayView open, QByteArrayView close) {
    const qsizetype start = text.indexOf(open);
    if (start < 0)
        return {};
    const qsizetype end = text.indexOf(close, start + open.size());
    if (end < 0)
        return {};
    return trimmed(text.sliced(start + open.size(), end - start - open.size()));
}

// Gathers a track's figures from its lines, run by run, keeping only the outline.
class TrackReader {
public:
    explicit TrackReader(TrackDetails& details)
        : m_details(details) {}

    bool lines(QByteArrayView run) {
        while (!run.isEmpty()) {
            const auto* lf = static_cast<const char*>(std::memchr(run.data(), '\n', run.size()));
            const qsizetype size = lf ? lf - run.data() + 1 : run.size();
            line(run.first(size));
            run = run.sliced(size);
        }
        return m_valid;
    }

    bool valid() const { return m_valid; }

    // The last point always ends the outline.
    void finish() {
        const auto same = [this](const OutlinePoint& p) {
            return p.latitude == m_last.latitude && p.longitude == m_last.longitude &&
                   p.segment == m_last.segment;
        };
        if (m_details.points > 0 &&
            (m_details.outline.isEmpty() || !same(m_details.outline.last())))
            m_details.outline.append(m_last);
        if (!m_lastTime.isEmpty())
            m_details.lastTime = QString::fromLatin1(m_lastTime);
    }

private:
    void line(QByteArrayView text) {
        if (text.contains("<trkseg>"))
            ++m_details.segments;
        static constexpr QByteArrayView pointTag("<trkpt");
        qsizetype at = text.indexOf(pointTag);
        while (at >= 0 && m_valid) {
            const qsizetype next = text.indexOf(pointTag, at + pointTag.size());
            point(text.sliced(at + pointTag.size(),
                              (next < 0 ? text.size() : next) - at - pointTag.size()));
            at = next;
        }
    }

    // One track point: its start tag's attributes and what follows up to the next point.
    void point(QByteArrayView text) {
        const qsizetype tagEnd = text.indexOf('>');
        double lat = 0, lon = 0;
        const QByteArrayView tag = text.first(tagEnd < 0 ? text.size() : tagEnd);
        if (tagEnd < 0 || (!tag.isEmpty() && !isSpace(tag.front())) ||
            !attribute(tag, "lat", lat) || !attribute(tag, "lon", lon) || std::abs(lat) > 90 ||
            std::abs(lon) > 180) {
            m_valid = false;
            return;
        }
        const QByteArrayView body = text.sliced(tagEnd);
        double ele = 0;
        if (toNumber(elementText(body, "<ele>", "</ele>"), ele)) {
            m_details.lowest = m_details.hasElevation ? std::min(m_details.lowest, ele) : ele;
            m_details.highest = m_details.hasElevation ? std::max(m_details.highest, ele) : ele;
            m_details.hasElevation = true;
        }
        const QByteArrayView time = elementText(body, "<time>", "</time>");
        if (!time.isEmpty()) {
            if (m_details.firstTime.isEmpty())
                m_details.firstTime = QString::fromLatin1(time);
            // Copied into the same bytes each time: no allocation per point.
            m_lastTime.resize(time.size());
            std::memcpy(m_lastTime.data(), time.data(), size_t(time.size()));
        }
        const int segment = int(m_details.segments);
        if (m_details.points > 0 && m_last.segment == segment)
            m_details.length += haversine(m_last.latitude, m_last.longitude, lat, lon);
        m_last = {lat, lon, segment};
        if (m_details.points % m_stride == 0) {
            m_details.outline.append(m_last);
            if (m_details.outline.size() >= outlineLimit) {
                // Every other kept point goes, and from now on every other one is kept.
                qsizetype to = 0;
                for (qsizetype from = 0; from < m_details.outline.size(); from += 2)
                    m_details.outline[to++] = m_details.outline[from];
                m_details.outline.resize(to);
                m_stride *= 2;
            }
        }
        ++m_details.points;
    }

    TrackDetails& m_details;
    OutlinePoint m_last{0, 0, 0};
    qint64 m_stride = 1;
    QByteArray m_lastTime;
    bool m_valid = true;
};

QString localTime(const QString& text, const QLocale& locale) {
    const QDateTime time = QDateTime::fromString(text, Qt::ISODateWithMs);
    return time.isValid() ? locale.toString(time.toLocalTime(), QLocale::ShortFormat) : text;
}

QString metres(double value, const QLocale& locale) {
    return locale.toString(value, 'f', value == std::round(value) ? 0 : 1) + QStringLiteral(" m");
}

// Hours, minutes and seconds; negative when the last point's time is earlier than the first's.
QString duration(qint64 seconds) {
    const QString sign = seconds < 0 ? QStringLiteral("-") : QString();
    seconds = std::abs(seconds);
    return QStringLiteral("%1%2:%3:%4")
        .arg(sign)
        .arg(seconds / 3600)
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

QString notReadableText() {
    return QStringLiteral("details not readable");
}

FavoriteDetails favoriteDetails(const QString& code) {
    FavoriteDetails details;
    // The loader starts a favorite at every tag that begins with "<wpt", "<wptx1:..." too,
    // so a favorite's text may end inside its waypoint: the end of the text closes it.
    QXmlStreamReader xml(QStringLiteral("<item>") + code);
    xml.setNamespaceProcessing(false);
    while (!xml.atEnd() && !(xml.readNext() == QXmlStreamReader::StartElement &&
                             xml.name() == QLatin1String("wpt"))) {
    }
    if (xml.hasError() || xml.atEnd())
        return details;
    bool latOk = false, lonOk = false;
    details.latitude = xml.attributes().value(QLatin1String("lat")).toDouble(&latOk);
    details.longitude = xml.attributes().value(QLatin1String("lon")).toDouble(&lonOk);
    if (!latOk || !lonOk || std::abs(details.latitude) > 90 || std::abs(details.longitude) > 180)
        return details;
    QStringList address;
    bool addressSeen = false, inAddress = false;
    for (int depth = 1; depth > 0 && !xml.atEnd();) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            --depth;
            if (xml.name().endsWith(QLatin1String("Address")) && inAddress) {
                inAddress = false;
                addressSeen = true;
            }
            continue;
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        const QStringView name = xml.name();
        const QStringView local = name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
        if (depth == 1 && (name == QLatin1String("ele") || name == QLatin1String("time") ||
                           name == QLatin1String("cmt") || name == QLatin1String("desc"))) {
            const QString tag = name.toString();
            const QString text = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
            if (tag == QLatin1String("ele"))
                details.elevation = text.toDouble(&details.hasElevation);
            else if (tag == QLatin1String("time"))
                details.time = text;
            else if (tag == QLatin1String("cmt"))
                details.comment = text;
            else
                details.description = text;
        } else if (local == QLatin1String("Address") && !addressSeen) {
            inAddress = true;
            ++depth;
        } else if (inAddress) {
            const QString text = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
            if (!text.isEmpty())
                address.append(text);
        } else if (local == QLatin1String("PhoneNumber") && details.phone.isEmpty()) {
            details.phone = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
        } else {
            ++depth;
        }
    }
    if (xml.hasError() && xml.error() != QXmlStreamReader::PrematureEndOfDocumentError)
        return details;
    details.address = address.join(QStringLiteral(", "));
    details.readable = true;
    return details;
}

TrackDetails trackDetails(QIODevice& scratch, const QString& sourceName) {
    TrackDetails details;
    TrackReader reader(details);
    const TrackLines found = readTrackLines(
        scratch, sourceName, [&reader](QByteArrayView run) { return reader.lines(run); });
    reader.finish();
    details.readable = found == TrackLines::Found && reader.valid();
    return details;
}

QString degreesMinutes(double degrees, bool latitude, const QLocale& locale) {
    const QChar hemisphere = latitude ? (degrees < 0 ? u'S' : u'N') : (degrees < 0 ? u'W' : u'E');
    // Rounded once, in thousandths of a minute, so that 59.9996′ becomes the next degree.
    const qint64 thousandths = std::llround(std::abs(degrees) * 60000.0);
    return QStringLiteral("%1 %2° %3′")
        .arg(hemisphere)
        .arg(locale.toString(thousandths / 60000))
        .arg(locale.toString(double(thousandths % 60000) / 1000.0, 'f', 3));
}

QStringList favoriteLines(const QString& name, const QString& symbol,
                          const FavoriteDetails& details, const QLocale& locale) {
    if (!details.readable)
        return {name + QStringLiteral(": ") + notReadableText()};
    QStringList lines;
    lines << QStringLiteral("%1 (%2): %3 %4")
                 .arg(name, symbol, degreesMinutes(details.latitude, true, locale),
                      degreesMinutes(details.longitude, false, locale));
    lines << QStringLiteral("Latitude %1°, longitude %2°")
                 .arg(locale.toString(details.latitude, 'f', 6),
                      locale.toString(details.longitude, 'f', 6));
    if (details.hasElevation)
        lines << QStringLiteral("Elevation ") + metres(details.elevation, locale);
    if (!details.time.isEmpty())
        lines << QStringLiteral("Time ") + localTime(details.time, locale);
    if (!details.comment.isEmpty())
        lines << QStringLiteral("Comment: ") + details.comment;
    if (!details.description.isEmpty() && details.description != details.comment)
        lines << QStringLiteral("Description: ") + details.description;
    if (!details.address.isEmpty())
        lines << QStringLiteral("Address: ") + details.address;
    if (!details.phone.isEmpty())
        lines << QStringLiteral("Phone: ") + details.phone;
    return lines;
}

QStringList trackLines(const TrackDetails& details, const QLocale& locale) {
    if (!details.readable)
        return {notReadableText()};
    QStringList lines;
    const auto counted = [&locale](qint64 n, const QString& one, const QString& many) {
        return locale.toString(n) + QLatin1Char(' ') + (n == 1 ? one : many);
    };
    QString summary =
        QStringLiteral("%1 in %2, %3 km")
            .arg(counted(details.points, QStringLiteral("point"), QStringLiteral("points")),
                 counted(details.segments, QStringLiteral("segment"), QStringLiteral("segments")),
                 locale.toString(details.length / 1000.0, 'f', 2));
    const QDateTime first = QDateTime::fromString(details.firstTime, Qt::ISODateWithMs);
    const QDateTime last = QDateTime::fromString(details.lastTime, Qt::ISODateWithMs);
    if (first.isValid() && last.isValid())
        summary += QStringLiteral(", ") + duration(first.secsTo(last));
    lines << summary;
    if (!details.firstTime.isEmpty())
        lines << QStringLiteral("From %1 to %2")
                     .arg(localTime(details.firstTime, locale),
                          localTime(details.lastTime, locale));
    if (details.hasElevation)
        lines << QStringLiteral("Highest %1, lowest %2")
                     .arg(metres(details.highest, locale), metres(details.lowest, locale));
    return lines;
}
