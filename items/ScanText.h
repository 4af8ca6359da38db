#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <initializer_list>
#include <span>

// Character rules that both GPX scanners share. The unit may break its lines anywhere, or
// write the whole file on one line, so the scanners never depend on line breaks: a carriage
// return is dropped before anything looks at it, and a line feed is read as one space.
namespace ScanText {

// Appends the bytes with every CR dropped and every LF turned into a space.
void appendWithoutLineBreaks(QByteArray& out, QByteArrayView bytes);

// Whether the tag text can still become one of the tags by growing: it is a prefix of (or
// equal to) one of them.
bool canBecomeTag(QByteArrayView tagText, std::initializer_list<QByteArrayView> tags);

enum class TagMatch { None, Partial, Whole };

// How the bytes from the "<" at p on, within the block that ends at end, compare with the
// tags (each begins with "<"; none is the beginning of another, none holds a CR or LF): Whole
// when they spell one of them, whose length is set; Partial when they may still become one
// but the block end or a CR (dropped, so the tag goes on after it) comes first; None when
// they can't, a LF (read as a space) included.
inline TagMatch matchTag(const char* p, const char* end, std::span<const QByteArrayView> tags,
                         qsizetype& length) {
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

} // namespace ScanText
