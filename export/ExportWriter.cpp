#include "export/ExportWriter.h"

#include "items/FlexGridModel.h"
#include "items/ScratchLines.h"
#include "text/BackgroundWriter.h"
#include "text/CodePage.h"
#include "text/DiskFiles.h"
#include "text/WriteError.h"
#include "workspace/SafeFileName.h"
#include "workspace/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QIODevice>
#include <QSet>

#include <algorithm>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <system_error>

namespace {

constexpr QByteArrayView lineEnd("\r\n");
constexpr QByteArrayView trackStart("<trk>");
constexpr QByteArrayView fileEnd("</gpx>");

bool writeBytesLine(QIODevice& out, QByteArrayView line) {
    return out.write(line.data(), line.size()) == line.size() &&
           out.write(lineEnd.data(), lineEnd.size()) == lineEnd.size();
}

bool writeTextLine(QIODevice& out, QStringView text) {
    return writeBytesLine(out, CodePage::fromUnicode(text));
}

bool isMarked(const FlexGridModel& grid, int row) {
    return grid.TextMatrix(row, 0) == QLatin1String("X");
}

// The favorite's text with its symbol replaced: everything up to and including the first
// "<sym>", the DeLorme symbol, then everything from the first "</sym>" on. The two tags are
// found independently, so a "</sym>" that stands before the "<sym>" brings that stretch of the
// text twice, and without any "</sym>" the whole text follows the symbol.
QString convertedCode(const QString& xml, const QString& delorme) {
    static const QString symOpen = QStringLiteral("<sym>");
    static const QString symClose = QStringLiteral("</sym>");
    const qsizetype open = xml.indexOf(symOpen);
    if (open < 0)
        return xml;
    const qsizetype close = xml.indexOf(symClose);
    QString line = xml.left(open + symOpen.size()) + delorme;
    line += QStringView(xml).mid(qMax(close, 0));
    return line;
}

QString fileError(const QString& path, const QString& reason) {
    return QStringLiteral("The file %1 can't be written: %2")
        .arg(QDir::toNativeSeparators(path), reason);
}

// Makes the output folder when it is missing; its parent must exist. Returns the reason of a
// failure, or an empty text.
QString makeOutputFolder(const QString& folder) {
    const QFileInfo info(folder);
    if (info.isDir())
        return {};
    const QString shown = QDir::toNativeSeparators(folder);
    if (info.exists())
        return QStringLiteral("The folder %1 can't be made: a file of that name is in the way.")
            .arg(shown);
    std::error_code ec;
    std::filesystem::create_directory(std::filesystem::path(folder.toStdU16String()), ec);
    if (QFileInfo(folder).isDir())
        return {};
    return QStringLiteral("The folder %1 can't be made: %2")
        .arg(shown, ec ? QString::fromStdString(ec.message()) : QStringLiteral("unknown error"));
}

// The export's file, which is synced to the disk once complete. On Linux the disk is set to work
// on every few megabytes as soon as they are written, so that the final fsync of a 50 MB export
// waits for its last few megabytes rather than for all of them, which took half the export.
class ExportFile : public QFile {
protected:
    qint64 writeData(const char* data, qint64 size) override {
        const qint64 written = QFile::writeData(data, size);
        constexpr qint64 writebackStep = 4 * 1024 * 1024;
        m_unsubmitted += std::max<qint64>(written, 0);
        if (m_unsubmitted >= writebackStep) {
            m_unsubmitted = 0;
            DiskFiles::startWriteback(*this);
        }
        return written;
    }

private:
    qint64 m_unsubmitted = 0;
};

// A file under a temporary name in the output folder; removed again unless it was moved to
// its final name. NewOnly gives it the same permissions as any new file of the user.
class PendingFile {
public:
    explicit PendingFile(const QString& folder)
        : m_folder(folder) {}
    ~PendingFile() {
        if (m_created && !m_moved) {
            m_file.close();
            m_file.remove();
        }
    }

    QString open() {
        m_created = DiskFiles::openUnique(m_file, m_folder, QStringLiteral(".tarnwick-export-"));
        if (m_created)
            return {};
        return QStringLiteral("No file can be made in the folder %1: %2")
            .arg(QDir::toNativeSeparators(m_folder), m_file.errorString());
    }

    QFile& file() { return m_file; }

