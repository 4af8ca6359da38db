#include "items/ScratchFile.h"

#include "text/WriteError.h"

#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>

#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <unistd.h>
#endif

// Hands the blocks written to it to a thread that writes them to the file, at most two
// waiting, so that scanning and writing share the work of a load. The first failure stops the
// writing; the next write fails with its reason, and so does finish().
class BackgroundWriter : public QIODevice {
public:
    explicit BackgroundWriter(QFile& file)
        : m_file(file)
        , m_thread([this] { writeBlocks(); }) {
        QIODevice::open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }
    ~BackgroundWriter() override { finish(); }

    // Waits until every block is written; the reason of a failure, or an empty text.
    QString finish() {
        {
            const std::lock_guard lock(m_mutex);
            m_closing = true;
        }
        m_changed.notify_all();
        if (m_thread.joinable())
            m_thread.join();
        return m_error;
    }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_blocks.size() < 2 || !m_error.isEmpty(); });
        if (!m_error.isEmpty()) {
            setErrorString(m_error);
            return -1;
        }
        m_blocks.emplace_back(data, size);
        lock.unlock();
        m_changed.notify_all();
        return size;
    }

private:
    void writeBlocks() {
        for (;;) {
            QByteArray block;
            {
                std::unique_lock lock(m_mutex);
                m_changed.wait(lock, [this] { return !m_blocks.empty() || m_closing; });
                if (m_blocks.empty())
                    return;
                block = std::move(m_blocks.front());
                m_blocks.pop_front();
            }
            m_changed.notify_all();
            for (QByteArrayView rest(block); !rest.isEmpty();) {
                const qint64 written = m_file.write(rest.data(), rest.size());
                if (written <= 0) {
                    const QString reason = writeErrorOf(m_file);
                    const std::lock_guard lock(m_mutex);
                    m_error = reason;
                    m_blocks.clear();
                    m_changed.notify_all();
                    return;
                }
                rest = rest.sliced(written);
            }
        }
    }

    QFile& m_file;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<QByteArray> m_blocks;
    bool m_closing = false;
    QString m_error;
    std::thread m_thread;
};

ScratchFile::ScratchFile(const QString& path)
    : m_path(path) {}

ScratchFile::~ScratchFile() {
    m_writer.reset();
    m_file.close();
    if (!m_tempName.isEmpty() && !m_placed)
        QFile::remove(m_tempName);
}

QString ScratchFile::open() {
    if (QFileInfo(m_path).isDir())
        return QStringLiteral("Filename refers to a directory");
    // Unbuffered: the scanner writes large blocks, and a failed write shows at once.
    const auto mode = QIODevice::WriteOnly | QIODevice::Unbuffered;
#ifdef Q_OS_LINUX
    const int fd = ::open(QFile::encodeName(QFileInfo(m_path).absolutePath()).constData(),
                          O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (fd >= 0) {
        if (m_file.open(fd, mode, QFileDevice::AutoCloseHandle)) {
            m_writer = std::make_unique<BackgroundWriter>(m_file);
            return {};
        }
        ::close(fd);
    }
#endif
    for (int attempt = 0; attempt < 100; ++attempt) {
        m_file.setFileName(temporaryName());
        if (m_file.open(mode | QIODevice::NewOnly)) {
            m_tempName = m_file.fileName();
            m_writer = std::make_unique<BackgroundWriter>(m_file);
            return {};
        }
        if (!QFileInfo::exists(m_file.fileName()))
            break;
    }
    return m_file.errorString();
}

QIODevice& ScratchFile::file() {
    return *m_writer;
}

QString ScratchFile::place() {
    if (const QString reason = m_writer->finish(); !reason.isEmpty())
        return reason;
#ifdef Q_OS_LINUX
    if (m_tempName.isEmpty()) {
        const QByteArray handle = "/proc/self/fd/" + QByteArray::number(m_file.handle());
        for (int attempt = 0; attempt < 100 && m_tempName.isEmpty(); ++attempt) {
            const QString name = temporaryName();
            if (::linkat(AT_FDCWD, handle.constData(), AT_FDCWD,
                         QFile::encodeName(name).constData(), AT_SYMLINK_FOLLOW) == 0)
                m_tempName = name;
            else if (errno != EEXIST)
                return QString::fromLocal8Bit(std::strerror(errno));
        }
    }
#endif
    m_file.close();
    if (m_file.error() != QFileDevice::NoError)
        return m_file.errorString();
    std::error_code ec;
    std::filesystem::rename(std::filesystem::path(m_tempName.toStdU16String()),
                            std::filesystem::path(m_path.toStdU16String()), ec);
    if (ec)
        return QString::fromStdString(ec.message());
    m_placed = true;
    return {};
}

QString ScratchFile::temporaryName() const {
    return m_path + QStringLiteral(".%1").arg(QRandomGenerator::global()->generate(), 8, 16,
                                              QLatin1Char('0'));
}
