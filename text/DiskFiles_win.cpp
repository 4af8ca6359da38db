#include "text/DiskFiles.h"

#include <QDir>
#include <QFile>

#include <io.h>
#include <windows.h>

namespace DiskFiles {

namespace {

QString systemReason(DWORD error) {
    wchar_t* text = nullptr;
    const DWORD size = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    QString reason = size ? QString::fromWCharArray(text, int(size)).trimmed()
                          : QStringLiteral("error %1").arg(error);
    LocalFree(text);
    return reason;
}

std::wstring nativePath(const QString& path) {
    return QDir::toNativeSeparators(path).toStdWString();
}

DWORD attributesOf(const std::wstring& path) {
    return GetFileAttributesW(path.c_str());
}

void setHidden(const std::wstring& path, bool hidden) {
    const DWORD attributes = attributesOf(path);
    const DWORD wanted =
        hidden ? attributes | FILE_ATTRIBUTE_HIDDEN : attributes & ~DWORD(FILE_ATTRIBUTE_HIDDEN);
    if (attributes != INVALID_FILE_ATTRIBUTES && wanted != attributes)
        SetFileAttributesW(path.c_str(), wanted);
}

// A temporary file takes its name visible: the move keeps the hidden mark.
void show(const std::wstring& path) {
    setHidden(path, false);
}

} // namespace

void hideWhileWritten(const QString& path) {
    setHidden(nativePath(path), true);
}

bool isHidden(const QString& path) {
    const DWORD attributes = attributesOf(nativePath(path));
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN);
}

// MoveFileEx without MOVEFILE_REPLACE_EXISTING fails on an existing name, and it never copies
// (no MOVEFILE_COPY_ALLOWED): a name that Windows maps to a device is refused, not written
// into. The move is written through to the disk before the call returns.
Move moveNoReplace(const QString& from, const QString& to, QString& reason) {
    show(nativePath(from));
    if (MoveFileExW(nativePath(from).c_str(), nativePath(to).c_str(), MOVEFILE_WRITE_THROUGH))
        return Move::Done;
    const DWORD error = GetLastError();
    if (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)
        return Move::TargetExists;
    reason = systemReason(error);
    return Move::Failed;
}

bool replace(const QString& from, const QString& to, QString& reason) {
    show(nativePath(from));
    // Ten tries over a second: a scanner that opened the new or the old file lets go by then.
    for (int attempt = 0;; ++attempt) {
        if (MoveFileExW(nativePath(from).c_str(), nativePath(to).c_str(),
                        MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
            return true;
        const DWORD error = GetLastError();
        const bool held = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
                          error == ERROR_ACCESS_DENIED;
        if (!held || attempt == 9) {
            // Access is denied, too, when the file is open without leave to delete it; a
            // file that is read-only or a folder that can't be written say so themselves.
            const DWORD attributes = attributesOf(nativePath(to));
            const bool readOnly = attributes != INVALID_FILE_ATTRIBUTES &&
                                  (attributes & FILE_ATTRIBUTE_READONLY) != 0;
            reason = held && !readOnly ? heldByAnotherProgram() : systemReason(error);
            return false;
        }
        Sleep(100);
    }
}

// Asking to delete the file fails with a sharing violation while another program has it open
// without leave to delete it, which is what stops a replacement.
QString whyNotReplaced(const QString& path, const QString& reason) {
    const HANDLE probe = CreateFileW(nativePath(path).c_str(), DELETE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
    if (probe != INVALID_HANDLE_VALUE) {
        CloseHandle(probe);
        return reason;
    }
    return GetLastError() == ERROR_SHARING_VIOLATION ? heldByAnotherProgram() : reason;
}

// Windows has no file without a name.
bool openUnnamed(QFile&, const QString&, QIODevice::OpenMode) {
    return false;
}

Move nameUnnamed(QFileDevice&, const QString&, QString& reason) {
    reason = systemReason(ERROR_NOT_SUPPORTED);
    return Move::Failed;
}

void startWriteback(QFileDevice&) {}

// A failed WriteFile has already said why.
QString whyWriteStopped(QFileDevice&) {
    return {};
}

QString syncToDisk(QFileDevice& file) {
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(file.handle()));
    if (handle == INVALID_HANDLE_VALUE || !FlushFileBuffers(handle))
        return systemReason(GetLastError());
    return {};
}

} // namespace DiskFiles
