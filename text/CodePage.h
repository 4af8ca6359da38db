#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QChar>
#include <QString>
#include <QStringView>

// Conversion between file bytes and text in the Windows-1252 code page, the 8-bit form in
// which a nüvi and the workspace files store text. The table is the program's own, so the
// result does not depend on how Qt was built. The five byte values that Windows-1252 leaves
// undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the control characters of the same value,
// which makes every one of the 256 byte values come back out exactly as it went in.
namespace CodePage {

// The character that a byte stands for.
QChar toChar(uchar byte);

// Text of the bytes, one character per byte.
QString toUnicode(QByteArrayView bytes);

// Whether a character has a byte in the code page.
bool canEncode(QChar ch);

// The byte of a character; characters without one become '?'.
uchar toByte(QChar ch);

// Bytes of the text, one byte per character; characters without a byte become '?'.
QByteArray fromUnicode(QStringView text);

} // namespace CodePage
