#include "items/ScanText.h"

#include <cstring>

namespace ScanText {

void appendWithoutLineBreaks(QByteArray& out, QByteArrayView bytes) {
    // Copied whole, then mended: line breaks are rare next to the text around them.
    const qsizetype start = out.size();
    out.append(bytes);
    char* const first = out.data() + start;
    char* const last = out.data() + out.size();
    for (char* lf = first; (lf = static_cast<char*>(std::memchr(lf, '\n', size_t(last - lf))));)
        *lf++ = ' ';
    char* cr = static_cast<char*>(std::memchr(first, '\r', size_t(last - first)));
    if (!cr)
        return;
    // Each run between two CRs moves down over the CRs dropped so far.
    char* kept = cr;
    for (const char* from = cr + 1; from <= last;) {
        const auto* next = static_cast<const char*>(std::memchr(from, '\r', size_t(last - from)));
        const char* runEnd = next ? next : last;
        std::memmove(kept, from, size_t(runEnd - from));
        kept += runEnd - from;
        if (!next)
            break;
        from = next + 1;
    }
    out.truncate(kept - out.data());
}

bool canBecomeTag(QByteArrayView tagText, std::initializer_list<QByteArrayView> tags) {
    for (const QByteArrayView tag : tags) {
        if (tag.startsWith(tagText))
            return true;
    }
    return false;
}

} // namespace ScanText
