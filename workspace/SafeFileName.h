#pragma once

#include <QString>

// The one file-name rule of the workspace, the same on Linux and Windows, so that a workspace
// copied from one system to the other stays valid. It makes a device folder's name or an
// export's base name (before " N" and ".gpx") into one that both systems store as it is:
// - at most 200 bytes in UTF-8 (200 characters for the names CleanName leaves): a path
//   component may have 255 UTF-16 units on Windows and 255 bytes on Linux, and an export adds
//   " " + a counter + ".gpx" to the name. Only the component length binds: the program's
//   manifest declares it longPathAware, which lifts the 260-character limit of a whole path;
// - no space or dot at its end, which Windows drops; a name of nothing else becomes "_";
// - not a name Windows keeps for a device: CON, PRN, AUX, NUL, COM1 to COM9 and LPT1 to LPT9
//   (also with the digits ¹, ² and ³) in any letter case, alone or followed by spaces or by a
//   dot and more ("NUL.gpx"). Such a name takes a "_" after that word: "CON" gives "CON_".
// An empty name stays empty: what it means is the caller's to say (an export names its file
// ".gpx", a device needs letters or digits). The characters of a name are CleanName's
// business; a name that keeps this rule comes back unchanged.
QString safeFileName(const QString& name);
