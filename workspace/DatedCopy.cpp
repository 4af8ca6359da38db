#include "workspace/DatedCopy.h"

#include "text/WriteError.h"
#include "workspace/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

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
    QTemporaryFile copy(QDir(folder).filePath(QStringLiteral(".tarnwick-copy-XXXXXX")));
    if (!copy.open()) {
        result.error = copy.errorString();
        return result;
    }
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
#ifdef Q_OS_UNIX
    // A temporary file is made for its owner alone; the copy is a file like every other the
    // program writes, so it gets what the umask leaves of read and write for everyone.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(copy.handle(), 0666 & ~mask);
#endif

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
        // The rename refuses to replace a file that appeared meanwhile; the next name is
        // tried then.
        if (copy.rename(existing)) {
            copy.setAutoRemove(false);
            result.path = existing;
            return result;
        }
        if (!QFileInfo::exists(existing)) {
            result.error = copy.errorString();
            return result;
        }
    }
}

} // namespace DatedCopy
