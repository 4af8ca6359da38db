// The dated copy of a unit's file: its name, its bytes, and what happens to a copy made
// earlier in the same minute.

#include "app/DatedCopy.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

QByteArray everyByteValue() {
    QByteArray bytes;
    for (int round = 0; round < 3; ++round)
        for (int b = 0; b < 256; ++b)
            bytes.append(char(b));
    bytes += "\r\n\n\rlast line without an end";
    return bytes;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A source that fails after handing out some bytes, as an unplugged unit does.
class FailingSource : public QIODevice {
public:
    explicit FailingSource(qint64 good)
        : m_good(good) {
        open(QIODevice::ReadOnly);
    }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        if (m_given >= m_good) {
            setErrorString(QStringLiteral("Input/output error"));
            return -1;
        }
        const qint64 n = qMin(maxSize, m_good - m_given);
        memset(data, 'a', size_t(n));
        m_given += n;
        return n;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    qint64 m_good;
    qint64 m_given = 0;
};

const QDateTime when(QDate(2011, 3, 2), QTime(9, 5, 41));

} // namespace

class DatedCopyTest : public QObject {
    Q_OBJECT
private slots:
    void nameCarriesDateHourAndMinute();
    void copyHoldsEveryByteUnchanged();
    void sameMinuteEqualCopyWritesNothing();
    void sameMinuteDifferentCopyTakesTheNextName();
    void failedReadLeavesNothingBehind();
    void missingFolderIsReported();
};

void DatedCopyTest::nameCarriesDateHourAndMinute() {
    QCOMPARE(DatedCopy::copyName(when), QStringLiteral("2011-03-02-0905_CURRENT.GPX"));
    QCOMPARE(DatedCopy::copyName(QDateTime(QDate(2010, 8, 5), QTime(14, 32))),
             QStringLiteral("2010-08-05-1432_CURRENT.GPX"));
    QCOMPARE(DatedCopy::copyName(when, 3), QStringLiteral("2011-03-02-0905-3_CURRENT.GPX"));
}

void DatedCopyTest::copyHoldsEveryByteUnchanged() {
    QTemporaryDir dir;
    QByteArray bytes = everyByteValue();
    // Larger than one block, so that block boundaries are crossed.
    bytes = bytes.repeated(1000);
    QBuffer source(&bytes);
    source.open(QIODevice::ReadOnly);
    const DatedCopy::Result result = DatedCopy::copyInto(source, dir.path(), when);
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QCOMPARE(result.path, dir.filePath("2011-03-02-0905_CURRENT.GPX"));
    QCOMPARE(readAll(result.path), bytes);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void DatedCopyTest::sameMinuteEqualCopyWritesNothing() {
    QTemporaryDir dir;
    QByteArray bytes = everyByteValue();
    QBuffer first(&bytes);
    first.open(QIODevice::ReadOnly);
    QVERIFY(DatedCopy::copyInto(first, dir.path(), when).error.isEmpty());
    QBuffer second(&bytes);
    second.open(QIODevice::ReadOnly);
    const DatedCopy::Result again = DatedCopy::copyInto(second, dir.path(), when);
    QVERIFY(again.error.isEmpty());
    QVERIFY(again.existed);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void DatedCopyTest::sameMinuteDifferentCopyTakesTheNextName() {
    QTemporaryDir dir;
    // A copy from Windows with its name in other letters counts as the same name.
    QFile earlier(dir.filePath("2011-03-02-0905_current.gpx"));
    QVERIFY(earlier.open(QIODevice::WriteOnly));
    earlier.write("earlier state of the unit");
    earlier.close();

    QByteArray bytes = everyByteValue();
    QBuffer source(&bytes);
    source.open(QIODevice::ReadOnly);
    const DatedCopy::Result result = DatedCopy::copyInto(source, dir.path(), when);
    QVERIFY(result.error.isEmpty());
    QCOMPARE(result.path, dir.filePath("2011-03-02-0905-2_CURRENT.GPX"));
    QCOMPARE(readAll(result.path), bytes);
    QCOMPARE(readAll(earlier.fileName()), QByteArray("earlier state of the unit"));

    QByteArray third = "third";
    QBuffer thirdSource(&third);
    thirdSource.open(QIODevice::ReadOnly);
    QCOMPARE(DatedCopy::copyInto(thirdSource, dir.path(), when).path,
             dir.filePath("2011-03-02-0905-3_CURRENT.GPX"));
}

void DatedCopyTest::failedReadLeavesNothingBehind() {
    QTemporaryDir dir;
    FailingSource source(700 * 1024);
    const DatedCopy::Result result = DatedCopy::copyInto(source, dir.path(), when);
    QCOMPARE(result.error, QStringLiteral("Input/output error"));
    QVERIFY(result.path.isEmpty());
    QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
             QStringList());
}

void DatedCopyTest::missingFolderIsReported() {
    QTemporaryDir dir;
    QByteArray bytes = "x";
    QBuffer source(&bytes);
    source.open(QIODevice::ReadOnly);
    const DatedCopy::Result result = DatedCopy::copyInto(source, dir.filePath("gone"), when);
    QVERIFY(!result.error.isEmpty());
    QVERIFY(!QFileInfo::exists(dir.filePath("gone")));
}

QTEST_APPLESS_MAIN(DatedCopyTest)
#include "tst_datedcopy.moc"
