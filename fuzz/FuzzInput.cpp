#include "FuzzInput.h"

#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

FuzzInput FuzzInput::split(const std::uint8_t* data, std::size_t size) {
    FuzzInput input;
    const auto* bytes = reinterpret_cast<const char*>(data);
    const qsizetype total = qsizetype(size);
    if (total < 2) {
        input.source = QByteArrayView(bytes, total);
        return input;
    }
    input.option = data[0];
    const qsizetype count = data[1] & 0x0F;
    qsizetype at = 2;
    for (qsizetype i = 0; i < count && at < total; ++i, ++at)
        input.blockSizes.append(qsizetype(data[at]) + 1);
    input.source = QByteArrayView(bytes + at, total - at);
    return input;
}

QList<QByteArrayView> FuzzInput::blocks() const {
    QList<QByteArrayView> out;
    qsizetype at = 0;
    qsizetype next = 0;
    while (at < source.size()) {
        qsizetype size = source.size() - at;
        if (!blockSizes.isEmpty())
            size = std::min(size, blockSizes[next++ % blockSizes.size()]);
        out.append(source.sliced(at, size));
        at += size;
    }
    return out;
}

void fuzzFailure(const char* what, const QString& details) {
    std::fprintf(stderr, "FINDING: %s\n%s\n", what, qPrintable(details));
    std::fflush(stderr);
    std::abort();
}
