#pragma once

#include <QList>
#include <QLocale>
#include <QString>
#include <QStringList>

class QIODevice;

// What the details pane tells about the item grid's current row, read from that one item only:
// a favorite's stored GPX text, or a track's lines in the scratch file.

struct FavoriteDetails {
    bool readable = false;
    double latitude = 0;
    double longitude = 0;
    bool hasElevation = false;
    double elevation = 0; // metres
    QString time;         // as the file writes it
    QString comment;
    QString description;
    QString address; // the Garmin address extension's parts, joined by ", "
    QString phone;
};

struct OutlinePoint {
    double latitude;
    double longitude;
    int segment; // the outline is drawn unbroken within a segment only
};

struct TrackDetails {
    bool readable = false;
    qint64 points = 0;
    qint64 segments = 0;
    double length = 0;           // metres, along each segment
    QString firstTime, lastTime; // as the file writes them; empty when no point has one
    bool hasElevation = false;
    double lowest = 0, highest = 0; // metres
    // Every k-th point and the last one, at most about 2,000: enough to draw the track.
    QList<OutlinePoint> outline;
};

// A favorite's GPX text as the item grid stores it: from its "<wpt" up to the next item,
// line breaks turned into spaces; it may end before the waypoint's end tag. Read with an XML
// reader; undeclared namespace prefixes (the declarations stand in the file's header) are
// taken as they are. Text that is not well-formed up to the waypoint's end tag or the text's
// end, or a waypoint without coordinates, is not readable.
FavoriteDetails favoriteDetails(const QString& code);

// Reads the track whose name the source writes as sourceName from the scratch file, found as
// the export finds it. A track not found, or with a track point lacking valid coordinates, is
// not readable. The scratch device is read forward once.
TrackDetails trackDetails(QIODevice& scratch, const QString& sourceName);

// The pane's text, one entry per line; the first line is the summary that the grid's tooltip
// shows too. name and symbol are given as the grid shows them.
QStringList favoriteLines(const QString& name, const QString& symbol,
                          const FavoriteDetails& details, const QLocale& locale = QLocale());
QStringList trackLines(const TrackDetails& details, const QLocale& locale = QLocale());

// "N 47° 36.123′" or "W 122° 19.456′": degrees and decimal minutes in the locale's digits.
QString degreesMinutes(double degrees, bool latitude, const QLocale& locale = QLocale());

// The text shown for an item whose details can't be read.
QString notReadableText();
