// Both scanners against their references on any bytes. The first byte's low four bits give the
// number of block sizes that follow (a byte each, 1 to 256), its high four bits the buffer size.

#include "Reference.h"

#include "items/TracksScanner.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView input(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype count = input.isEmpty() ? 0 : qMin<qsizetype>(data[0] & 15, input.size() - 1);
    QList<qsizetype> sizes;
    for (qsizetype i = 1; i <= count; ++i)
        sizes << data[i] + 1;
    static constexpr qsizetype buffers[] = {1, 2, 7, 64, 1000, TracksScanner::defaultBufferSize};
    const qsizetype buffer = input.isEmpty() ? 1 : buffers[(data[0] >> 4) % std::size(buffers)];
    const QString diff =
        compareScanners(input.sliced(input.isEmpty() ? 0 : count + 1), sizes, buffer);
    if (!diff.isEmpty())
        qFatal("scanner differs from the reference: %s", qPrintable(diff));
    return 0;
}
