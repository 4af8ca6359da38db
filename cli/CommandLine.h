#pragma once

#include <QString>
#include <QStringList>

// The command line: --help, --version and the subcommands that back up a unit's file, list
// its items, export them and save the favorites without a window, through the same core
// functions as the window's commands; and the file a desktop hands to the window.
namespace CommandLine {

// The exit statuses, also listed by --help and in the README.
enum Status {
    Done = 0,
    Failed = 1,       // a file could not be read or written
    Usage = 2,        // unknown subcommand or option, missing or extra arguments
    NoDevice = 3,     // no device folder of that name
    NoSource = 4,     // the GPX file is missing or not a regular file
    NothingMarked = 5 // a --name that no item has, no saved favorites for --new, or no item marked
};

// True when the arguments ask for something that needs no window (help, version, a
// subcommand), so that the caller can start without a display.
bool runsWithoutWindow(int argc, char* argv[]);

// Sets the application's name and version; call once the application object exists.
void describeApplication();

// Runs help, version or a subcommand on the application's arguments; returns the exit status.
int run(const QStringList& arguments);

// The window's own arguments: at most one GPX file to choose as the source.
struct WindowStart {
    QString file;
    int exitStatus = -1; // a status to end with at once (after a message), or -1 to start
    QString message;     // what was wrong, as written to standard error
};
WindowStart windowStart(const QStringList& arguments);

} // namespace CommandLine
