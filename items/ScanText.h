#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <initializer_list>

// Character rules that both GPX scanners share. The unit may break its lines anywhere, or
// write the whole file on one line, so the scanners never depend on line breaks: a carriage
// return is dropped before anything looks at it, and a line feed is read as one space.
namespace ScanText {

// Appends the bytes with every CR dropped and every LF turned into a space.
void appendWithoutLineBreaks(QByteArray& out, QByteArrayView bytes);

// Whether the tag text can still become one of the tags by growing: it is a prefix of (or
// equal to) one of them.
bool canBecomeTag(QByteArrayView tagText, std::initializer_list<QByteArrayView> tags);

} // namespace ScanText
