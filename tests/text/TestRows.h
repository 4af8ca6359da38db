#pragma once

// Rows of a table in tests/data: one row a line, cells split by a TAB, '#' lines are notes.
// "%XX" in a cell stands for the character U+00XX, so a cell can hold a TAB, a line end, or
// (through toLatin1) any byte. With a kind, only the rows whose first cell is the kind, less
// that cell.

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

inline QList<QStringList> testRows(const char* file, const QString& kind = {}) {
    static const QRegularExpression escape(QStringLiteral("%([0-9A-F]{2})"));
    QFile table(QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(file));
    QList<QStringList> rows;
    if (!table.open(QIODevice::ReadOnly | QIODevice::Text))
        return rows;
    for (const QString& line : QString::fromUtf8(table.readAll()).split(u'\n')) {
        QStringList cells = line.split(u'\t');
        if (line.isEmpty() || line.startsWith(u'#') || (!kind.isEmpty() && cells[0] != kind))
            continue;
        for (QString& cell : cells)
            for (auto m = escape.match(cell); m.hasMatch();
                 m = escape.match(cell, m.capturedStart() + 1))
                cell.replace(m.capturedStart(), 3, QChar(m.captured(1).toUShort(nullptr, 16)));
        rows.append(kind.isEmpty() ? cells : cells.mid(1));
    }
    return rows;
}
