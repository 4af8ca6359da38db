// The block-wise favorites and tracks scanners against the character-by-character references:
// on cases written from the loaders' rules, random GPX soup, real files, fed in blocks of
// every size.

#include "Reference.h"

#include "items/TracksScanner.h"
#include "text/CodePage.h"

#include <QBuffer>
#include <QDir>
#include <QRandomGenerator>
#include <QTest>

namespace {

// Whole, a byte at a time with a 1-byte scratch buffer, and in random blocks.
QString compareAll(QByteArrayView source, QRandomGenerator& random) {
    QList<qsizetype> sizes;
    for (int i = 0; i < 8; ++i)
        sizes << (random.bounded(4) ? random.bounded(1, 9) : random.bounded(1, 5000));
    for (const auto& [blocks, buffer] :
         {std::pair{QList<qsizetype>{}, TracksScanner::defaultBufferSize},
          {QList<qsizetype>{1}, qsizetype(1)},
          {sizes, qsizetype(7)}}) {
        const QString diff =
            compareFavorites(source, blocks) + compareTracks(source, blocks, buffer);
        if (!diff.isEmpty())
            return diff;
    }
    return {};
}

// A scratch device with room for a few bytes only.
class FullDevice : public QBuffer {
public:
    qint64 room = 0;

protected:
    qint64 writeData(const char* data, qint64 size) override {
        if (room <= 0) {
            setErrorString(QStringLiteral("No space left on device"));
            return -1;
        }
        size = qMin(size, room);
        room -= size;
        return QBuffer::writeData(data, size);
    }
};

} // namespace

class ScannersTest : public QObject {
    Q_OBJECT
private slots:
    void casesFromTheRules_data() {
        QTest::addColumn<QByteArray>("source");
        QTest::addColumn<QStringList>("favorites");
        QTest::addColumn<QStringList>("tracks");
        for (const Case& c : readCases(QStringLiteral(TARNWICK_TEST_DATA "/items_scans.txt")))
            QTest::newRow(qPrintable(values(c, "case").join(QString())))
                << CodePage::fromUnicode(values(c, "in").join(QString())) << values(c, "fav")
                << values(c, "trk");
    }

    void casesFromTheRules() {
        QFETCH(QByteArray, source);
        QFETCH(QStringList, favorites);
        QFETCH(QStringList, tracks);
        QCOMPARE(lines(referenceFavorites(source)), favorites);
        QCOMPARE(lines(referenceTracks(source)), tracks);
        QRandomGenerator random(1);
        QCOMPARE(compareAll(source, random), QString());
    }

    // Pieces of tags, line breaks and any bytes; now and then a stretch past 16-bit positions.
    void randomSoupMatchesReference() {
        const QList<Case> soup = readCases(QStringLiteral(TARNWICK_TEST_DATA "/items_soup.txt"));
        QVERIFY(!soup.isEmpty());
        const QStringList words = values(soup.first(), "w");
        QRandomGenerator random(5);
        for (int i = 0; i < 5000; ++i) {
            QByteArray source;
            for (int n = random.bounded(1, i % 2 ? 12 : 200); n > 0; --n)
                source += random.bounded(10)
                              ? CodePage::fromUnicode(words[random.bounded(int(words.size()))])
                              : QByteArray(1, char(random.bounded(256)));
            if (i % 500 == 0)
                source.insert(source.size() / 2, QByteArray(70000, 'x'));
            const QString diff = compareAll(source, random);
            QVERIFY2(diff.isEmpty(), qPrintable(diff + "\ninput: " + source.toPercentEncoding()));
        }
    }

    void realFilesMatchReference_data() {
        QTest::addColumn<QString>("file");
        for (const QString& folder :
             {QStringLiteral(TARNWICK_CORPUS), QStringLiteral(TARNWICK_TEST_DATA)})
            for (const QFileInfo& file : QDir(folder).entryInfoList({"*.gpx", "*.xml"}))
                QTest::newRow(qPrintable(file.fileName())) << file.filePath();
        if (!QFileInfo(QStringLiteral(TARNWICK_CORPUS)).isDir())
            QTest::newRow("no corpus") << QString();
    }

    void realFilesMatchReference() {
        QFETCH(QString, file);
        if (file.isEmpty())
            QSKIP("The shared GPX corpus is not present beside the checkout.");
        QFile in(file);
        QVERIFY(in.open(QIODevice::ReadOnly));
        QRandomGenerator random(11);
        QCOMPARE(compareAll(in.readAll(), random), QString());
    }

    void failedScratchWriteStopsTheScan_data() {
        QTest::addColumn<qint64>("room");
        QTest::addColumn<qsizetype>("bufferSize");
        QTest::addColumn<bool>("feedGoesOn");
        QTest::newRow("fails while scanning") << qint64(10) << qsizetype(16) << false;
        QTest::newRow("fails on the last flush") << qint64(10) << qsizetype(64 * 1024) << true;
        QTest::newRow("full device") << qint64(0) << qsizetype(1) << false;
    }

    void failedScratchWriteStopsTheScan() {
        QFETCH(qint64, room);
        QFETCH(qsizetype, bufferSize);
        QFETCH(bool, feedGoesOn);
        FullDevice device;
        device.room = room;
        device.open(QIODevice::WriteOnly);
        TracksScanner scanner(&device, bufferSize);
        QCOMPARE(scanner.feed("<trk><name>A</name><trkseg>" +
                              QByteArray("<trkpt lat=\"1\"></trkpt>").repeated(20)),
                 feedGoesOn);
        QVERIFY(!scanner.finish() && scanner.writeFailed() && scanner.stopped());
        QCOMPARE(scanner.writeError(), QStringLiteral("No space left on device"));
        QVERIFY(!scanner.feed("</trkseg></trk></gpx>") && !scanner.finish());
        QCOMPARE(device.data().size(), room);
    }
};

QTEST_APPLESS_MAIN(ScannersTest)
#include "tst_scanners.moc"
