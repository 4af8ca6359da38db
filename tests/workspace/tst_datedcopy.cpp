// The dated copy of a unit's file: its name, its bytes, and what happens to a copy made
// earlier in the same minute.

#include "workspace/DatedCopy.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Every byte value, line ends of every kind, and more than one block of the copy.
QByteArray everyByteValue() {
    QByteArray bytes;
    for (int b = 0; b < 256; ++b)
        bytes.append(char(b));
    return (bytes + "\r\n\n\rlast line without an end").repeated(1000);
}

const QByteArray allBytes = everyByteValue();
const QString earlierName = QStringLiteral("2011-03-02-0905_current.gpx");
const QString first = QStringLiteral("2011-03-02-0905_CURRENT.GPX");
const QString second = QStringLiteral("2011-03-02-0905-2_CURRENT.GPX");
const QString third = QStringLiteral("2011-03-02-0905-3_CURRENT.GPX");

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

const QDateTime when(QDate(2011, 3, 2), QTime(9, 5, 41));

DatedCopy::Result copy(QByteArray bytes, const QString& folder) {
    QBuffer source(&bytes);
    source.open(QIODevice::ReadOnly);
    return DatedCopy::copyInto(source, folder, when);
}

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
}

// A source that fails after handing out 512 KiB, as an unplugged unit does.
class FailingSource : public QIODevice {
public:
    FailingSource() { open(QIODevice::ReadOnly | QIODevice::Unbuffered); }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        const qint64 n = qMin(maxSize, 512 * 1024 - pos());
        if (n <= 0) {
            setErrorString(QStringLiteral("Input/output error"));
            return -1;
        }
        memset(data, 'a', size_t(n));
        return n;
    }
    qint64 writeData(const char*, qint64) override { return -1; }
};

} // namespace

class DatedCopyTest : public QObject {
    Q_OBJECT
private slots:
    void nameCarriesDateHourAndMinute();
    void copiesOfOneMinute_data();
    void copiesOfOneMinute();
    void failuresLeaveNothingBehind();
};

void DatedCopyTest::nameCarriesDateHourAndMinute() {
    QCOMPARE(DatedCopy::copyName(when), first);
    QCOMPARE(DatedCopy::copyName(QDateTime(QDate(2010, 8, 5), QTime(14, 32))),
             QStringLiteral("2010-08-05-1432_CURRENT.GPX"));
    QCOMPARE(DatedCopy::copyName(when, 3), third);
}

void DatedCopyTest::copiesOfOneMinute_data() {
    QTest::addColumn<QByteArray>("earlier"); // null: no earlier copy
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("nextName");
    QByteArray oneByteOff = allBytes;
    oneByteOff[300] = 'x';
    QTest::newRow("first copy of the minute") << QByteArray() << first << second;
    QTest::newRow("equal bytes: nothing written") << allBytes << earlierName << second;
    QTest::newRow("different bytes: the next name") << oneByteOff << second << third;
}

// A copy from Windows with its name in other letters counts as the same name; a copy of
// different bytes takes the next free name of the minute, and the earlier copy stays.
void DatedCopyTest::copiesOfOneMinute() {
    QFETCH(QByteArray, earlier);
    QFETCH(QString, name);
    QFETCH(QString, nextName);
    QTemporaryDir dir;
    QSet<QString> expected{name, nextName};
    if (!earlier.isNull()) {
        QFile file(dir.filePath(earlierName));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(earlier) == earlier.size());
        expected << earlierName;
    }
    const DatedCopy::Result result = copy(allBytes, dir.path());
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QCOMPARE(result.path, dir.filePath(name));
    QCOMPARE(result.existed, name == earlierName);
    QCOMPARE(readAll(result.path), allBytes);
    if (!earlier.isNull())
        QCOMPARE(readAll(dir.filePath(earlierName)), earlier);
    QCOMPARE(copy("third", dir.path()).path, dir.filePath(nextName));
    const QStringList listed = entries(dir.path());
    QCOMPARE(QSet<QString>(listed.begin(), listed.end()), expected);
}

void DatedCopyTest::failuresLeaveNothingBehind() {
    QTemporaryDir dir;
    FailingSource source;
    const DatedCopy::Result result = DatedCopy::copyInto(source, dir.path(), when);
    QCOMPARE(result.error, QStringLiteral("Input/output error"));
    QVERIFY(result.path.isEmpty());
    QCOMPARE(entries(dir.path()), QStringList());

    QVERIFY(!copy("x", dir.filePath("gone")).error.isEmpty());
    QVERIFY(!QFileInfo::exists(dir.filePath("gone")));
}

QTEST_APPLESS_MAIN(DatedCopyTest)
#include "tst_datedcopy.moc"
