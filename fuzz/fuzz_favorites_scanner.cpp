// The favorites scanner against its character-by-character reference: the same rows, header,
// start count and stop on any bytes, cut into blocks wherever the fuzzer chooses.

#include "FuzzInput.h"

#include "items/FavoritesScanner.h"
#include "ReferenceScanners.h"
#include "ScanTestSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzInput input = FuzzInput::split(data, size);
    const ReferenceFavorites expected = referenceFavorites(input.source);

    ReferenceFavorites actual;
    FavoritesScanner scanner;
    for (const QByteArrayView block : input.blocks()) {
        const bool goesOn = scanner.feed(block);
        actual.rows += scanner.takeItems();
        if (!goesOn)
            break;
    }
    // Bytes fed after the terminator must change nothing.
    if (scanner.stopped() && scanner.feed(input.source))
        fuzzFailure("favorites scanner went on after its terminator", {});
    actual.rows += scanner.takeItems();
    actual.hasHeader = scanner.hasHeader();
    actual.header = scanner.header();
    actual.itemStarts = scanner.itemStarts();
    actual.stopped = scanner.stopped();

    const QString difference = firstDifference(expected, actual);
    if (!difference.isEmpty())
        fuzzFailure("favorites scanner differs from the reference", difference);
    return 0;
}