    // Writes out what Qt still buffers and waits for the disk, where a full disk shows.
    QString finish() {
        if (!m_file.flush())
            return writeErrorOf(m_file);
        if (const QString reason = DiskFiles::syncToDisk(m_file); !reason.isEmpty())
            return reason;
        m_file.close();
        if (m_file.error() != QFileDevice::NoError)
            return m_file.errorString();
        return {};
    }

    // Moves the file to the first free name; a name taken meanwhile sends it on to the next.
    ExportResult place(const QString& base) {
        ExportResult result;
        const QDir folder(m_folder);
        for (int attempt = 0; attempt < 1000; ++attempt) {
            const QString target =
                folder.filePath(freeExportName(m_folder, base) + QStringLiteral(".gpx"));
            QString reason;
            switch (DiskFiles::moveNoReplace(m_file.fileName(), target, reason)) {
            case DiskFiles::Move::Done:
                m_moved = true;
                result.path = target;
                return result;
            case DiskFiles::Move::TargetExists:
                continue;
            case DiskFiles::Move::Failed:
                result.error = fileError(target, reason);
                return result;
            }
        }
        result.error = fileError(folder.filePath(safeFileName(base) + QStringLiteral(".gpx")),
                                 QStringLiteral("no free name was found."));
        return result;
    }

private:
    QString m_folder;
    ExportFile m_file;
    bool m_created = false;
    bool m_moved = false;
};

// Writes the header line, the body and "</gpx>" into a new file of the output folder. The
// file takes its final name only once it is complete, so a failure leaves nothing behind and
// an export never shows half-written under its name.
ExportResult writeExport(const QString& outputFolder, const QString& base, const QString& header,
                         const std::function<bool(QIODevice&, QString&)>& writeBody) {
    ExportResult result;
    result.error = makeOutputFolder(outputFolder);
    if (!result.error.isEmpty())
        return result;
    PendingFile pending(outputFolder);
    result.error = pending.open();
    if (!result.error.isEmpty())
        return result;
    // The body is gathered here and written from a thread of its own: the search of the
    // scratch file goes on while the page cache takes the blocks found before.
    BackgroundWriter out(pending.file());
    QString reason;
    if (!writeTextLine(out, header) || !writeBody(out, reason) ||
        !writeTextLine(out, QStringLiteral("</gpx>"))) {
        if (reason.isEmpty())
            reason = out.finish();
        if (reason.isEmpty())
            reason = out.errorString();
    } else {
        reason = out.finish();
        if (reason.isEmpty())
            reason = pending.finish();
    }
    if (!reason.isEmpty()) {
        result.error = fileError(
            QDir(outputFolder).filePath(safeFileName(base) + QStringLiteral(".gpx")), reason);
        return result;
    }
    return pending.place(base);
}

} // namespace

QString outputFolderIn(const QString& deviceFolder) {
    return Workspace::findEntry(deviceFolder, QStringLiteral("output"));
}

MarkedItems markedItems(const FlexGridModel& grid) {
    MarkedItems marked;
    for (int row = 1; row < grid.Rows(); ++row) {
        if (!isMarked(grid, row))
            continue;
        marked.any = true;
        if (!grid.TextMatrix(row, 1).isEmpty()) {
            marked.firstName = grid.TextMatrix(row, 1);
            break;
        }
    }
    return marked;
}

QString freeExportName(const QString& outputFolder, const QString& base) {
    const QStringList entries =
        QDir(outputFolder)
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    const QString extension = QStringLiteral(".gpx");
    QSet<QString> taken;
    for (const QString& entry : entries) {
        if (entry.endsWith(extension, Qt::CaseInsensitive))
            taken.insert(entry.toCaseFolded());
    }
    const QString safe = safeFileName(base);
    QString name = safe;
    for (qint64 n = 1; taken.contains((name + extension).toCaseFolded()); ++n)
        name = safe + QLatin1Char(' ') + QString::number(n);
    return name;
}

bool writeFavoritesBody(QIODevice& out, const FlexGridModel& grid,
                        const QList<SymbolPair>* conversion) {
    // The first pair of a nüvi symbol is the one that counts.
    QHash<QString, QString> delormeOf;
    if (conversion) {
        delormeOf.reserve(conversion->size());
        for (const SymbolPair& pair : *conversion)
            if (!delormeOf.contains(pair.nuvi))
                delormeOf.insert(pair.nuvi, pair.delorme);
    }
    const int rows = grid.Rows();
    for (int row = 1; row < rows; ++row) {
        if (!isMarked(grid, row))
            continue;
        const QString& xml = grid.TextMatrix(row, 2);
        const auto found = delormeOf.constFind(grid.TextMatrix(row, 3));
        const bool ok = found == delormeOf.cend() ? writeTextLine(out, xml)
                                                  : writeTextLine(out, convertedCode(xml, *found));
        if (!ok)
            return false;
    }
    return true;
}

