#include "text/BackgroundWriter.h"

#include "text/WriteError.h"

#include <QFileDevice>

#include <utility>

namespace {

constexpr qsizetype blockSize = 1024 * 1024;

} // namespace

BackgroundWriter::BackgroundWriter(QFileDevice& file)
    : m_file(file)
    , m_thread([this] { writeBlocks(); }) {
    QIODevice::open(QIODevice::WriteOnly | QIODevice::Unbuffered);
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

// Queues the block once fewer than two wait; false, with the reason as the error string,
// when the writing has failed.
bool BackgroundWriter::handOver(QByteArray block) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_blocks.size() < 2 || !m_error.isEmpty(); });
    if (!m_error.isEmpty()) {
        setErrorString(m_error);
        m_failed = true;
        return false;
    }
    m_blocks.push_back(std::move(block));
    lock.unlock();
    m_changed.notify_all();
    return true;
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
        block.resize(0);
        const std::lock_guard lock(m_mutex);
        m_spare.push_back(std::move(block));
    }
}
