// The tracks scanner against its character-by-character reference: the same rows, header,
// start count, stop and scratch bytes on any bytes, cut into blocks wherever the fuzzer
// chooses, with scratch buffers small enough to be flushed in the middle of a line.

#include "FuzzInput.h"

#include "items/TracksScanner.h"
#include "ReferenceScanners.h"
#include "ScanTestSupport.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzInput input = FuzzInput::split(data, size);
    static constexpr qsizetype bufferSizes[] = {1,  2,    7,
                                                64, 1000, TracksScanner::defaultBufferSize};
    const qsizetype bufferSize = bufferSizes[input.option % std::size(bufferSizes)];

    const ReferenceTracks expected = referenceTracks(input.source);

    ReferenceTracks actual;
    QBuffer scratch(&actual.scratch);
    scratch.open(QIODevice::WriteOnly);
    TracksScanner scanner(&scratch, bufferSize);
    for (const QByteArrayView block : input.blocks()) {
        const bool goesOn = scanner.feed(block);
        actual.rows += scanner.takeItems();
        if (!goesOn)
            break;
    }
    if (scanner.stopped() && scanner.feed(input.source))
        fuzzFailure("tracks scanner went on after its terminator", {});
    if (!scanner.finish() || scanner.writeFailed())
        fuzzFailure("tracks scanner reported a failed write to a buffer", scanner.writeError());
    actual.rows += scanner.takeItems();
    actual.hasHeader = scanner.hasHeader();
    actual.header = scanner.header();
    actual.trackStarts = scanner.trackStarts();
    actual.stopped = scanner.stopped();
    scratch.close();

    const QString difference = firstDifference(expected, actual);
    if (!difference.isEmpty())
        fuzzFailure("tracks scanner differs from the reference", difference);
    return 0;
}
