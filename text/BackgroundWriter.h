#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QString>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

class QFileDevice;

// Writes to a file from a thread of its own, so that the work that makes the bytes goes on
// while the page cache takes the last block. Small writes are gathered into blocks of about
// 1 MB; at most two blocks wait for the thread. The first failure stops the writing: the
// write that hands over the next block fails with its reason, as does every write after it
// and finish(). A write that only gathers returns at once, so a failure shows a block late.
class BackgroundWriter : public QIODevice {
public:
    explicit BackgroundWriter(QFileDevice& file);
    ~BackgroundWriter() override;

    // Hands over what is gathered and waits until every block is written; the reason of a
    // failure, or an empty text.
    QString finish();

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override;

private:
    QByteArray takeSpare();
    bool handOver(QByteArray block);
    bool stop(const QString& reason);
    void writeBlocks();
    bool writeBlock(QByteArray block);

    QFileDevice& m_file;
    QByteArray m_gathered;
    bool m_failed = false; // a write has failed; every later one fails too
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<QByteArray> m_blocks;
    std::vector<QByteArray> m_spare;
    bool m_closing = false;
    QString m_error;
    std::thread m_thread;
};
