// The export bodies against their reference on grids, symbol tables and scratch files made
// from the fuzzer's bytes: grid rows parted by 0x1E, their cells (mark, name, code, symbol) by
// 0x1F; after the first 0x1D the symbol table when the input starts with "F" (which is not
// part of the grid), else the scratch file, which is read a few bytes at a time.

#include "Reference.h"

#include "export/ExportWriter.h"
#include "items/FlexGridModel.h"
#include "text/CodePage.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype cut = input.indexOf('\x1d');
    const QByteArray rest = cut < 0 ? QByteArray() : input.mid(cut + 1);
    const bool favorites = input.startsWith('F');
    QList<QStringList> rows;
    for (const QByteArray& row : input.left(cut).mid(favorites ? 1 : 0).split('\x1e')) {
        QStringList cells;
        for (const QByteArray& cell : row.split('\x1f'))
            cells << CodePage::toUnicode(cell);
        rows << cells.mid(0, 4);
    }
    FlexGridModel grid(4);
    fillGrid(grid, rows);
    Device out, scratch;
    out.open(QIODevice::WriteOnly);
    scratch.setData(rest);
    scratch.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const QList<SymbolPair> table = symtable::parse(rest);
    const bool written = favorites ? writeFavoritesBody(out, grid, &table)
                                   : writeTracksBody(out, scratch, grid, {}) == TracksBody::Written;
    if (!written || out.data() != (favorites ? referenceFavoritesBody(rows, &table)
                                             : referenceTracksBody(rows, {}, rest)))
        qFatal("export body differs from the reference");
    return 0;
}
