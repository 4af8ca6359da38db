#pragma once

// The rows of a table in tests/data: cells split by a TAB, '#' lines are notes, "%XX" stands for
// U+00XX (a TAB, a line end or, through toLatin1, any byte). With a kind, its rows less it.

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

inline QList<QStringList> testRows(const char* name, const QString& kind = {}) {
    static const QRegularExpression escape(QStringLiteral("%([0-9A-F]{2})"));
    QFile file(QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(name));
    QList<QStringList> rows;
    for (const QString& line :
         QString::fromUtf8(file.open(QIODevice::ReadOnly) ? file.readAll() : "").split(u'\n')) {
        QStringList cells = line.split(u'\t');
        if (line.isEmpty() || line.startsWith(u'#') ||
            (!kind.isEmpty() && cells.takeFirst() != kind))
            continue;
        for (QString& cell : cells)
            for (auto m = escape.match(cell); m.hasMatch();
                 m = escape.match(cell, m.capturedStart() + 1))
                cell.replace(m.capturedStart(), 3, QChar(m.captured(1).toUShort(nullptr, 16)));
        rows.append(cells);
    }
    return rows;
}
