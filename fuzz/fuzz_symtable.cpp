// The symbol table parser on any bytes: no crash, and what it reads is a fixed point of
// writing and reading again, so that the editor's save never changes a table it did not edit.

#include "FuzzInput.h"

#include "symbols/symtable.h"

#include <QByteArrayView>
#include <QString>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QList<SymbolPair> pairs = symtable::parse(bytes);
    for (const SymbolPair& pair : pairs) {
        if (pair.nuvi.contains(QLatin1Char('\t')) || pair.nuvi.contains(QLatin1Char('\r')) ||
            pair.nuvi.contains(QLatin1Char('\n')) || pair.delorme.contains(QLatin1Char('\r')) ||
            pair.delorme.contains(QLatin1Char('\n')))
            fuzzFailure("a parsed pair holds a TAB in its nuvi symbol or a line break",
                        pair.nuvi + QLatin1Char('|') + pair.delorme);
    }
    const QByteArray written = symtable::serialize(pairs);
    if (symtable::parse(written) != pairs)
        fuzzFailure("writing and reading a table changes it", QString::fromLatin1(written));
    return 0;
}
