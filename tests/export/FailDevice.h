#pragma once

#include <QByteArray>
#include <QIODevice>

#include <cstring>

// A device that takes the first `capacity` bytes written to it and then fails, as a full disk
// does. What it took is kept for inspection.
class FailingWriter : public QIODevice {
public:
    explicit FailingWriter(qint64 capacity)
        : m_capacity(capacity) {
        open(QIODevice::WriteOnly);
    }
    const QByteArray& taken() const { return m_taken; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override {
        const qint64 room = m_capacity - m_taken.size();
        if (room <= 0) {
            setErrorString(QStringLiteral("No space left on device"));
            return -1;
        }
        const qint64 n = qMin(size, room);
        m_taken.append(data, n);
        return n;
    }

private:
    qint64 m_capacity;
    QByteArray m_taken;
};

// A device that hands out its bytes at most `chunk` at a time and, when failAfter is not
// negative, fails once that many bytes have been read, as an unplugged drive does.
class ChunkedReader : public QIODevice {
public:
    ChunkedReader(QByteArray data, qint64 chunk, qint64 failAfter = -1)
        : m_data(std::move(data))
        , m_chunk(chunk)
        , m_failAfter(failAfter) {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        if (m_failAfter >= 0 && m_pos >= m_failAfter) {
            setErrorString(QStringLiteral("Input/output error"));
            return -1;
        }
        qint64 n = qMin(qMin(maxSize, m_chunk), qint64(m_data.size()) - m_pos);
        if (m_failAfter >= 0)
            n = qMin(n, m_failAfter - m_pos);
        std::memcpy(data, m_data.constData() + m_pos, size_t(n));
        m_pos += n;
        return n;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_data;
    qint64 m_chunk;
    qint64 m_failAfter;
    qint64 m_pos = 0;
};
