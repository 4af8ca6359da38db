#pragma once

#include <QString>

class QFile;
class QFileDevice;

// The two steps that make a new file safe, done the way each system can: its bytes on the
// disk, then its name, which must not replace anything. A file is named only after it is
// synced, so that after a power cut or a pulled USB stick a file reported as written is whole.
namespace DiskFiles {

// Opens the file, which must not be open, for writing under a name of the folder that no
// other file has: the prefix, 16 random hexadecimal digits and ".tmp". It gets the
// permissions of any new file of the user. False when no such file can be made; the file's
// errorString() then says why.
bool openUnique(QFile& file, const QString& folder, const QString& prefix);

enum class Move { Done, TargetExists, Failed };

// Gives the file at from the name to, refusing to replace anything that holds that name, even
// a file that appeared after the name was found free: the test and the move are one step of
// the file system. On Failed, reason says why.
Move moveNoReplace(const QString& from, const QString& to, QString& reason);

// Gives the file at from the name to, replacing the file of that name. Windows refuses while
// another program has that file open (a virus scanner that just opened it, a command-line
// export reading it); the move is tried again for a moment, and then reason says that another
// program is using the file.
bool replace(const QString& from, const QString& to, QString& reason);

// What is said when another program holds a file open so that it can't be replaced.
QString heldByAnotherProgram();

// Why the file at path could not be replaced, the system having given reason: that another
// program is using it, where that is so (Windows says only "access denied"); else reason.
QString whyNotReplaced(const QString& path, const QString& reason);

// Waits until what was written to the open file is on the disk; the reason when it can't be.
QString syncToDisk(QFileDevice& file);

} // namespace DiskFiles
