#pragma once

#include "items/FavoritesScanner.h"
#include "items/TracksScanner.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

// Plain, character-by-character readings of the two loaders, written straight from their
// rules with the texts held whole and positions counted from 1. They are slow on purpose
// and serve as the oracle for the block-wise scanners.

struct ReferenceFavorites {
    QList<FavoriteItem> rows;
    bool hasHeader = false;
    QString header;
    qint64 itemStarts = 0;
    bool stopped = false;
};

struct ReferenceTracks {
    QList<TrackItem> rows;
    bool hasHeader = false;
    QString header;
    qint64 trackStarts = 0;
    bool stopped = false;
    QByteArray scratch;
};

ReferenceFavorites referenceFavorites(QByteArrayView source);
ReferenceTracks referenceTracks(QByteArrayView source);
