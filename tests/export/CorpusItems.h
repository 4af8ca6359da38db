#pragma once

#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <QDir>
#include <QFile>
#include <QStringList>

// Favorites of a real GPX file, cut the simple way the unit's file is laid out: a favorite
// runs from its "<wpt" to the next "<wpt", "<trk>" or "</gpx>"; line feeds become spaces and
// carriage returns go, as when the file is loaded.
namespace CorpusItems {

inline QString corpusPath(const QString& name) {
    return QDir(QStringLiteral(TARNWICK_CORPUS)).filePath(name);
}

inline QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The text between the first open tag and the first close tag after it, or a null text.
inline QByteArray between(const QByteArray& text, const char* open, const char* close) {
    const qsizetype start = text.indexOf(open) + qstrlen(open);
    const qsizetype end = text.indexOf(close, start);
    return text.contains(open) && end >= 0 ? text.mid(start, end - start) : QByteArray();
}

struct Favorites {
    QByteArray header;
    QList<QByteArray> codes;
};

inline Favorites favoritesOf(QByteArray text) {
    text.replace("\r", "").replace('\n', ' ');
    qsizetype end = text.size();
    for (const char* stop : {"<trk>", "</gpx>"})
        end = text.contains(stop) ? qMin(end, text.indexOf(stop)) : end;
    Favorites result;
    for (qsizetype start = text.indexOf("<wpt"), next; start >= 0 && start < end; start = next) {
        if (result.codes.isEmpty())
            result.header = text.left(start);
        next = text.indexOf("<wpt", start + 4);
        next = next < 0 || next > end ? end : next;
        result.codes.append(text.mid(start, next - start));
    }
    return result;
}

// A grid row of a favorite: mark, decoded name, text, decoded symbol or "--- NONE ---".
inline QStringList favoriteRow(const QByteArray& code, const QString& mark) {
    const QByteArray symbol = between(code, "<sym>", "</sym>");
    return {mark, DecodeXmlEntities(CodePage::toUnicode(between(code, "<name>", "</name>"))),
            CodePage::toUnicode(code),
            symbol.isEmpty() ? QStringLiteral("--- NONE ---")
                             : DecodeXmlEntities(CodePage::toUnicode(symbol))};
}

} // namespace CorpusItems
