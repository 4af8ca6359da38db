#include "export/ExportWriter.h"

#include "items/FlexGridModel.h"
#include "text/CodePage.h"
#include "text/WriteError.h"
#include "workspace/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QIODevice>
#include <QRandomGenerator>
#include <QSet>

#include <algorithm>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <system_error>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

constexpr QByteArrayView lineEnd("\r\n");
constexpr QByteArrayView trackStart("<trk>");
constexpr QByteArrayView fileEnd("</gpx>");
constexpr qsizetype scratchBlockSize = 1024 * 1024;

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
    line += close < 0 ? QStringView(xml) : QStringView(xml).mid(close);
    return line;
}

// Bytes to look for in the scratch file, and what an earlier look found: the search moves
// forward only, so each byte of the file is looked at once for each of them.
class Needle {
public:
    explicit Needle(QByteArrayView bytes)
        : m_bytes(bytes) {}

    QByteArrayView bytes() const { return m_bytes; }

private:
    friend class ScratchLines;
    QByteArrayView m_bytes;
    qint64 m_found = -1; // the first occurrence at or after m_clear, as a file offset
    qint64 m_clear = 0;  // no occurrence within a line starts before this file offset
};

// The lines of the scratch file, read forward in large blocks, with a cursor on one line.
// Lines end at CR LF; the last line needs no line end. The track data never hold a CR or LF
// of their own, the tracks load having turned them into spaces or dropped them, so a lone CR
// or LF stays part of its line. Searches jump through whole blocks: only the line that holds
// what is looked for is taken apart.
class ScratchLines {
public:
    explicit ScratchLines(QIODevice& device)
        : m_device(device) {}

    // The line at the cursor without its line end; false at the end of the data.
    bool current(QByteArrayView& line) {
        qsizetype from = m_pos;
        for (;;) {
            const qsizetype end = lineEndFrom(from);
            if (end >= 0) {
                line = QByteArrayView(m_buffer).sliced(m_pos, end - m_pos);
                m_next = end + lineEndSize;
                return true;
            }
            if (ended()) {
                if (m_pos >= m_buffer.size())
                    return false;
                line = QByteArrayView(m_buffer).sliced(m_pos);
                m_next = m_buffer.size();
                return true;
            }
            // A CR at the end may begin a CR LF that the next block completes.
            from = std::max(m_pos, m_buffer.size() - 1);
            from -= refill();
        }
    }

    // Moves the cursor past the line that current() gave.
    void advance() { m_pos = m_next; }

    // Moves the cursor to the first line from the cursor on that holds either needle's bytes
    // (name may be null); false when no line does, the cursor then being at the end.
    bool seek(Needle* name, Needle& stop) {
        for (;;) {
            const qsizetype to = completeEnd();
            if (to > m_pos) {
                const qsizetype atStop = find(stop, to);
                const qsizetype limit = atStop < 0 ? to : lineEndAfter(atStop);
                const qsizetype atName = name ? find(*name, limit) : -1;
                const qsizetype hit = atName >= 0 ? atName : atStop;
                if (hit >= 0) {
                    m_pos = lineStart(hit);
                    return true;
                }
                m_pos = to;
            }
            if (ended())
                return false;
            refill();
        }
    }

    enum class Copy { Stopped, AtEnd, WriteFailed };

    // Writes the lines from the cursor on, each with its line end, up to the first line that
    // holds either needle's bytes, where the cursor stays (Stopped), or to the end.
    Copy copyUntil(QIODevice& out, Needle& first, Needle& second) {
        for (;;) {
            const qsizetype to = completeEnd();
            if (to > m_pos) {
                const qsizetype a = find(first, to);
                const qsizetype b = find(second, to);
                const qsizetype hit = a < 0 ? b : (b < 0 ? a : std::min(a, b));
                const qsizetype stop = hit < 0 ? to : lineStart(hit);
                const QByteArrayView lines = QByteArrayView(m_buffer).sliced(m_pos, stop - m_pos);
                if (out.write(lines.data(), lines.size()) != lines.size())
                    return Copy::WriteFailed;
                // The last line of the data may have no line end of its own.
                if (hit < 0 && ended() && !lines.isEmpty() && !lines.endsWith(lineEnd) &&
                    out.write(lineEnd.data(), lineEnd.size()) != lineEnd.size())
                    return Copy::WriteFailed;
                m_pos = stop;
                if (hit >= 0)
                    return Copy::Stopped;
            }
            if (ended())
                return Copy::AtEnd;
            refill();
        }
    }

    bool failed() const { return m_failed; }

private:
    static constexpr qsizetype lineEndSize = 2;

    bool ended() const { return m_atEnd || m_failed; }

