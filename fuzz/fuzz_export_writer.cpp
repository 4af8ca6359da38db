// The export bodies against their reference. Input: grid rows parted by 0x1E, their cells (mark,
// name, code, symbol) by 0x1F; after the first 0x1D a symbol table when the input starts with
// "F" (not part of the grid), else the scratch file, read a few bytes at a time.

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
    for (const QString& row : CodePage::toUnicode(input.left(cut).mid(favorites)).split(u'\x1e'))
        rows << row.split(u'\x1f').mid(0, 4);
    FlexGridModel grid(4);
    fillGrid(grid, rows);
    Device out(QIODevice::WriteOnly), scratch(QIODevice::ReadOnly, rest);
    const QList<SymbolPair> table = symtable::parse(rest);
    const bool written = favorites ? writeFavoritesBody(out, grid, &table)
                                   : writeTracksBody(out, scratch, grid, {}) == TracksBody::Written;
    if (!written || out.data() != (favorites ? referenceFavoritesBody(rows, &table)
                                             : referenceTracksBody(rows, {}, rest)))
        qFatal("export body differs from the reference");
    return 0;
}
