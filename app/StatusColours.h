#pragma once

#include <QColor>

// The status line is yellow while a command works or the user has to act, and cyan when a
// command has finished or a file has been chosen.
namespace StatusColours {

inline QColor yellow() {
    return QColor(255, 255, 0);
}

inline QColor cyan() {
    return QColor(0, 255, 255);
}

} // namespace StatusColours
