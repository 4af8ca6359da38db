#include "text/WriteError.h"

#include "text/DiskFiles.h"

#include <QFile>

QString writeErrorOf(QFileDevice& file) {
    const QString told = file.errorString();
    const bool knowsWhy = file.error() != QFileDevice::NoError && told != QFile().errorString();
    if (knowsWhy)
        return told;
    const QString reason = DiskFiles::whyWriteStopped(file);
    return reason.isEmpty() ? told : reason;
}
