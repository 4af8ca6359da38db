#include "text/CodePage.h"

#include <array>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// Code points of the bytes 0x80 to 0x9F; the rest of the code page is Latin-1.
constexpr std::array<char16_t, 32> highControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr std::array<char16_t, 256> makeTable() {
    std::array<char16_t, 256> table{};
    for (int b = 0; b < 256; ++b)
        table[b] = (b >= 0x80 && b < 0xA0) ? highControls[b - 0x80] : char16_t(b);
    return table;
}

constexpr std::array<char16_t, 256> byteToChar = makeTable();

// The byte of a character, or -1 when the code page has none.
int byteOf(char16_t ch) {
    if (ch < 0x80 || (ch >= 0xA0 && ch <= 0xFF))
        return ch;
    for (int i = 0; i < int(highControls.size()); ++i) {
        if (highControls[i] == ch)
            return 0x80 + i;
    }
    return -1;
}

} // namespace

namespace CodePage {

QChar toChar(uchar byte) {
    return QChar(byteToChar[byte]);
}

QString toUnicode(QByteArrayView bytes) {
    QString text(bytes.size(), Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    const auto* in = reinterpret_cast<const uchar*>(bytes.data());
    qsizetype i = 0;
#ifdef __SSE2__
    // Only the bytes 0x80 to 0x9F stand for other code points than their own: 16 bytes without
    // one of them are widened as they are, in one step. A favorite's text is nearly all ASCII,
    // and a load of 20,000 favorites converts about 12 MB.
    const __m128i zero = _mm_setzero_si128();
    // As signed bytes 0x80 to 0x9F are -128 to -97, the only values below 0xA0 (-96).
    const __m128i firstLatin1 = _mm_set1_epi8(char(0xA0));
    for (; bytes.size() - i >= 16; i += 16) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
        if (_mm_movemask_epi8(_mm_cmplt_epi8(chunk, firstLatin1)) != 0) {
            for (qsizetype k = i; k < i + 16; ++k)
                out[k] = byteToChar[in[k]];
            continue;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_unpacklo_epi8(chunk, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i + 8), _mm_unpackhi_epi8(chunk, zero));
    }
#endif
    for (; i < bytes.size(); ++i)
        out[i] = byteToChar[in[i]];
    return text;
}

bool canEncode(QChar ch) {
    return byteOf(ch.unicode()) >= 0;
}

uchar toByte(QChar ch) {
    const int b = byteOf(ch.unicode());
    return b < 0 ? uchar('?') : uchar(b);
}

QByteArray fromUnicode(QStringView text) {
    QByteArray bytes(text.size(), Qt::Uninitialized);
    char* out = bytes.data();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t ch = text[i].unicode();
        out[i] = char(ch < 0x80 ? ch : toByte(QChar(ch)));
    }
    return bytes;
}

} // namespace CodePage