    bool isLineEndAt(qsizetype at) const {
        return at >= m_pos && at + 1 < m_buffer.size() && m_buffer[at] == '\r' &&
               m_buffer[at + 1] == '\n';
    }

    // Where the first line end at or after from begins, or -1.
    qsizetype lineEndFrom(qsizetype from) const {
        const char* const data = m_buffer.constData();
        const qsizetype size = m_buffer.size();
        for (qsizetype at = from + 1; at < size;) {
            const auto* lf =
                static_cast<const char*>(std::memchr(data + at, '\n', size_t(size - at)));
            if (!lf)
                return -1;
            if (isLineEndAt(lf - data - 1))
                return lf - data - 1;
            at = lf - data + 1;
        }
        return -1;
    }

    // Where the line that holds the byte at offset at begins.
    qsizetype lineStart(qsizetype at) const {
        while (at > m_pos && !isLineEndAt(at - lineEndSize))
            --at;
        return at;
    }

    // Where the line after the one that holds the byte at offset at begins.
    qsizetype lineEndAfter(qsizetype at) const {
        const qsizetype end = lineEndFrom(at - 1);
        return end < 0 ? m_buffer.size() : end + lineEndSize;
    }

    // The end of the last whole line in the buffer: the last line ends only at the end of the
    // data.
    qsizetype completeEnd() const {
        return ended() ? m_buffer.size() : std::max(m_pos, m_complete);
    }

    // The first occurrence of the needle's bytes from the cursor up to to (a line boundary)
    // that stands within one line, or -1.
    qsizetype find(Needle& needle, qsizetype to) {
        if (needle.m_found >= m_base + m_pos)
            return needle.m_found < m_base + to ? needle.m_found - m_base : -1;
        const qsizetype size = needle.m_bytes.size();
        const char* const data = m_buffer.constData();
        for (qsizetype at = std::max<qsizetype>(m_pos, needle.m_clear - m_base); at < to;) {
            const auto* hit = static_cast<const char*>(
                memmem(data + at, size_t(to - at), needle.m_bytes.data(), size_t(size)));
            if (!hit)
                break;
            const qsizetype found = hit - data;
            // An occurrence across a line end is in no line.
            qsizetype k = std::max(m_pos, found - 1);
            while (k < found + size && !isLineEndAt(k))
                ++k;
            if (k == found + size) {
                needle.m_found = needle.m_clear = m_base + found;
                return found;
            }
            at = found + 1;
        }
        needle.m_clear = std::max(needle.m_clear, m_base + to);
        return -1;
    }

    // Drops the lines before the cursor and reads the next block; returns how far the bytes
    // moved down.
    qsizetype refill() {
        const qsizetype dropped = m_pos;
        const qsizetype kept = m_buffer.size() - m_pos;
        std::memmove(m_buffer.data(), m_buffer.constData() + m_pos, size_t(kept));
        m_base += dropped;
        m_pos = 0;
        m_complete = std::max<qsizetype>(0, m_complete - dropped);
        m_buffer.resize(kept + scratchBlockSize);
        const qint64 got = m_device.read(m_buffer.data() + kept, scratchBlockSize);
        m_buffer.resize(kept + std::max<qint64>(got, 0));
        if (got < 0)
            m_failed = true;
        else if (got == 0)
            m_atEnd = true;
        // The last line end, in the new bytes or across their first one.
        const char* const data = m_buffer.constData();
        for (qsizetype at = m_buffer.size(); at > kept && at > 1;) {
            const auto* lf =
                static_cast<const char*>(memrchr(data + kept, '\n', size_t(at - kept)));
            if (!lf)
                break;
            if (lf > data && lf[-1] == '\r') {
                m_complete = lf - data + 1;
                break;
            }
            at = lf - data;
        }
        return dropped;
    }

    QIODevice& m_device;
    QByteArray m_buffer;
    qint64 m_base = 0;        // file offset of the buffer's first byte
    qsizetype m_pos = 0;      // the cursor: where its line begins
    qsizetype m_next = 0;     // where the line after the one current() gave begins
    qsizetype m_complete = 0; // where the last line end in the buffer ends
    bool m_atEnd = false;
    bool m_failed = false;
};

// A track name as the scratch file would hold it. A name with a character outside the code
// page cannot stand in the file at all. The empty name is found in every line that is not
// empty.
class NameSearch {
public:
    explicit NameSearch(const QString& name)
        : m_bytes(CodePage::fromUnicode(name))
        , m_possible(CodePage::toUnicode(m_bytes) == name)
        , m_needle(m_bytes) {}

    bool foundIn(QByteArrayView line) const {
        return m_possible && !line.isEmpty() && line.contains(m_bytes);
    }

