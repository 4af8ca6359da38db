#pragma once

#include <QByteArrayView>
#include <QList>

#include <cstddef>
#include <cstdint>

// Splits a fuzzer's input into a few control bytes and the source bytes, so that the fuzzer
// chooses where the source is cut into blocks as well as what it holds. Layout: one option
// byte, one byte whose low four bits give the number of block sizes, those block sizes (one
// byte each, 1 to 256), then the source. A short input is all source, fed in one block.
struct FuzzInput {
    quint8 option = 0;
    QList<qsizetype> blockSizes;
    QByteArrayView source;

    static FuzzInput split(const std::uint8_t* data, std::size_t size);

    // The blocks of the source: the block sizes are used in turn, over and over, and the
    // last block takes what is left.
    QList<QByteArrayView> blocks() const;
};

// Ends the run with a report that libFuzzer records as a finding.
[[noreturn]] void fuzzFailure(const char* what, const QString& details);
