#pragma once

#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>

// Favorites and tracks of a real GPX file, cut the simple way the unit's file is laid out, for
// tests of what is done with them afterwards. A favorite's text runs from its "<wpt" to the
// next "<wpt", "<trk>" or "</gpx>"; line feeds become spaces and carriage returns go, as when
// the file is loaded.
namespace CorpusItems {

inline QString corpusPath(const QString& name) {
    return QDir(QStringLiteral(TARNWICK_CORPUS)).filePath(name);
}

inline QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline QByteArray loadedForm(QByteArray bytes) {
    bytes.replace("\r", "");
    bytes.replace('\n', ' ');
    return bytes;
}

// The text between the first open tag and the first close tag after it, or a null text.
inline QByteArray between(const QByteArray& text, const QByteArray& open, const QByteArray& close) {
    const qsizetype start = text.indexOf(open);
    if (start < 0)
        return {};
    const qsizetype end = text.indexOf(close, start + open.size());
    if (end < 0)
        return {};
    return text.mid(start + open.size(), end - start - open.size());
}

struct Favorites {
    QByteArray header;
    QList<QByteArray> codes;
};

inline Favorites favoritesOf(const QByteArray& fileBytes) {
    const QByteArray text = loadedForm(fileBytes);
    Favorites result;
    qsizetype end = text.size();
    for (const char* stop : {"<trk>", "</gpx>"}) {
        const qsizetype at = text.indexOf(stop);
        if (at >= 0 && at < end)
            end = at;
    }
    qsizetype start = text.indexOf("<wpt");
    if (start < 0 || start > end)
        return result;
    result.header = text.left(start);
    while (start < end) {
        qsizetype next = text.indexOf("<wpt", start + 4);
        if (next < 0 || next > end)
            next = end;
        result.codes.append(text.mid(start, next - start));
        start = next;
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
