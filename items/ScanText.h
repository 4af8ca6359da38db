#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <span>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// Character rules that both GPX scanners share. The unit may break its lines anywhere, or
// write the whole file on one line, so the scanners never depend on line breaks: a carriage
// return is dropped before anything looks at it, and a line feed is read as one space.
namespace ScanText {

// Appends the bytes with every CR dropped and every LF turned into a space.
void appendWithoutLineBreaks(QByteArray& out, QByteArrayView bytes);

// Whether the tag text can still become one of the tags by growing: it is a prefix of (or
// equal to) one of them.
bool canBecomeTag(QByteArrayView tagText, std::initializer_list<QByteArrayView> tags);

// The first "<" from p on, or null. Inline and 16 bytes at a time: in track data the next "<"
// is rarely more than a few bytes away, too close for a call to memchr to pay.
inline const char* findTagStart(const char* p, const char* end) {
#ifdef __SSE2__
    const __m128i lt = _mm_set1_epi8('<');
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if (const int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, lt)))
            return p + __builtin_ctz(unsigned(mask));
    }
#endif
    return static_cast<const char*>(std::memchr(p, '<', size_t(end - p)));
}

enum class TagMatch { None, Partial, Whole };

// How the bytes from the "<" at p on, within the block that ends at end, compare with the
// tags (each begins with "<"; none is the beginning of another, none holds a CR or LF): Whole
// when they spell one of them, whose length is set; Partial when they may still become one
// but the block end or a CR (dropped, so the tag goes on after it) comes first; None when
// they can't, a LF (read as a space) included.
inline TagMatch matchTag(const char* p, const char* end, std::span<const QByteArrayView> tags,
                         qsizetype& length) {
    // Every tag has 4 bytes at least: most "<" are ruled out by their first 4 at once.
    if (end - p >= 4 && p[1] != '\r' && p[2] != '\r' && p[3] != '\r') {
        std::uint32_t head;
        std::memcpy(&head, p, 4);
        bool possible = false;
        for (const QByteArrayView tag : tags) {
            std::uint32_t tagHead;
            std::memcpy(&tagHead, tag.data(), 4);
            possible = possible || tagHead == head;
        }
        if (!possible)
            return TagMatch::None;
    }
    TagMatch match = TagMatch::None;
    for (const QByteArrayView tag : tags) {
        qsizetype i = 1;
        while (i < tag.size() && p + i < end && p[i] == tag[i])
            ++i;
        if (i == tag.size()) {
            length = i;
            return TagMatch::Whole;
        }
        if (p + i == end || p[i] == '\r')
            match = TagMatch::Partial;
    }
    return match;
}

// The first "<" from p on, within the block that ends at end, whose bytes may spell one of
// the tags, and how they compare (see matchTag); nullptr when the block holds none.
inline const char* nextTag(const char* p, const char* end, std::span<const QByteArrayView> tags,
                           TagMatch& match, qsizetype& length) {
    match = TagMatch::None;
    for (const char* lt = p; (lt = findTagStart(lt, end)); ++lt) {
        match = matchTag(lt, end, tags, length);
        if (match != TagMatch::None)
            return lt;
    }
    return nullptr;
}

} // namespace ScanText
