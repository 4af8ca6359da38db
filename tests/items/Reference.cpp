#include "Reference.h"

#include "items/FavoritesScanner.h"
#include "items/TracksScanner.h"
#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <QFile>
#include <QRandomGenerator>

namespace {

// Position of the first occurrence counted from 1, 0 when absent.
qsizetype inStr(const QString& text, const char* what) {
    return text.indexOf(QLatin1String(what)) + 1;
}

QStringList favoriteRow(const QString& t) {
    qsizetype at = inStr(t, "<name>") + 6;
    qsizetype length = inStr(t, "</name>") - at;
    const QString name = length < 0 ? QString() : DecodeXmlEntities(t.mid(at - 1, length));
    at = inStr(t, "<sym>") + 5;
    length = inStr(t, "</sym>") - at;
    return {name, t,
            length < 1 ? QStringLiteral("--- NONE ---") : DecodeXmlEntities(t.mid(at - 1, length))};
}

// One character of the source as both scanners read it: a LF is a space and a CR is dropped
// (returned, so the caller skips it); a '<' moves the tag text so far into the item.
QChar next(char byte, QString& work, QString& item) {
    const QChar ch = byte == '\n' ? QChar(u' ') : CodePage::toChar(uchar(byte));
    if (ch == u'<')
        item += std::exchange(work, {});
    if (ch != u'\r')
        work += ch;
    return ch;
}

} // namespace

Scan referenceFavorites(QByteArrayView source) {
    Scan r;
    QString work, item;
    for (qsizetype i = 0; i < source.size() && !r.stopped; ++i) {
        const QChar ch = next(source[i], work, item);
        if (ch == u'\r')
            continue;
        r.stopped = work == u"<trk>" || work == u"</gpx>";
        if (work == u"<wpt" || r.stopped) {
            r.starts += !r.stopped;
            if (r.hasHeader)
                r.rows << favoriteRow(item);
            else
                r.header = item;
            r.hasHeader = true;
            item.clear();
        }
    }
    return r;
}

Scan referenceTracks(QByteArrayView source) {
    Scan r;
    QString work, item;
    bool listed = false;
    const auto write = [&r](const QString& text, const char* end = "") {
        r.scratch += CodePage::fromUnicode(text) + end;
    };
    for (qsizetype i = 0; i < source.size() && !r.stopped; ++i) {
        const QChar ch = next(source[i], work, item);
        if (ch == u'\r')
            continue;
        if ((work == u"<trk>" || work == u"<wpt") && !r.hasHeader) {
            r.header = item;
            r.hasHeader = true;
        }
        if (work == u"<wpt")
            item.clear();
        if (ch != u'>')
            continue;
        if (work == u"<trk>") {
            write((r.starts++ ? item : QString()) + work);
            listed = false;
        } else if (work == u"</name>") {
            // The first name of a track names it; a track without one gets no row.
            if (r.starts > 0 && !listed && inStr(item, "<name>") > 0) {
                const QString name = item.mid(inStr(item, "<name>") + 5);
                r.rows << QStringList{DecodeXmlEntities(name), item, name};
                listed = true;
            }
            continue;
        } else if (work == u"</trkpt>") {
            write(item + work, "\r\n");
        } else if (work == u"<trkseg>" || work == u"</trk>") {
            write(item + "\r\n" + work, "\r\n");
        } else if (work == u"</gpx>") {
            write(work, "\r\n");
            r.stopped = true;
        } else {
            continue;
        }
        work.clear();
        item.clear();
    }
    return r;
}

// Feeds every block, also after the scan stopped.
template <typename Item, typename Scanner>
Scan scan(Scanner&& scanner, QString Item::*last, QByteArrayView source,
          const QList<qsizetype>& sizes) {
    Scan r;
    bool goesOn = true;
    for (qsizetype at = 0, i = 0, n; at < source.size(); at += n) {
        n = qMin(sizes.isEmpty() ? source.size() : sizes[i++ % sizes.size()], source.size() - at);
        goesOn = scanner.feed(source.sliced(at, n));
        for (const Item& item : scanner.takeItems())
            r.rows << QStringList{item.name, item.code, item.*last};
    }
    qint64 starts;
    if constexpr (std::is_same_v<Item, TrackItem>)
        starts = scanner.finish() && !scanner.writeFailed() ? scanner.trackStarts() : -1;
    else
        starts = scanner.itemStarts();
    r.header = scanner.header();
    r.hasHeader = scanner.hasHeader();
    r.stopped = scanner.stopped();
    r.starts = goesOn == r.stopped ? -1 : starts;
    return r;
}

