#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <utility>
#include <vector>

// One favorite as the item grid lists it: its decoded name, its whole GPX text (the hidden
// code column) and its decoded symbol, or "--- NONE ---".
struct FavoriteItem {
    QString name;
    QString code;
    QString symbol;

    bool operator==(const FavoriteItem&) const = default;
};

// Reads the favorites (GPX waypoints) of a unit's file without parsing XML: it recognises the
// tag texts "<wpt", "<trk>" and "</gpx>" literally, one byte being one Windows-1252
// character. A favorite runs from its "<wpt" to the "<" of the next favorite start or of the
// terminator ("<trk>" or "</gpx>"), so it is listed only once that next start is read; the
// text in front of the first favorite (or of the terminator) is the header.
//
// The source may arrive in chunks of any size, cut anywhere; the result is the same.
class FavoritesScanner {
public:
    // Scans the next bytes of the source, in order. Returns false once "<trk>" or "</gpx>"
    // has ended the scan; bytes fed after that are ignored.
    bool feed(QByteArrayView bytes);
    bool stopped() const { return m_stopped; }

    // Favorites completed since the last call, in file order.
    QList<FavoriteItem> takeItems();

    // True once the header was captured, at the first favorite start or at the terminator.
    bool hasHeader() const { return m_hasHeader; }
    const QString& header() const { return m_header; }

    // Number of "<wpt" starts met so far.
    qint64 itemStarts() const { return m_itemStarts; }

private:
    void scanCharacter(char ch);
    void startFavorite();
    void terminate();
    void addFavorite(const QByteArray& text);
    QString symbol(QByteArrayView bytes);

    // The gathered text (everything before the current tag since it was last emptied) and
    // the tag text from the latest "<". Once the tag text cannot become a recognised tag any
    // more it is moved into the gathered text and the tag text stays empty until the next
    // "<": nothing before that "<" can change what is recognised.
    QByteArray m_gathered;
    QByteArray m_tag;
    QList<FavoriteItem> m_items;
    // The symbols met so far, their bytes and their text; at most maxSharedSymbols of them.
    static constexpr std::size_t maxSharedSymbols = 64;
    std::vector<std::pair<QByteArray, QString>> m_symbols;
    QString m_header;
    qint64 m_itemStarts = 0;
    bool m_hasHeader = false;
    bool m_stopped = false;
};
