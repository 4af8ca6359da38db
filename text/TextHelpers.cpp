#include "text/TextHelpers.h"

#include <algorithm>
#include <string_view>

QString CleanName(const QString& text) {
    QString result;
    result.reserve(text.size());
    for (const QChar ch : text) {
        const char16_t c = ch.unicode();
        if ((c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') ||
            c == u'-' || c == u' ' || c == u'_' || c == u'\'')
            result.append(ch);
    }
    return result;
}

// Replacing the leftmost reference again and again until none is left reaches the same
// text whatever the order of the replacements: the two references cannot overlap, and a
// replacement yields '&' or '\'', which can only begin a new reference. So one pass from left
// to right that reduces the text written so far whenever it ends in a reference gives the
// same result in linear time.
QString DecodeXmlEntities(const QString& text) {
    const qsizetype firstAmp = text.indexOf(QLatin1Char('&'));
    if (firstAmp < 0)
        return text;
    // Written straight into the result, which never grows longer than the text. Nothing in
    // front of the first '&' can belong to a reference.
    QString out(text.size(), Qt::Uninitialized);
    char16_t* const to = reinterpret_cast<char16_t*>(out.data());
    const char16_t* const from = reinterpret_cast<const char16_t*>(text.constData());
    std::copy(from, from + firstAmp, to);
    qsizetype n = firstAmp;
    const auto endsWith = [to, &n](std::u16string_view reference) {
        return n >= qsizetype(reference.size()) &&
               std::u16string_view(to + n - reference.size(), reference.size()) == reference;
    };
    for (qsizetype i = firstAmp; i < text.size(); ++i) {
        to[n++] = from[i];
        if (from[i] != u';')
            continue;
        if (endsWith(u"&amp;")) {
            n -= 4;
        } else if (endsWith(u"&apos;")) {
            n -= 6;
            to[n++] = u'\'';
        }
    }
    out.truncate(n);
    return out;
}
