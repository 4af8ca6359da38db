#include "workspace/SafeFileName.h"

#include <QStringView>

namespace {

// A name within this many bytes of UTF-8 has no more UTF-16 units either; it leaves 55 for
// " ", the counter and ".gpx" within the 255 a path component may have on either system.
constexpr qsizetype maxNameBytes = 200;

qsizetype utf8Size(QChar unit) {
    const char16_t c = unit.unicode();
    return c < 0x80 ? 1 : c < 0x800 || unit.isSurrogate() ? 2 : 3;
}

// The longest beginning of the name within maxNameBytes that splits no character.
QString cut(const QString& name) {
    qsizetype bytes = 0;
    qsizetype end = 0;
    while (end < name.size() && bytes + utf8Size(name.at(end)) <= maxNameBytes)
        bytes += utf8Size(name.at(end++));
    if (end < name.size() && end > 0 && name.at(end - 1).isHighSurrogate())
        --end;
    return name.left(end);
}

void dropTrailingSpacesAndDots(QString& name) {
    qsizetype end = name.size();
    while (end > 0 && (name.at(end - 1) == u' ' || name.at(end - 1) == u'.'))
        --end;
    name.truncate(end);
}

// Windows takes a name for a device when the part before its first dot, less the spaces at
// its end, is a device word. Returns the length of that word, or 0 when there is none.
qsizetype deviceWordLength(const QString& name) {
    const qsizetype dot = name.indexOf(u'.');
    QStringView word = QStringView(name).first(dot < 0 ? name.size() : dot);
    while (word.endsWith(u' '))
        word.chop(1);
    const auto is = [word](QStringView reserved) {
        return word.startsWith(reserved, Qt::CaseInsensitive);
    };
    if (word.size() == 3 && (is(u"CON") || is(u"PRN") || is(u"AUX") || is(u"NUL")))
        return 3;
    const char16_t digit = word.size() == 4 ? word.at(3).unicode() : u'0';
    const bool port = (digit >= u'1' && digit <= u'9') || digit == u'\u00B9' ||
                      digit == u'\u00B2' || digit == u'\u00B3';
    return port && (is(u"COM") || is(u"LPT")) ? 4 : 0;
}

} // namespace

QString safeFileName(const QString& name) {
    if (name.isEmpty())
        return name;
    QString safe = cut(name);
    dropTrailingSpacesAndDots(safe);
    if (safe.isEmpty())
        return QStringLiteral("_");
    if (const qsizetype word = deviceWordLength(safe)) {
        // The "_" may push the name past its length; what is cut then keeps the "_", so the
        // name cannot turn into a device word again.
        safe.insert(word, u'_');
        safe = cut(safe);
        dropTrailingSpacesAndDots(safe);
    }
    return safe;
}
