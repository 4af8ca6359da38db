#pragma once

// The rows of a table in tests/data: cells split by a TAB, '#' lines are notes, "%XX" stands for
// the byte XX (a TAB, a line end, a byte of a UTF-8 character). With a kind, its rows less it.

#include <QByteArrayList>
#include <QFile>

inline QList<QByteArrayList> testRows(const char* name, const QByteArray& kind = {}) {
    QFile file(QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(name));
    QList<QByteArrayList> rows;
    for (const QByteArray& line :
         (file.open(QIODevice::ReadOnly) ? file.readAll() : "").split('\n')) {
        QByteArrayList cells = line.split('\t');
        if (line.isEmpty() || line.startsWith('#') ||
            (!kind.isEmpty() && cells.takeFirst() != kind))
            continue;
        for (QByteArray& cell : cells)
            cell = QByteArray::fromPercentEncoding(cell);
        rows.append(cells);
    }
    return rows;
}
