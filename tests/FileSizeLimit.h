#pragma once

// A full disk for this process: while a FileSizeLimit lives, no file can grow past the given
// size, and a write beyond it fails with "File too large" as a write to a full device does.
// Unlike a read-only folder this also fails for root, so the failure paths of every writer
// that goes through the file system are exercised on any machine that has the limit.
// Windows has none: no per-process limit on a file's size, and no full volume that a test can
// make without an administrator, so there the rows that need one are skipped.

#include <QtGlobal>

#ifdef Q_OS_WIN

class FileSizeLimit {
public:
    static constexpr const char* unavailable =
        "Windows has no per-process file size limit to stand in for a full disk.";

    explicit FileSizeLimit(qint64) {}
    bool active() const { return false; }
};

#else

#include <csignal>
#include <sys/resource.h>

class FileSizeLimit {
public:
    static constexpr const char* unavailable = nullptr;

    explicit FileSizeLimit(qint64 bytes) {
        m_set = getrlimit(RLIMIT_FSIZE, &m_old) == 0;
        // The write fails with EFBIG instead of killing the process.
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_old;
        limit.rlim_cur = rlim_t(bytes);
        m_set = m_set && setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

    bool active() const { return m_set; }

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = nullptr;
    bool m_set = false;
};

#endif
