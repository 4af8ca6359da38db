#include "workspace/DatedCopy.h"

#include "text/DiskFiles.h"
#include "text/WriteError.h"
#include "workspace/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

namespace {

constexpr qint64 blockSize = 256 * 1024;

// Whether two files hold the same bytes.
bool sameBytes(const QString& a, const QString& b) {
    QFile first(a);
    QFile second(b);
    if (first.size() != second.size())
        return false;
    if (!first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly))
        return false;
    while (!first.atEnd()) {
        const QByteArray x = first.read(blockSize);
        const QByteArray y = second.read(blockSize);
        if (x != y || x.isEmpty())
            return false;
    }
    return second.atEnd();
}

} // namespace

namespace DatedCopy {

QString copyName(const QDateTime& when) {
    return when.toString(QStringLiteral("yyyy-MM-dd-HHmm")) + QStringLiteral("_CURRENT.GPX");
}

QString copyName(const QDateTime& when, int n) {
    return when.toString(QStringLiteral("yyyy-MM-dd-HHmm")) + QLatin1Char('-') +
           QString::number(n) + QStringLiteral("_CURRENT.GPX");
}

Result copyInto(QIODevice& source, const QString& folder, const QDateTime& when) {
    Result result;
    QFile copy;
    if (!DiskFiles::openUnique(copy, folder, QStringLiteral(".tarnwick-copy-"))) {
        result.error = copy.errorString();
        return result;
    }
    bool moved = false;
    const auto removeUnlessMoved = qScopeGuard([&] {
        copy.close();
        if (!moved)
            copy.remove();
    });
    QByteArray block;
    for (;;) {
        block.resize(blockSize);
        const qint64 got = source.read(block.data(), blockSize);
        if (got < 0) {
            result.error = source.errorString();
            return result;
        }
        if (got == 0)
            break;
        if (copy.write(block.constData(), got) != got) {
            result.error = writeErrorOf(copy);
            return result;
        }
    }
    if (!copy.flush()) {
        result.error = writeErrorOf(copy);
        return result;
    }
    // On the disk before it has its name; closed, so that Windows lets it be renamed.
    result.error = DiskFiles::syncToDisk(copy);
    copy.close();
    if (!result.error.isEmpty())
        return result;

    for (int n = 1;; ++n) {
        const QString name = n == 1 ? copyName(when) : copyName(when, n);
        const QString existing = Workspace::findEntry(folder, name);
        if (QFileInfo::exists(existing)) {
            if (sameBytes(existing, copy.fileName())) {
                result.path = existing;
                result.existed = true;
                return result;
            }
            continue;
        }
        // The move refuses to replace a file that appeared meanwhile; the next name is tried
        // then.
        QString reason;
        switch (DiskFiles::moveNoReplace(copy.fileName(), existing, reason)) {
        case DiskFiles::Move::Done:
            moved = true;
            result.path = existing;
            return result;
        case DiskFiles::Move::TargetExists:
            continue;
        case DiskFiles::Move::Failed:
            result.error = reason;
            return result;
        }
    }
}

} // namespace DatedCopy
