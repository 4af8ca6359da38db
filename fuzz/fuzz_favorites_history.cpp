// The favorites history file on any bytes: reading it never crashes or hangs, no saved name
// holds a TAB or a line end, and a history that the program saves reads back as the names
// before each first TAB.

#include "FuzzInput.h"

#include "favorites/FavoritesHistory.h"
#include "items/FlexGridModel.h"
#include "text/CodePage.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

// The history is read from a file; one file per process, rewritten for every input, in memory
// where the system offers a folder for that.
const QString& historyPath() {
    static QTemporaryDir dir(QDir(QStringLiteral("/dev/shm")).exists()
                                 ? QStringLiteral("/dev/shm/tarnwick-fuzz-XXXXXX")
                                 : QDir::tempPath() + QStringLiteral("/tarnwick-fuzz-XXXXXX"));
    static const QString path = dir.filePath(QStringLiteral("FAVORITES.TXT"));
    return path;
}

void checkNames(const QStringList& names) {
    for (const QString& name : names) {
        if (name.contains(QLatin1Char('\t')) || name.contains(QLatin1Char('\n')))
            fuzzFailure("a saved name holds a TAB or a line feed", name);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    {
        QFile file(historyPath());
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(bytes.data(), bytes.size()) != bytes.size())
            fuzzFailure("cannot write the history file", file.errorString());
    }
    const SavedNames read = readSavedNames(historyPath());
    if (!read.opened || !read.error.isEmpty())
        fuzzFailure("an existing history file was not read", read.error);
    checkNames(read.names);

    // The same bytes as favorites: one per line, the name and the code split at 0x1F. Line
    // ends cannot occur in a loaded favorite, so they are left out.
    FlexGridModel grid(4);
    grid.setRows(1);
    QStringList expected;
    QList<QStringList> rows;
    for (QByteArray line : bytes.toByteArray().split('\n')) {
        line.replace('\r', QByteArray());
        const qsizetype split = line.indexOf('\x1f');
        const QString name = CodePage::toUnicode(split < 0 ? line : line.first(split));
        const QString code = split < 0 ? QString() : CodePage::toUnicode(line.sliced(split + 1));
        rows.append({QStringLiteral(" "), name, code, QString()});
        expected.append(name.section(QLatin1Char('\t'), 0, 0));
    }
    grid.appendRows(rows);
    const QString error = saveFavorites(historyPath(), grid);
    if (!error.isEmpty())
        fuzzFailure("saving the history failed", error);
    const SavedNames back = readSavedNames(historyPath());
    checkNames(back.names);
    if (back.names != expected)
        fuzzFailure("saved names do not read back", back.names.join(QLatin1Char('|')) +
                                                        QStringLiteral(" vs ") +
                                                        expected.join(QLatin1Char('|')));
    return 0;
}
