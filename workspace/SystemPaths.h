#pragma once

#include <QString>

// How this system places the workspace and writes paths for the user: one definition per
// system.
namespace SystemPaths {

// The workspace root when none is chosen: C:/GPX on Windows, the home folder's GPX elsewhere.
QString defaultRoot();

// That root as the user knows it: "C:\GPX" on Windows, "~/GPX" elsewhere.
QString defaultRootShown();

// A path as the user knows it: with backslashes on Windows, with the home folder as "~"
// elsewhere.
QString shown(const QString& path);

// How paths compare: without regard to case on Windows.
Qt::CaseSensitivity pathCase();

} // namespace SystemPaths
