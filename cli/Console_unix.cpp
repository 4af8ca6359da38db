#include "cli/Console.h"

namespace Console {

// A Unix terminal takes the bytes as the locale says, UTF-8 on every current system.
void showUtf8() {}

// A terminal, a file or the session's journal.
bool hasStandardError() {
    return true;
}

} // namespace Console
