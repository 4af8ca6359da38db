#include "workspace/NameOrder.h"

#include <algorithm>

namespace NameOrder {

namespace {

bool isDigit(QChar ch) {
    return ch >= QLatin1Char('0') && ch <= QLatin1Char('9');
}

qsizetype runEnd(const QString& text, qsizetype from, bool digits) {
    while (from < text.size() && isDigit(text.at(from)) == digits)
        ++from;
    return from;
}

// Compares two runs of ASCII digits by value, however long they are.
int compareNumbers(QStringView a, QStringView b) {
    auto skipZeros = [](QStringView run) {
        qsizetype zeros = 0;
        while (zeros < run.size() - 1 && run.at(zeros) == QLatin1Char('0'))
            ++zeros;
        return run.mid(zeros);
    };
    const QStringView x = skipZeros(a);
    const QStringView y = skipZeros(b);
    if (x.size() != y.size())
        return x.size() < y.size() ? -1 : 1;
    return x.compare(y);
}

} // namespace

void sortNames(QStringList& names) {
    std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
        const int folded = a.compare(b, Qt::CaseInsensitive);
        return folded != 0 ? folded < 0 : a < b;
    });
}

int naturalCompare(const QString& a, const QString& b) {
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < a.size() && j < b.size()) {
        const bool digits = isDigit(a.at(i));
        if (digits != isDigit(b.at(j)))
            return digits ? -1 : 1;
        const qsizetype endA = runEnd(a, i, digits);
        const qsizetype endB = runEnd(b, j, digits);
        const QStringView runA = QStringView(a).mid(i, endA - i);
        const QStringView runB = QStringView(b).mid(j, endB - j);
        const int order =
            digits ? compareNumbers(runA, runB) : runA.compare(runB, Qt::CaseInsensitive);
        if (order != 0)
            return order;
        i = endA;
        j = endB;
    }
    if (i < a.size() || j < b.size())
        return i < a.size() ? 1 : -1;
    // "Nuvi_01" and "nuvi_1" are equal so far; their exact text keeps the order fixed.
    return a.compare(b);
}

void sortNaturally(QStringList& names) {
    std::sort(names.begin(), names.end(),
              [](const QString& a, const QString& b) { return naturalCompare(a, b) < 0; });
}

} // namespace NameOrder
