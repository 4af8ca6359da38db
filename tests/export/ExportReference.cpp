#include "Reference.h"

#include "items/FlexGridModel.h"
#include "text/CodePage.h"

QByteArray referenceFavoritesBody(const QList<QStringList>& rows, const QList<SymbolPair>* table) {
    QByteArray out;
    for (const QStringList& row : rows) {
        if (row.value(0) != u"X")
            continue;
        const QString xml = row.value(2);
        QString line = xml;
        for (qsizetype i = 0; table && i < table->size(); ++i) {
            if ((*table)[i].nuvi != row.value(3))
                continue;
            // Positions from 1: everything up to "<sym>", the symbol, everything from "</sym>".
            const qsizetype p = xml.indexOf(u"<sym>") + 1 + 4;
            const qsizetype q = xml.indexOf(u"</sym>") + 1;
            if (p > 4)
                line = xml.left(p) + (*table)[i].delorme + xml.right(xml.size() - q + 1);
            break;
        }
        out += CodePage::fromUnicode(line) + "\r\n";
    }
    return out;
}

QByteArray referenceTracksBody(const QList<QStringList>& rows, const QStringList& sourceNames,
                               const QByteArray& scratch) {
    QStringList lines = CodePage::toUnicode(scratch).split(QStringLiteral("\r\n"));
    if (lines.last().isEmpty())
        lines.removeLast();
    QString out;
    qsizetype i = 0;
    bool last = false;
    for (qsizetype r = 0; r < rows.size() && !last; ++r) {
        if (rows[r].value(0) != u"X")
            continue;
        const QString name = sourceNames.value(r + 1, rows[r].value(1));
        // The first line on that holds the name, unless the file ends first.
        const auto holdsName = [&] { return !lines[i].isEmpty() && lines[i].contains(name); };
        while (i < lines.size() && !holdsName() && !lines[i].contains("</gpx>"))
            ++i;
        last = i >= lines.size() || lines[i].contains("</gpx>");
        if (i < lines.size() && holdsName())
            out += lines[i] + "\r\n";
        if (i < lines.size() && lines[i].contains("<trk>")) {
            while (++i < lines.size() && !lines[i].contains("<trk>") &&
                   !lines[i].contains("</gpx>"))
                out += lines[i] + "\r\n";
            last = last || i >= lines.size() || lines[i].contains("</gpx>");
        }
    }
    return CodePage::fromUnicode(out);
}

void fillGrid(FlexGridModel& grid, const QList<QStringList>& rows) {
    grid.setRows(0);
    grid.appendRows({{" ", "NAME", "FAVORITE'S XML CODE", "SYMBOL"}});
    grid.appendRows(rows);
    grid.setFixedRows(1);
}
