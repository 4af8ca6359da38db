#include "favorites/FavoritesHistory.h"

#include "items/FlexGridModel.h"
#include "text/CodePage.h"
#include "text/DiskFiles.h"
#include "text/WriteError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>

namespace {

constexpr qsizetype blockSize = 64 * 1024;
const QString fileName = QStringLiteral("FAVORITES.TXT");

void appendName(QStringList& names, QByteArrayView line) {
    if (line.endsWith('\r'))
        line.chop(1);
    if (line.isEmpty())
        return;
    const qsizetype tab = line.indexOf('\t');
    names.append(CodePage::toUnicode(tab < 0 ? line : line.first(tab)));
}

} // namespace

QString favoritesPathIn(const QString& deviceFolder) {
    const QDir folder(deviceFolder);
    const QStringList entries = folder.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& entry : entries) {
        if (entry.compare(fileName, Qt::CaseInsensitive) == 0)
            return folder.filePath(entry);
    }
    return folder.filePath(fileName);
}

QString saveFavorites(const QString& path, const FlexGridModel& grid) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    QByteArray block;
    const auto writeBlock = [&file, &block] {
        const bool ok = file.write(block) == block.size();
        block.clear();
        return ok;
    };
    const int rows = grid.Rows();
    for (int row = 1; row < rows; ++row) {
        block += CodePage::fromUnicode(grid.TextMatrix(row, 1));
        block += '\t';
        block += CodePage::fromUnicode(grid.TextMatrix(row, 2));
        block += "\r\n";
        if (block.size() >= blockSize && !writeBlock()) {
            const QString reason = writeErrorOf(file);
            file.cancelWriting();
            return reason;
        }
    }
    // commit() does not notice when writing out the last buffered bytes fails (a full disk)
    // and would then replace the history with a cut one, so those bytes are flushed here.
    if (!writeBlock() || !file.flush()) {
        const QString reason = writeErrorOf(file);
        file.cancelWriting();
        return reason;
    }
    if (!file.commit())
        return DiskFiles::whyNotReplaced(path, file.errorString());
    return {};
}

SavedNames readSavedNames(const QString& path) {
    SavedNames saved;
    QFile file(path);
    if (QFileInfo::exists(path) && !QFileInfo(path).isFile()) {
        saved.error = QStringLiteral("It is not a regular file.");
        return saved;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        saved.error = file.errorString();
        return saved;
    }
    saved.opened = true;
    QByteArray pending;
    QByteArray block(blockSize, Qt::Uninitialized);
    for (;;) {
        const qint64 got = file.read(block.data(), blockSize);
        if (got < 0) {
            saved.error = file.errorString();
            return saved;
        }
        if (got == 0)
            break;
        QByteArrayView data(block.constData(), got);
        // A byte-order mark that Notepad may have written is not part of the first name.
        if (file.pos() == got && data.startsWith("\xEF\xBB\xBF"))
            data = data.sliced(3);
        for (qsizetype end = data.indexOf('\n'); end >= 0; end = data.indexOf('\n')) {
            if (pending.isEmpty()) {
                appendName(saved.names, data.first(end));
            } else {
                pending += data.first(end);
                appendName(saved.names, pending);
                pending.clear();
            }
            data = data.sliced(end + 1);
        }
        pending += data;
    }
    appendName(saved.names, pending);
    return saved;
}

void markNewFavorites(FlexGridModel& grid, const QStringList& savedNames) {
    const QSet<QString> known(savedNames.cbegin(), savedNames.cend());
    const QString isNew = QStringLiteral("X");
    const QString isKnown = QStringLiteral(" ");
    grid.setColumn(
        0, 1, [&](int row) { return known.contains(grid.TextMatrix(row, 1)) ? isKnown : isNew; });
}
