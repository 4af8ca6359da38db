#include "items/ScanText.h"

#include <cstring>

namespace ScanText {

void appendWithoutLineBreaks(QByteArray& out, QByteArrayView bytes) {
    const char* p = bytes.data();
    const char* const end = p + bytes.size();
    while (p < end) {
        const char* run = p;
        while (p < end && *p != '\r' && *p != '\n')
            ++p;
        out.append(run, p - run);
        if (p == end)
            break;
        if (*p == '\n')
            out.append(' ');
        ++p;
    }
}

bool canBecomeTag(QByteArrayView tagText, std::initializer_list<QByteArrayView> tags) {
    for (const QByteArrayView tag : tags) {
        if (tag.startsWith(tagText))
            return true;
    }
    return false;
}

} // namespace ScanText
