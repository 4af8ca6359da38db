#pragma once

#include <QString>
#include <QtGlobal>

class QIODevice;

// Writes GPX files shaped like a nüvi's CURRENT.GPX: a Garmin header, favorites with Garmin
// waypoint extensions (addresses, categories, phone numbers), then tracks of many points
// with track point extensions. Names carry "&amp;", "&apos;" and UTF-8 bytes as a unit
// writes them; symbols come from the unit's own vocabulary.
struct GpxShape {
    qint64 favorites = 0;
    qint64 tracks = 0;
    qint64 pointsPerTrack = 0;
    // Number of the first favorite: two files whose ranges overlap share those names.
    qint64 firstFavorite = 1;
    // The whole file on one line, as some units write it; otherwise CR LF after each element.
    bool oneLine = false;
};

// Writes the file in blocks; returns false when a write failed.
bool writeGpx(QIODevice& out, const GpxShape& shape);
// Creates the file at the path; returns its size, or -1 on failure.
qint64 writeGpxFile(const QString& path, const GpxShape& shape);
