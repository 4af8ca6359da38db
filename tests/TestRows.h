#pragma once

// The rows of a table in tests/data: cells split by a TAB, '#' lines are notes, "%XX" stands for
// the byte XX (a TAB, a line end, a byte of a UTF-8 character). With a kind, its rows less it.

#include <QByteArrayList>
#include <QFile>
#include <QStringList>
#include <QTest>

// A file's bytes, or none when it can't be read; a file of tests/data by its name.
inline QByteArray fileBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
inline QByteArray dataBytes(const char* name) {
    return fileBytes(QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(name));
}

inline QList<QByteArrayList> testRows(const char* name, const QByteArray& kind = {}) {
    QList<QByteArrayList> rows;
    for (const QByteArray& line : dataBytes(name).split('\n')) {
        QByteArrayList cells = line.split('\t');
        if (line.isEmpty() || line.startsWith('#') ||
            (!kind.isEmpty() && cells.takeFirst() != kind))
            continue;
        for (QByteArray& cell : cells)
            cell = QByteArray::fromPercentEncoding(cell);
        rows.append(cells);
    }
    if (rows.isEmpty())
        qFatal("test data %s has no rows", name);
    return rows;
}

// The same rows as text, each cell read as UTF-8.
inline QList<QStringList> tableRows(const char* name) {
    QList<QStringList> rows;
    for (const QByteArrayList& cells : testRows(name)) {
        rows.append(QStringList());
        for (const QByteArray& cell : cells)
            rows.last().append(QString::fromUtf8(cell));
    }
    return rows;
}

// One test row per table row, named by its first cell, in the column "row".
inline void addTableRows(const char* name) {
    QTest::addColumn<QStringList>("row");
    for (const QStringList& row : tableRows(name))
        QTest::newRow(qPrintable(row[0])) << row;
}