    // Moves the lines' cursor to the first line that holds the name or the stop bytes.
    bool seek(ScratchLines& lines, Needle& stop) {
        if (!m_possible || !m_bytes.isEmpty())
            return lines.seek(m_possible ? &m_needle : nullptr, stop);
        QByteArrayView line;
        for (; lines.current(line); lines.advance()) {
            if (!line.isEmpty())
                return true;
        }
        return false;
    }

private:
    QByteArray m_bytes;
    bool m_possible;
    Needle m_needle;
};

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

enum class Move { Done, TargetExists, Failed };

// Gives the finished file its name, refusing to replace anything that holds that name, even a
// file that appeared after the name was found free: the test and the move are one step of the
// file system. Linux does this with renameat2(RENAME_NOREPLACE); a file system that does not
// know that flag gets a hard link under the new name, which fails just as surely on an
// existing name, and the temporary name is then dropped.
Move moveNoReplace(const QString& from, const QString& to, QString& reason) {
#ifdef Q_OS_LINUX
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    int err = 0;
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return Move::Done;
    err = errno;
    if (err == EINVAL || err == ENOSYS) {
        if (::link(source.constData(), target.constData()) == 0) {
            ::unlink(source.constData());
            return Move::Done;
        }
        err = errno;
    }
    if (err == EEXIST)
        return Move::TargetExists;
    reason = QString::fromLocal8Bit(std::strerror(err));
    return Move::Failed;
#else
    // QFile::rename refuses an existing target.
    if (QFileInfo::exists(to))
        return Move::TargetExists;
    QFile file(from);
    if (file.rename(to))
        return Move::Done;
    if (QFileInfo::exists(to))
        return Move::TargetExists;
    reason = file.errorString();
    return Move::Failed;
#endif
}

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
        for (int attempt = 0; attempt < 100; ++attempt) {
            const QString name =
                QStringLiteral(".tarnwick-export-%1.tmp")
                    .arg(QRandomGenerator::global()->generate64(), 16, 16, QLatin1Char('0'));
            m_file.setFileName(QDir(m_folder).filePath(name));
            if (m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
                m_created = true;
                return {};
            }
            if (!QFileInfo::exists(m_file.fileName()))
                break;
        }
        return QStringLiteral("No file can be made in the folder %1: %2")
            .arg(QDir::toNativeSeparators(m_folder), m_file.errorString());
    }

    QFile& file() { return m_file; }

    // Writes out what Qt still buffers and waits for the disk, where a full disk shows.
    QString finish() {
        if (!m_file.flush())
            return writeErrorOf(m_file);
#ifdef Q_OS_UNIX
        if (::fsync(m_file.handle()) != 0)
            return QString::fromLocal8Bit(std::strerror(errno));
#endif
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
            switch (moveNoReplace(m_file.fileName(), target, reason)) {
            case Move::Done:
                m_moved = true;
                result.path = target;
                return result;
            case Move::TargetExists:
                continue;
            case Move::Failed:
                result.error = fileError(target, reason);
                return result;
            }
        }
        result.error = fileError(folder.filePath(base + QStringLiteral(".gpx")),
                                 QStringLiteral("no free name was found."));
        return result;
    }

private:
    QString m_folder;
    QFile m_file;
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
    QFile& file = pending.file();
    QString reason;
    if (!writeTextLine(file, header) || !writeBody(file, reason) ||
        !writeTextLine(file, QStringLiteral("</gpx>"))) {
        if (reason.isEmpty())
            reason = writeErrorOf(file);
    } else {
        reason = pending.finish();
    }
    if (!reason.isEmpty()) {
        result.error =
            fileError(QDir(outputFolder).filePath(base + QStringLiteral(".gpx")), reason);
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
    QString name = base;
    for (qint64 n = 1; taken.contains((name + extension).toCaseFolded()); ++n)
        name = base + QLatin1Char(' ') + QString::number(n);
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
    Needle fileEndNeedle(fileEnd);
    Needle trackStartNeedle(trackStart);
    bool lastRow = false;
    const int rows = grid.Rows();
    for (int row = 1; row < rows && !lastRow; ++row) {
        if (!isMarked(grid, row))
            continue;
        NameSearch name(row < sourceNames.size() ? sourceNames[row] : grid.TextMatrix(row, 1));
        // The search starts at the line where the previous copy stopped.
        QByteArrayView line;
        if (!name.seek(lines, fileEndNeedle) || !lines.current(line)) {
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
                switch (lines.copyUntil(out, trackStartNeedle, fileEndNeedle)) {
                case ScratchLines::Copy::WriteFailed:
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