TracksBody writeTracksBody(QIODevice& out, QIODevice& scratch, const FlexGridModel& grid,
                           const QStringList& sourceNames) {
    if (!scratch.isOpen() && !scratch.open(QIODevice::ReadOnly))
        return TracksBody::ScratchUnreadable;
    if (!scratch.isReadable())
        return TracksBody::ScratchUnreadable;

    // A scratch file that ends without its "</gpx>" line ends the search and the copy at its
    // end, as that line would; the missing line itself matches no name.
    ScratchLines lines(scratch);
    bool lastRow = false;
    const int rows = grid.Rows();
    for (int row = 1; row < rows && !lastRow; ++row) {
        if (!isMarked(grid, row))
            continue;
        NameSearch name(row < sourceNames.size() ? sourceNames[row] : grid.TextMatrix(row, 1));
        // The search starts at the line where the previous copy stopped.
        QByteArrayView line;
        if (!name.seek(lines, fileEnd) || !lines.current(line)) {
            lastRow = true;
        } else {
            if (name.foundIn(line) && !writeBytesLine(out, line))
                return TracksBody::WriteFailed;
            lastRow = line.contains(fileEnd);
            // A line that starts a track brings the rest of the track: every line up to the
            // next track start, which stays for the next search, or "</gpx>". "</trk>" does
            // not hold "<trk>", so it is copied.
            if (line.contains(trackStart)) {
                lines.advance();
                const auto write = [&out](QByteArrayView bytes) {
                    return out.write(bytes.data(), bytes.size()) == bytes.size();
                };
                switch (lines.copyUntil(write, trackStart, fileEnd)) {
                case ScratchLines::Copy::SinkFailed:
                    return TracksBody::WriteFailed;
                case ScratchLines::Copy::AtEnd:
                    lastRow = true;
                    break;
                case ScratchLines::Copy::Stopped:
                    if (lines.current(line) && line.contains(fileEnd))
                        lastRow = true;
                    break;
                }
            }
        }
        if (lines.failed())
            return TracksBody::ReadFailed;
    }
    return lines.failed() ? TracksBody::ReadFailed : TracksBody::Written;
}

ExportResult exportFavorites(const QString& outputFolder, const QString& base,
                             const QString& header, const FlexGridModel& grid,
                             const QList<SymbolPair>* conversion) {
    return writeExport(outputFolder, base, header, [&](QIODevice& out, QString&) {
        return writeFavoritesBody(out, grid, conversion);
    });
}

ExportResult exportTracks(const QString& outputFolder, const QString& base, const QString& header,
                          const FlexGridModel& grid, const QStringList& sourceNames,
                          const QString& scratchPath) {
    // The scratch file is opened first: when it cannot be read, no export file is made.
    QFile scratch(scratchPath);
    if (!QFileInfo(scratchPath).isFile() ||
        !scratch.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        ExportResult result;
        result.scratchUnreadable = true;
        // A missing file never reached open(), which would have said why.
        const QString reason =
            !QFileInfo::exists(scratchPath)    ? QString::fromLocal8Bit(std::strerror(ENOENT))
            : !QFileInfo(scratchPath).isFile() ? QStringLiteral("it is not a regular file.")
                                               : scratch.errorString();
        result.error = QStringLiteral("The file %1 can't be read: %2")
                           .arg(QDir::toNativeSeparators(scratchPath), reason);
        return result;
    }
    return writeExport(outputFolder, base, header, [&](QIODevice& out, QString& error) {
        switch (writeTracksBody(out, scratch, grid, sourceNames)) {
        case TracksBody::Written:
            return true;
        case TracksBody::ScratchUnreadable:
        case TracksBody::ReadFailed:
            error = QStringLiteral("reading %1 failed: %2")
                        .arg(QDir::toNativeSeparators(scratchPath), scratch.errorString());
            return false;
        case TracksBody::WriteFailed:
            return false;
        }
        return false;
    });
}
