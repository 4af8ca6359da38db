#pragma once

#include <QDateTime>
#include <QString>

class QIODevice;

// The dated copy of a unit's file in the device folder, which keeps the state of the unit on
// that day on record: "yyyy-mm-dd-HHMM_CURRENT.GPX", byte for byte.
namespace DatedCopy {

// The copy's name for a moment: date, hour and minute, whatever the source file's name.
QString copyName(const QDateTime& when);

// The name of the n-th copy made within one minute (n from 2): "yyyy-mm-dd-HHMM-n_CURRENT.GPX".
QString copyName(const QDateTime& when, int n);

struct Result {
    QString path;         // the copy, new or found equal
    QString error;        // the reason of a failure; nothing was left behind then
    bool existed = false; // an equal copy of that minute was there already
};

// Copies the source's bytes into the folder. The copy is written under a temporary name and
// moved into place only once complete. If a copy of the minute exists already and holds the
// same bytes, nothing more is written; otherwise the new copy takes the next free name of the
// minute and the earlier copy stays as it is.
Result copyInto(QIODevice& source, const QString& folder, const QDateTime& when);

} // namespace DatedCopy
