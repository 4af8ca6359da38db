#include "ReferenceScanners.h"

#include "text/CodePage.h"
#include "text/TextHelpers.h"

namespace {

// Position of the first occurrence counted from 1; 0 when absent.
qsizetype inStr(const QString& text, const QString& what) {
    return text.indexOf(what) + 1;
}

// length characters from position start (counted from 1); fewer where the text ends.
QString mid(const QString& text, qsizetype start, qsizetype length) {
    return text.mid(start - 1, length);
}

// The file's bytes as characters, one per byte.
QString character(char byte) {
    return QString(CodePage::toChar(uchar(byte)));
}

FavoriteItem favoriteRow(const QString& t) {
    FavoriteItem row;
    qsizetype workIndex = inStr(t, QStringLiteral("<name>")) + 6;
    qsizetype workLength = inStr(t, QStringLiteral("</name>")) - workIndex;
    // A negative length lists the favorite with an empty name.
    if (workLength >= 0)
        row.name = DecodeXmlEntities(mid(t, workIndex, workLength));
    row.code = t;
    workIndex = inStr(t, QStringLiteral("<sym>")) + 5;
    workLength = inStr(t, QStringLiteral("</sym>")) - workIndex;
    if (workLength < 1)
        row.symbol = QStringLiteral("--- NONE ---");
    else
        row.symbol = DecodeXmlEntities(mid(t, workIndex, workLength));
    return row;
}

} // namespace

ReferenceFavorites referenceFavorites(QByteArrayView source) {
    ReferenceFavorites r;
    QString workText;
    QString itemText;
    bool loopFlag = true;
    qint64 rowIndex = -1;
    for (qsizetype i = 0; i < source.size() && loopFlag; ++i) {
        QString lineBuffer = character(source[i]);
        // A carriage return is dropped before anything looks at it.
        if (lineBuffer == QLatin1String("\r"))
            continue;
        if (lineBuffer == QLatin1String("\n"))
            lineBuffer = QStringLiteral(" ");
        if (lineBuffer == QLatin1String("<")) {
            itemText += workText;
            workText.clear();
        }
        workText += lineBuffer;
        if (workText == QLatin1String("<wpt")) {
            ++r.itemStarts;
            if (rowIndex == -1) {
                rowIndex = 0;
                r.header = itemText;
                r.hasHeader = true;
            } else {
                r.rows.append(favoriteRow(itemText));
                ++rowIndex;
            }
            itemText.clear();
        }
        if (workText == QLatin1String("<trk>") || workText == QLatin1String("</gpx>")) {
            loopFlag = false;
            if (rowIndex == -1) {
                rowIndex = 0;
                r.header = itemText;
                r.hasHeader = true;
            } else {
                r.rows.append(favoriteRow(itemText));
                ++rowIndex;
            }
            itemText.clear();
        }
    }
    r.stopped = !loopFlag;
    return r;
}

ReferenceTracks referenceTracks(QByteArrayView source) {
    ReferenceTracks r;
    QString workText;
    QString itemText;
    bool loopFlag = true;
    bool inHeader = true;
    qint64 rowIndex = -1;
    // Whether the track begun by the latest "<trk>" has its row.
    bool listed = false;
    const auto write = [&r](const QString& text) { r.scratch += CodePage::fromUnicode(text); };
    const auto writeLine = [&](const QString& text) {
        write(text);
        r.scratch += "\r\n";
    };
    for (qsizetype i = 0; i < source.size() && loopFlag; ++i) {
        QString lineBuffer = character(source[i]);
        if (lineBuffer == QLatin1String("<")) {
            itemText += workText;
            workText.clear();
        } else if (lineBuffer == QLatin1String("\r")) {
            continue;
        } else if (lineBuffer == QLatin1String("\n")) {
            lineBuffer = QStringLiteral(" ");
        }
        workText += lineBuffer;
        if (inHeader && workText == QLatin1String("<trk>")) {
            r.header = itemText;
            inHeader = false;
            itemText.clear();
        }
        if (lineBuffer == QLatin1String("t")) {
            if (workText == QLatin1String("<wpt")) {
                if (inHeader)
                    r.header = itemText;
                inHeader = false;
                itemText.clear();
            }
            continue;
        }
        if (lineBuffer != QLatin1String(">"))
            continue;
        if (workText == QLatin1String("<trk>")) {
            if (rowIndex == -1) {
                write(workText);
                ++rowIndex;
            } else {
                write(itemText);
                write(workText);
            }
            ++rowIndex;
            ++r.trackStarts;
            listed = false;
            workText.clear();
            itemText.clear();
        } else if (workText == QLatin1String("</name>")) {
            if (!itemText.isEmpty() && rowIndex != -1 && !listed &&
                inStr(itemText, QStringLiteral("<name>")) > 0) {
                const qsizetype workIndex = inStr(itemText, QStringLiteral("<name>")) + 6;
                const qsizetype workLength = itemText.size() - workIndex + 1;
                TrackItem row;
                row.sourceName = itemText.right(workLength);
                row.name = DecodeXmlEntities(row.sourceName);
                row.code = itemText;
                r.rows.append(row);
                listed = true;
            }
        } else if (workText == QLatin1String("</trkpt>")) {
            write(itemText);
            writeLine(workText);
            workText.clear();
            itemText.clear();
        } else if (workText == QLatin1String("<trkseg>") || workText == QLatin1String("</trk>")) {
            writeLine(itemText);
            writeLine(workText);
            workText.clear();
            itemText.clear();
        } else if (workText == QLatin1String("</gpx>")) {
            loopFlag = false;
            writeLine(workText);
            workText.clear();
            itemText.clear();
        }
    }
    r.hasHeader = !inHeader;
    r.stopped = !loopFlag;
    return r;
}
