#include "items/SourceLoad.h"

#include "items/FlexGridModel.h"
#include "workspace/Workspace.h"

#include <QFile>
#include <QFileInfo>

#include <utility>
#include <vector>

namespace {

// The source is read in blocks of this size.
constexpr qint64 blockSize = 256 * 1024;

} // namespace

bool openSourceFile(QFile& source) {
    return QFileInfo(source.fileName()).isFile() && source.open(QIODevice::ReadOnly);
}

QString sourceOpenError(const QFile& source) {
    const QFileInfo info(source.fileName());
    if (!info.exists())
        return QStringLiteral("No such file.");
    if (!info.isFile())
        return QStringLiteral("It is not a regular file.");
    return source.errorString();
}

bool readInBlocks(QIODevice& source, const std::function<bool(QByteArrayView)>& feed,
                  const std::function<bool()>& afterBlock) {
    QByteArray block;
    for (;;) {
        block.resize(blockSize);
        const qint64 got = source.read(block.data(), blockSize);
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        block.resize(got);
        const bool more = feed(block);
        if (!afterBlock() || !more)
            return true;
    }
}

void appendFavoriteRows(FlexGridModel& grid, QList<FavoriteItem>&& items) {
    if (items.isEmpty())
        return;
    std::vector<QList<QString>> columns(4);
    columns[0] = QList<QString>(items.size(), QStringLiteral(" "));
    for (std::size_t c = 1; c < columns.size(); ++c)
        columns[c].reserve(items.size());
    for (FavoriteItem& item : items) {
        columns[1].append(std::move(item.name));
        columns[2].append(std::move(item.code));
        columns[3].append(std::move(item.symbol));
    }
    items.clear();
    grid.appendColumns(std::move(columns));
}

QList<QStringList> trackRows(const QList<TrackItem>& items) {
    QList<QStringList> rows;
    rows.reserve(items.size());
    for (const TrackItem& item : items)
        rows.append({QStringLiteral(" "), item.name, item.code, QString()});
    return rows;
}

QString scratchPathIn(const QString& deviceFolder) {
    return Workspace::findEntry(deviceFolder, QStringLiteral("TEMP.TMP"));
}
