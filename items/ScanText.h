#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <array>
#include <bit>
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

// The tags a scanner recognises (each begins with "<"; none is the beginning of another, none
// holds a CR or LF), with each tag's first 8 bytes also held as a word, so that the 8 bytes
// after a "<" are compared with every tag in a few instructions.
class TagSet {
public:
    static constexpr std::size_t maxTags = 8;

    template <std::size_t N>
    constexpr explicit TagSet(const QByteArrayView (&tags)[N])
        : m_tags(tags) {
        static_assert(N <= maxTags);
        for (std::size_t i = 0; i < N; ++i) {
            m_allShort = m_allShort && tags[i].size() <= 8;
            for (qsizetype k = 0; k < tags[i].size() && k < 8; ++k) {
                // The byte's place in a word loaded from memory.
                const int shift =
                    std::endian::native == std::endian::little ? 8 * int(k) : 56 - 8 * int(k);
                m_words[i] |= std::uint64_t(std::uint8_t(tags[i][k])) << shift;
                m_masks[i] |= std::uint64_t(0xff) << shift;
            }
        }
    }

    std::span<const QByteArrayView> tags() const { return m_tags; }

    // When every tag has 8 bytes at most and the 8 bytes from p on hold no CR, those bytes
    // decide: true, with match Whole and the length set, or None. False when they can't.
    bool decide(const char* p, TagMatch& match, qsizetype& length) const {
        if (!m_allShort)
            return false;
        std::uint64_t word;
        std::memcpy(&word, p, 8);
        constexpr std::uint64_t ones = 0x0101010101010101;
        const std::uint64_t cr = word ^ (ones * '\r');
        if (((cr - ones) & ~cr & (ones << 7)) != 0)
            return false;
        match = TagMatch::None;
        for (std::size_t i = 0; i < m_tags.size(); ++i) {
            if ((word & m_masks[i]) == m_words[i]) {
                match = TagMatch::Whole;
                length = m_tags[i].size();
            }
        }
        return true;
    }

private:
    std::span<const QByteArrayView> m_tags;
    std::array<std::uint64_t, maxTags> m_words{};
    std::array<std::uint64_t, maxTags> m_masks{};
    bool m_allShort = true;
};

// How the bytes from the "<" at p on, within the block that ends at end, compare with the
// tags: Whole when they spell one of them, whose length is set; Partial when they may still
// become one but the block end or a CR (dropped, so the tag goes on after it) comes first;
// None when they can't, a LF (read as a space) included.
inline TagMatch matchTag(const char* p, const char* end, const TagSet& set, qsizetype& length) {
    TagMatch match = TagMatch::None;
    if (end - p >= 8 && set.decide(p, match, length))
        return match;
    const std::span<const QByteArrayView> tags = set.tags();
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
inline const char* nextTag(const char* p, const char* end, const TagSet& tags, TagMatch& match,
                           qsizetype& length) {
    match = TagMatch::None;
    for (const char* lt = p; (lt = findTagStart(lt, end)); ++lt) {
        match = matchTag(lt, end, tags, length);
        if (match != TagMatch::None)
            return lt;
    }
    return nullptr;
}

} // namespace ScanText
