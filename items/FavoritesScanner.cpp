#include "items/FavoritesScanner.h"

#include "items/ScanText.h"
#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr QByteArrayView favoriteStart = "<wpt";
constexpr QByteArrayView trackStart = "<trk>";
constexpr QByteArrayView fileEnd = "</gpx>";
constexpr QByteArrayView recognisedTags[] = {favoriteStart, trackStart, fileEnd};
constexpr ScanText::TagSet recognised(recognisedTags);

// Positions of the first "<name>", "</name>", "<sym>" and "</sym>" of a favorite's text,
// counted from 1, 0 for a tag the text lacks, as the name and symbol rules count. Found in one
// pass over the text's "<" that stops once all four are found: four separate searches of
// every favorite took a quarter of a load of 20,000.
struct TagPositions {
    qsizetype nameOpen = 0;
    qsizetype nameClose = 0;
    qsizetype symOpen = 0;
    qsizetype symClose = 0;
};

// Whether the tag stands at p, before end; a compare of known length, done inline.
template <std::size_t N> bool tagAt(const char* p, const char* end, const char (&tag)[N]) {
    return end - p >= qsizetype(N - 1) && std::memcmp(p, tag, N - 1) == 0;
}

TagPositions findTags(QByteArrayView text) {
    TagPositions at;
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const auto take = [begin](qsizetype& position, const char* lt, bool found) {
        if (position == 0 && found)
            position = lt - begin + 1;
    };
    for (const char* lt = begin; (lt = ScanText::findTagStart(lt, end)); ++lt) {
        take(at.nameOpen, lt, tagAt(lt, end, "<name>"));
        take(at.nameClose, lt, tagAt(lt, end, "</name>"));
        take(at.symOpen, lt, tagAt(lt, end, "<sym>"));
        take(at.symClose, lt, tagAt(lt, end, "</sym>"));
        if (at.nameOpen && at.nameClose && at.symOpen && at.symClose)
            break;
    }
    return at;
}

// The bytes of the text that begin at position start (from 1), length of them; fewer, or
// none, where the text ends first.
QByteArrayView middle(QByteArrayView text, qsizetype start, qsizetype length) {
    const qsizetype from = std::clamp<qsizetype>(start - 1, 0, text.size());
    return text.sliced(from, std::clamp<qsizetype>(length, 0, text.size() - from));
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
    const TagPositions at = findTags(text);
    const qsizetype nameStart = at.nameOpen + 6;
    const qsizetype nameLength = at.nameClose - nameStart;
    if (nameLength >= 0)
        item.name = DecodeXmlEntities(CodePage::toUnicode(middle(text, nameStart, nameLength)));
    item.code = CodePage::toUnicode(text);
    const qsizetype symbolStart = at.symOpen + 5;
    const qsizetype symbolLength = at.symClose - symbolStart;
    if (symbolLength < 1)
        item.symbol = QStringLiteral("--- NONE ---");
    else
        item.symbol = symbol(middle(text, symbolStart, symbolLength));
    m_items.append(std::move(item));
}

// A unit knows a few dozen symbols, so thousands of favorites share a handful of symbol
// texts: each is decoded once and its text shared by every favorite that has it, which spares
// the load an allocation per favorite and the grid the memory.
QString FavoritesScanner::symbol(QByteArrayView bytes) {
    for (const auto& [known, text] : m_symbols) {
        if (known == bytes)
            return text;
    }
    QString text = DecodeXmlEntities(CodePage::toUnicode(bytes));
    if (m_symbols.size() < maxSharedSymbols)
        m_symbols.emplace_back(bytes.toByteArray(), text);
    return text;
}

QList<FavoriteItem> FavoritesScanner::takeItems() {
    return std::exchange(m_items, {});
}
