#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

// The workspace: one folder per GPS unit (a device) under a fixed root, ~/GPX.
namespace Workspace {

// The root as a path: the home folder plus "/GPX" (C:\GPX on Windows), or the folder that the
// environment variable TARNWICK_WORKSPACE names.
QString rootPath();

// The root as the user knows it, for texts shown in the window: "~/GPX" (C:\GPX on Windows).
QString displayRoot();

// A folder path shown the way the user knows it: the home folder as "~".
QString displayPath(const QString& path);

// The device names: every sub-folder of the root whose name does not begin with a dot, by name
// without regard to case, runs of digits in numeric order ("Nuvi_2" before "Nuvi_10").
QStringList deviceNames();

// The entry of a folder whose name equals the name without regard to case, as a full path;
// the folder plus the name when there is none.
QString findEntry(const QString& folder, const QString& name);

// Creates one folder (its parent must exist) and ignores every failure, such as the folder
// existing already.
void MakeFolder(const QString& path);

// How old a temporary file of the program's must be before a start takes it for a leftover, in
// seconds: a younger one may belong to an export or a load still running in another window.
constexpr qint64 leftoverAge = 60 * 60;

// Removes from the device folders, and the folders in them, the temporary files of an export,
// a dated copy or a tracks load that the program could not remove itself (it crashed, the
// power went) and that are at least leftoverAge old at now. How many were removed.
qsizetype removeLeftovers(const QDateTime& now = QDateTime::currentDateTimeUtc());

} // namespace Workspace
