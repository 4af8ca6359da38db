#include "text/BackgroundWriter.h"

#include "text/WriteError.h"

#include <QFileDevice>

#include <system_error>
#include <utility>

namespace {

constexpr qsizetype blockSize = 1024 * 1024;

} // namespace

BackgroundWriter::BackgroundWriter(QFileDevice& file)
    : m_file(file) {
    QIODevice::open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    // When the system refuses a thread, the blocks are written as they are handed over.
    try {
        m_thread = std::thread([this] { writeBlocks(); });
    } catch (const std::system_error&) {
    }
}

BackgroundWriter::~BackgroundWriter() {
    finish();
}

QString BackgroundWriter::finish() {
    if (!m_gathered.isEmpty())
        handOver(std::exchange(m_gathered, {}));
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
    return m_error;
}

qint64 BackgroundWriter::writeData(const char* data, qint64 size) {
    if (m_failed)
        return -1;
    // A block goes before it would have to grow, which would copy what it holds.
    if (!m_gathered.isEmpty() && m_gathered.size() + size > m_gathered.capacity() &&
        !handOver(std::exchange(m_gathered, {})))
        return -1;
    if (m_gathered.capacity() == 0)
        m_gathered = takeSpare();
    m_gathered.append(data, size);
    if (m_gathered.size() >= blockSize && !handOver(std::exchange(m_gathered, {})))
        return -1;
    return size;
}

// A written block, emptied, or a new one: the blocks go round between the two threads, so
// that their pages are not given back and asked for again with every megabyte.
QByteArray BackgroundWriter::takeSpare() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_spare.empty()) {
            QByteArray block = std::move(m_spare.back());
            m_spare.pop_back();
            return block;
        }
    }
    QByteArray block;
    block.reserve(blockSize);
    return block;
}

// Queues the block once fewer than two wait, or writes it at once without a thread; false,
// with the reason as the error string, when the writing has failed.
bool BackgroundWriter::handOver(QByteArray block) {
    if (!m_thread.joinable())
        return writeBlock(std::move(block)) || stop(m_error);
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_blocks.size() < 2 || !m_error.isEmpty(); });
    if (!m_error.isEmpty())
        return stop(m_error);
    m_blocks.push_back(std::move(block));
    lock.unlock();
    m_changed.notify_all();
    return true;
}

bool BackgroundWriter::stop(const QString& reason) {
    setErrorString(reason);
    m_failed = true;
    return false;
}

void BackgroundWriter::writeBlocks() {
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
        if (!writeBlock(std::move(block)))
            return;
    }
}

// Writes the block to the file and keeps it for the next one; false, with the reason in
// m_error, when a write failed.
bool BackgroundWriter::writeBlock(QByteArray block) {
    for (QByteArrayView rest(block); !rest.isEmpty();) {
        const qint64 written = m_file.write(rest.data(), rest.size());
        if (written <= 0) {
            const QString reason = writeErrorOf(m_file);
            const std::lock_guard lock(m_mutex);
            m_error = reason;
            m_blocks.clear();
            m_changed.notify_all();
            return false;
        }
        rest = rest.sliced(written);
    }
    block.resize(0);
    const std::lock_guard lock(m_mutex);
    m_spare.push_back(std::move(block));
    return true;
}
