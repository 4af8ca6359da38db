#pragma once

// A file that another program has open, as Notepad, Excel, a virus scanner or a sync tool may:
// while a HeldFile lives, the file is open for reading with leave for others to read it only,
// so Windows refuses to write, replace or delete it. Linux has no such share modes; there a
// held file is never active.

#include <QDir>
#include <QString>

#ifdef Q_OS_WIN
#include <windows.h>

class HeldFile {
public:
    static constexpr const char* unavailable = nullptr;

    explicit HeldFile(const QString& path)
        : m_handle(CreateFileW(reinterpret_cast<LPCWSTR>(QDir::toNativeSeparators(path).utf16()),
                               GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)) {
    }
    ~HeldFile() {
        if (active())
            CloseHandle(m_handle);
    }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

    bool active() const { return m_handle != INVALID_HANDLE_VALUE; }

private:
    HANDLE m_handle;
};

#else

class HeldFile {
public:
    static constexpr const char* unavailable =
        "Linux has no share modes: a file that another program has open can still be replaced.";

    explicit HeldFile(const QString&) {}
    bool active() const { return false; }
};

#endif
