#include "text/TextHelpers.h"

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
    if (!text.contains(QLatin1Char('&')))
        return text;
    static const QString amp = QStringLiteral("&amp;");
    static const QString apos = QStringLiteral("&apos;");
    QString out;
    out.reserve(text.size());
    for (const QChar ch : text) {
        out.append(ch);
        if (ch != QLatin1Char(';'))
            continue;
        if (out.endsWith(amp)) {
            out.chop(amp.size() - 1);
        } else if (out.endsWith(apos)) {
            out.chop(apos.size());
            out.append(QLatin1Char('\''));
        }
    }
    return out;
}
