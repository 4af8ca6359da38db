#pragma once

#include <QString>

namespace Copyright {

// The program's copyright notice; the copyright sign is its 11th character.
QString notice();

} // namespace Copyright
