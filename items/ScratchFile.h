#pragma once

#include <QFile>
#include <QString>

#include <memory>

class BackgroundWriter;

// The tracks load's scratch file, written without a name (or under a temporary one where the
// file system can't do that) and renamed over TEMP.TMP once complete, so that a failed or
// cancelled load keeps the earlier one and leaves nothing behind. The next load rewrites it
// anyway, so it is never synced to the disk: a crash may lose it, nothing else. The blocks
// are written from a thread of their own, so the load scans on while the last block goes to
// the disk.
class ScratchFile {
public:
    explicit ScratchFile(const QString& path);
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    // The reason when no file can be made, or an empty text.
    QString open();
    // Where the tracks scanner writes, once open() succeeded. A write returns at once; a
    // failed one fails the next write, whose errorString() says why, and place().
    QIODevice& file();
    // Closes the file and gives it the scratch file's name; the reason of a failure, or an
    // empty text.
    QString place();

private:
    // The scratch file's temporary names are TEMP.TMP.<random>.tmp, in its folder.
    QString folder() const;
    QString prefix() const;

    QString m_path;
    QString m_tempName;
    QFile m_file;
    std::unique_ptr<BackgroundWriter> m_writer;
    bool m_placed = false;
};
