#include "items/ScanText.h"

#include <cstring>

namespace ScanText {

namespace {

// The first CR or LF from p on, or end.
const char* findLineBreak(const char* p, const char* end) {
#ifdef __SSE2__
    const __m128i cr = _mm_set1_epi8('\r');
    const __m128i lf = _mm_set1_epi8('\n');
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if (const int mask = _mm_movemask_epi8(
                _mm_or_si128(_mm_cmpeq_epi8(bytes, cr), _mm_cmpeq_epi8(bytes, lf))))
            return p + __builtin_ctz(unsigned(mask));
    }
#endif
    while (p < end && *p != '\r' && *p != '\n')
        ++p;
    return p;
}

} // namespace

void appendWithoutLineBreaks(QByteArray& out, QByteArrayView bytes) {
    // Copied in one pass, run by run between the line breaks.
    const qsizetype start = out.size();
    out.resize(start + bytes.size());
    char* to = out.data() + start;
    const char* p = bytes.data();
    const char* const end = p + bytes.size();
    while (p < end) {
        const char* const lineBreak = findLineBreak(p, end);
        std::memcpy(to, p, size_t(lineBreak - p));
        to += lineBreak - p;
        if (lineBreak == end)
            break;
        if (*lineBreak == '\n')
            *to++ = ' ';
        p = lineBreak + 1;
    }
    out.truncate(to - out.data());
}

bool canBecomeTag(QByteArrayView tagText, std::initializer_list<QByteArrayView> tags) {
    for (const QByteArrayView tag : tags) {
        if (tag.startsWith(tagText))
            return true;
    }
    return false;
}

} // namespace ScanText
