#pragma once

#include <QString>

class QFileDevice;

// Why a write to a file failed, in words the user can act on. When a full disk (or a file size
// limit) stops a write part way, the system call that wrote the first part succeeded, so Qt
// has no reason to give and says "Unknown error"; asking the file system for one more byte
// then fails with the real reason ("No space left on device", "File too large"). Only for a
// file that is discarded after the failure.
QString writeErrorOf(QFileDevice& file);
