#include "items/FavoritesScanner.h"

#include "items/ScanText.h"
#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <cstring>
#include <utility>

namespace {

constexpr QByteArrayView favoriteStart = "<wpt";
constexpr QByteArrayView trackStart = "<trk>";
constexpr QByteArrayView fileEnd = "</gpx>";
constexpr QByteArrayView recognisedTags[] = {favoriteStart, trackStart, fileEnd};
constexpr ScanText::TagSet recognised(recognisedTags);

// Position of the first occurrence counted from 1, 0 when absent, as the name and symbol
// rules count.
qsizetype position(const QByteArray& text, QByteArrayView what) {
    return text.indexOf(what) + 1;
}

// The characters of the text that begin at position start (from 1); fewer, or none, where
// the text ends first.
QByteArray middle(const QByteArray& text, qsizetype start, qsizetype length) {
    return text.mid(start - 1, length);
}

} // namespace

bool FavoritesScanner::feed(QByteArrayView bytes) {
    const char* p = bytes.data();
    const char* const end = p + bytes.size();
    while (p < end && !m_stopped) {
        if (m_tag.isEmpty()) {
            // Only a "<" whose next bytes may spell a recognised tag can change anything; the
            // text up to it, other tags included, joins the gathered text in one step. The
            // bytes at hand decide a tag, unless the block ends or a CR comes first.
            qsizetype length = 0;
            ScanText::TagMatch match;
            const char* lt = ScanText::nextTag(p, end, recognised, match, length);
            ScanText::appendWithoutLineBreaks(m_gathered, QByteArrayView(p, (lt ? lt : end) - p));
            if (!lt)
                break;
            if (match == ScanText::TagMatch::Partial) {
                m_tag.append('<');
                p = lt + 1;
                continue;
            }
            const QByteArrayView tag(lt, length);
            p = lt + length;
            if (tag == favoriteStart) {
                startFavorite();
                // Whatever follows can't make the tag text a recognised tag again.
                m_gathered.append(tag);
            } else {
                terminate();
            }
            continue;
        }
        const char ch = *p++;
        if (ch == '\r')
            continue;
        scanCharacter(ch == '\n' ? ' ' : ch);
    }
    return !m_stopped;
}

void FavoritesScanner::scanCharacter(char ch) {
    if (ch == '<') {
        m_gathered.append(m_tag);
        m_tag.resize(0);
    }
    m_tag.append(ch);
    if (m_tag == favoriteStart)
        startFavorite();
    else if (m_tag == trackStart || m_tag == fileEnd)
        terminate();
    if (!m_stopped && !ScanText::canBecomeTag(m_tag, {favoriteStart, trackStart, fileEnd})) {
        m_gathered.append(m_tag);
        m_tag.resize(0);
    }
}

void FavoritesScanner::startFavorite() {
    ++m_itemStarts;
    if (!m_hasHeader) {
        m_header = CodePage::toUnicode(m_gathered);
        m_hasHeader = true;
    } else {
        addFavorite(m_gathered);
    }
    m_gathered.resize(0);
}

void FavoritesScanner::terminate() {
    m_stopped = true;
    if (!m_hasHeader) {
        m_header = CodePage::toUnicode(m_gathered);
        m_hasHeader = true;
    } else {
        addFavorite(m_gathered);
    }
    m_gathered.resize(0);
    m_tag.resize(0);
}

// Only the first "<name>", "</name>", "<sym>" and "</sym>" of the text count, wherever they
// stand. A missing opening tag counts as position 0, so "</name>" alone still names the
// favorite with the text from position 6 on. Where "</name>" is missing or stands before the
// name's start, the favorite is still listed, with an empty name.
void FavoritesScanner::addFavorite(const QByteArray& text) {
    FavoriteItem item;
    const qsizetype nameStart = position(text, "<name>") + 6;
    const qsizetype nameLength = position(text, "</name>") - nameStart;
    if (nameLength >= 0)
        item.name = DecodeXmlEntities(CodePage::toUnicode(middle(text, nameStart, nameLength)));
    item.code = CodePage::toUnicode(text);
    const qsizetype symbolStart = position(text, "<sym>") + 5;
    const qsizetype symbolLength = position(text, "</sym>") - symbolStart;
    if (symbolLength < 1)
        item.symbol = QStringLiteral("--- NONE ---");
    else
        item.symbol =
            DecodeXmlEntities(CodePage::toUnicode(middle(text, symbolStart, symbolLength)));
    m_items.append(std::move(item));
}

QList<FavoriteItem> FavoritesScanner::takeItems() {
    return std::exchange(m_items, {});
}
