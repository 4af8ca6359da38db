// The export writer's two bodies on grids and scratch files made from the fuzzer's bytes: no
// crash, no hang (a scratch file without "</gpx>" included), and what they write is what they
// promise: without conversion the marked codes one per line; for tracks only lines of the
// scratch file, in their order (the file is read forward only).

#include "FuzzInput.h"

#include "export/ExportWriter.h"
#include "items/FlexGridModel.h"
#include "symbols/symtable.h"
#include "text/CodePage.h"

#include <QBuffer>
#include <QList>

namespace {

// The grid part is a list of rows split by 0x1E, each row's cells split by 0x1F: mark,
// name, code, symbol. The bytes after the first 0x1D are the symbol table (first option bit
// clear) or the scratch file (set).
void fillGrid(FlexGridModel& grid, QByteArrayView bytes) {
    grid.setRows(1);
    QList<QStringList> rows;
    for (const QByteArrayView row : QByteArray(bytes.toByteArray()).split('\x1e')) {
        QStringList cells;
        for (const QByteArray& cell : row.toByteArray().split('\x1f'))
            cells.append(CodePage::toUnicode(cell));
        while (cells.size() > grid.Cols())
            cells.removeLast();
        rows.append(cells);
    }
    grid.appendRows(rows);
}

// Lines end at CR LF only: the tracks load never leaves a CR or LF of its own in the data.
QList<QByteArray> lines(const QByteArray& bytes) {
    QList<QByteArray> out;
    qsizetype start = 0;
    for (qsizetype end; (end = bytes.indexOf("\r\n", start)) >= 0; start = end + 2)
        out.append(bytes.sliced(start, end - start));
    out.append(bytes.sliced(start));
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzInput input = FuzzInput::split(data, size);
    const qsizetype cut = input.source.indexOf('\x1d');
    const QByteArrayView gridPart = cut < 0 ? input.source : input.source.first(cut);
    const QByteArrayView rest = cut < 0 ? QByteArrayView() : input.source.sliced(cut + 1);

    FlexGridModel grid(4);
    fillGrid(grid, gridPart);

    QByteArray written;
    QBuffer out(&written);
    out.open(QIODevice::WriteOnly);

    if ((input.option & 1) == 0) {
        const QList<SymbolPair> table = symtable::parse(rest);
        if (!writeFavoritesBody(out, grid, (input.option & 2) ? &table : nullptr))
            fuzzFailure("favorites body failed on a buffer", {});
        if ((input.option & 2) == 0) {
            QByteArray expected;
            for (int row = 1; row < grid.Rows(); ++row) {
                if (grid.TextMatrix(row, 0) == QLatin1String("X"))
                    expected += CodePage::fromUnicode(grid.TextMatrix(row, 2)) + "\r\n";
            }
            if (written != expected)
                fuzzFailure("favorites body without conversion is not the marked codes",
                            CodePage::toUnicode(written));
        }
        return 0;
    }

    QByteArray scratchBytes = rest.toByteArray();
    QBuffer scratch(&scratchBytes);
    scratch.open(QIODevice::ReadOnly);
    const TracksBody result = writeTracksBody(out, scratch, grid, {});
    if (result != TracksBody::Written)
        fuzzFailure("tracks body failed on buffers", QString::number(int(result)));

    const QList<QByteArray> source = lines(scratchBytes);
    qsizetype at = 0;
    const QList<QByteArray> copied = lines(written);
    for (qsizetype i = 0; i + 1 < copied.size(); ++i) {
        while (at < source.size() && source[at] != copied[i])
            ++at;
        if (at == source.size())
            fuzzFailure("tracks body wrote a line that is not in the scratch file, or out of "
                        "order",
                        QStringLiteral("line %1 of the output\nscratch: %2\noutput: %3")
                            .arg(i)
                            .arg(QString::fromLatin1(scratchBytes.toPercentEncoding()),
                                 QString::fromLatin1(written.toPercentEncoding())));
        // The search for the next marked track starts at the line the previous one ended on,
        // so a line that two names match is written twice; nothing earlier comes back.
    }
    return 0;
}