Scan scanFavorites(QByteArrayView source, const QList<qsizetype>& sizes) {
    return scan(FavoritesScanner(), &FavoriteItem::symbol, source, sizes);
}

Scan scanTracks(QByteArrayView source, const QList<qsizetype>& sizes, qsizetype bufferSize) {
    Device scratch(QIODevice::WriteOnly);
    Scan r = scan(TracksScanner(&scratch, bufferSize), &TrackItem::sourceName, source, sizes);
    r.scratch = scratch.data();
    return r;
}

QStringList lines(const Scan& scan) {
    QStringList out{
        scan.hasHeader ? QStringLiteral("header ") + scan.header : QStringLiteral("no header"),
        QStringLiteral("starts %1%2").arg(scan.starts).arg(scan.stopped ? ", stopped" : "")};
    for (const QStringList& row : scan.rows)
        out << row.join(u'|');
    if (!scan.scratch.isEmpty())
        out << QStringLiteral("scratch ") + CodePage::toUnicode(scan.scratch);
    return out;
}

QString compareScanners(QByteArrayView source, const QList<qsizetype>& sizes,
                        qsizetype bufferSize) {
    const QStringList expected = lines(referenceFavorites(source)) + lines(referenceTracks(source));
    const QStringList actual =
        lines(scanFavorites(source, sizes)) + lines(scanTracks(source, sizes, bufferSize));
    qsizetype i = 0;
    while (i < expected.size() && expected[i] == actual.value(i))
        ++i;
    return expected == actual ? QString()
                              : QStringLiteral("line %1: expected «%2», got «%3»")
                                    .arg(QString::number(i), expected.value(i).left(300),
                                         actual.value(i).left(300));
}

QString compareAll(QByteArrayView source, quint32 seed) {
    QRandomGenerator random(seed);
    QList<qsizetype> sizes;
    for (int i = 0; i < 8; ++i)
        sizes << (random.bounded(4) ? random.bounded(1, 9) : random.bounded(1, 5000));
    return compareScanners(source, {}, TracksScanner::defaultBufferSize) +
           compareScanners(source, {1}, 1) + compareScanners(source, sizes, 7);
}

qint64 Device::readData(char* data, qint64 size) {
    return failAt >= 0 && pos() >= failAt ? -1 : QBuffer::readData(data, qMin<qint64>(size, 7));
}

qint64 Device::writeData(const char* data, qint64 size) {
    if (failAt >= 0 && pos() >= failAt)
        return -1;
    return QBuffer::writeData(data, failAt < 0 ? size : qMin(size, failAt - pos()));
}

QList<Case> readCases(const QString& name) {
    QFile file(QStringLiteral(TARNWICK_TEST_DATA "/") + name);
    QList<Case> cases;
    if (!file.open(QIODevice::ReadOnly))
        return cases;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (line.startsWith("case:"))
            cases.append(Case());
        if (line.startsWith('#') || colon < 1 || cases.isEmpty())
            continue;
        QStringList fields;
        for (const QByteArray& field : line.mid(colon + 1).trimmed().split('|'))
            fields << CodePage::toUnicode(QByteArray::fromPercentEncoding(field));
        cases.last().append({line.left(colon), fields});
    }
    return cases;
}

QList<QStringList> values(const Case& c, QByteArrayView key) {
    QList<QStringList> out;
    for (const auto& [k, fields] : c)
        if (k == key)
            out << fields;
    return out;
}

QStringList texts(const Case& c, QByteArrayView key) {
    QStringList out;
    for (const QStringList& fields : values(c, key))
        out << fields.join(u'|');
    return out;
}
