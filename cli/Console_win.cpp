#include "cli/Console.h"

#include <cstdlib>

#include <windows.h>

namespace Console {

namespace {

UINT originalCodePage = 0;

void restoreCodePage() {
    SetConsoleOutputCP(originalCodePage);
}

bool isConsole(DWORD stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

} // namespace

bool hasStandardError() {
    const HANDLE handle = GetStdHandle(STD_ERROR_HANDLE);
    return handle != nullptr && handle != INVALID_HANDLE_VALUE &&
           GetFileType(handle) != FILE_TYPE_UNKNOWN;
}

void showUtf8() {
    if (originalCodePage != 0 || (!isConsole(STD_OUTPUT_HANDLE) && !isConsole(STD_ERROR_HANDLE)))
        return;
    originalCodePage = GetConsoleOutputCP();
    if (originalCodePage != CP_UTF8 && SetConsoleOutputCP(CP_UTF8))
        std::atexit(restoreCodePage);
}

} // namespace Console
