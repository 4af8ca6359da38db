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

} // namespace

// MoveFileEx without MOVEFILE_REPLACE_EXISTING fails on an existing name, and it never copies
// (no MOVEFILE_COPY_ALLOWED): a name that Windows maps to a device is refused, not written
// into. The move is written through to the disk before the call returns.
Move moveNoReplace(const QString& from, const QString& to, QString& reason) {
    if (MoveFileExW(nativePath(from).c_str(), nativePath(to).c_str(), MOVEFILE_WRITE_THROUGH))
        return Move::Done;
    const DWORD error = GetLastError();
    if (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)
        return Move::TargetExists;
    reason = systemReason(error);
    return Move::Failed;
}

QString syncToDisk(QFileDevice& file) {
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(file.handle()));
    if (handle == INVALID_HANDLE_VALUE || !FlushFileBuffers(handle))
        return systemReason(GetLastError());
    return {};
}

} // namespace DiskFiles
