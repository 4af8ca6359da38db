#pragma once

#include <QIODevice>
#include <QString>

class QFile;
class QFileDevice;

// The two steps that make a new file safe, done the way each system can: its bytes on the
// disk, then its name, which must not replace anything. A file is named only after it is
// synced, so that after a power cut or a pulled USB stick a file reported as written is whole.
namespace DiskFiles {

// A name for a file of the program's own while it is being written: the folder, the prefix,
// 16 random hexadecimal digits and ".tmp".
QString temporaryName(const QString& folder, const QString& prefix);

// Whether the file name (without its folder) is one that temporaryName() gives for the prefix,
// in any letter case.
bool isTemporaryName(const QString& fileName, const QString& prefix);

// Opens the file, which must not be open, for writing (with the extra modes) under a
// temporary name of the folder that no other file has. It gets the permissions of any new file
// of the user; on Windows it is hidden until it is moved to its name, so that a crash leaves
// nothing behind that Explorer shows. False when no such file can be made; the file's
// errorString() then says why.
bool openUnique(QFile& file, const QString& folder, const QString& prefix,
                QIODevice::OpenMode extra = {});

enum class Move { Done, TargetExists, Failed };

// Opens the file, which must not be open, for writing (with the extra modes) as a file of the
// folder that has no name yet, where the system can make one (Linux's O_TMPFILE): a file that
// is never named leaves nothing behind, whatever ends the program. False where it can't.
bool openUnnamed(QFile& file, const QString& folder, QIODevice::OpenMode extra = {});

// Gives a file that openUnnamed() opened the name, which must not be taken: TargetExists when
// it is. On Failed, reason says why.
Move nameUnnamed(QFileDevice& file, const QString& name, QString& reason);

// Gives the file at from the name to (and shows it on Windows), refusing to replace anything that
// holds that name, even a file that appeared after the name was found free: the test and the move
// are one step of the file system. On Failed, reason says why.
Move moveNoReplace(const QString& from, const QString& to, QString& reason);

// Gives the file at from the name to (and shows it on Windows), replacing the file of that name.
// Windows refuses while another program has that file open (a virus scanner that just opened it, a
// command-line export reading it); the move is tried again for a moment, and then reason says that
// another program is using the file.
bool replace(const QString& from, const QString& to, QString& reason);

// What is said when another program holds a file open so that it can't be replaced.
QString heldByAnotherProgram();

// Why the file at path could not be replaced, the system having given reason: that another
// program is using it, where that is so (Windows says only "access denied"); else reason.
QString whyNotReplaced(const QString& path, const QString& reason);

// Marks a file of the program's own as hidden while it is written, on Windows; elsewhere the
// file's temporary name does what can be done.
void hideWhileWritten(const QString& path);

// Whether the file is hidden from the user's file manager by the system's own mark: always
// false where a leading dot is all that hides a file.
bool isHidden(const QString& path);

// Has the system start writing to the disk what was written to the open file so far, without
// waiting for it, where it can (Linux), so that a later syncToDisk() has less to wait for.
void startWriteback(QFileDevice& file);

// Why the last write to the open file stopped short, asked of the system by writing one more
// byte: empty where the system can't be asked (Windows) or does not say. Only for a file that
// is discarded after the failure.
QString whyWriteStopped(QFileDevice& file);

// Waits until what was written to the open file is on the disk; the reason when it can't be.
QString syncToDisk(QFileDevice& file);

} // namespace DiskFiles
