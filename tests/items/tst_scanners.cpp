// The block-wise favorites and tracks scanners against the character-by-character references:
// on cases written from the loaders' rules, random GPX soup and real files, fed in blocks of
// every size.

#include "Reference.h"

#include "items/TracksScanner.h"
#include "text/CodePage.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTest>

namespace {

// Whole, a byte at a time with a 1-byte scratch buffer, and in random blocks.
QString compareAll(QByteArrayView source, QRandomGenerator& random) {
    QList<qsizetype> sizes;
    for (int i = 0; i < 8; ++i)
        sizes << (random.bounded(4) ? random.bounded(1, 9) : random.bounded(1, 5000));
    return compareScanners(source, {}, TracksScanner::defaultBufferSize) +
           compareScanners(source, {1}, 1) + compareScanners(source, sizes, 7);
}

} // namespace

class ScannersTest : public QObject {
    Q_OBJECT
private slots:
    void casesFromTheRules_data() {
        QTest::addColumn<Case>("c");
        for (const Case& c : readCases("items_scans.txt"))
            QTest::newRow(qPrintable(texts(c, "case").join(QString()))) << c;
    }

    void casesFromTheRules() {
        QFETCH(Case, c);
        const QByteArray source = CodePage::fromUnicode(texts(c, "in").join(QString()));
        QCOMPARE(lines(referenceFavorites(source)), texts(c, "fav"));
        QCOMPARE(lines(referenceTracks(source)), texts(c, "trk"));
        QRandomGenerator random(1);
        QCOMPARE(compareAll(source, random), QString());
    }

    // Pieces of tags, line breaks and any bytes; now and then a stretch past 16-bit positions.
    void randomSoupMatchesReference() {
        const QStringList words = texts(readCases("items_soup.txt").value(0), "w");
        QVERIFY(!words.isEmpty());
        QRandomGenerator random(5);
        for (int i = 0; i < 5000; ++i) {
            QByteArray source(i % 500 ? 0 : 70000, 'x');
            for (int n = random.bounded(1, i % 2 ? 12 : 200); n > 0; --n)
                source.insert(random.bounded(source.size() + 1),
                              random.bounded(10)
                                  ? CodePage::fromUnicode(words[random.bounded(int(words.size()))])
                                  : QByteArray(1, char(random.bounded(256))));
            const QString diff = compareAll(source, random);
            QVERIFY2(diff.isEmpty(), qPrintable(diff + "\ninput: " + source.toPercentEncoding()));
        }
    }

    void realFilesMatchReference() {
        QFileInfoList files = QDir(QStringLiteral(TARNWICK_TEST_DATA)).entryInfoList({"*.gpx"});
        files += QDir(QStringLiteral(TARNWICK_CORPUS)).entryInfoList({"*.gpx", "*.xml"});
        QRandomGenerator random(11);
        for (const QFileInfo& info : files) {
            QFile file(info.filePath());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY2(compareAll(file.readAll(), random).isEmpty(), qPrintable(info.fileName()));
        }
        if (!QFileInfo(QStringLiteral(TARNWICK_CORPUS)).isDir())
            QSKIP("The shared GPX corpus is not present beside the checkout.");
    }

    // Fails while scanning, on the last flush, and at once.
    void failedScratchWriteStopsTheScan() {
        for (const auto& [room, bufferSize] :
             {std::pair<qint64, qsizetype>{10, 16}, {10, 64 * 1024}, {0, 1}}) {
            Device device;
            device.failAt = room;
            device.open(QIODevice::WriteOnly);
            TracksScanner scanner(&device, bufferSize);
            QCOMPARE(scanner.feed("<trk><name>A</name><trkseg>" +
                                  QByteArray("<trkpt lat=\"1\"></trkpt>").repeated(20)),
                     bufferSize > 1000);
            QVERIFY(!scanner.finish() && scanner.writeFailed() && scanner.stopped());
            QVERIFY(!device.errorString().isEmpty() &&
                    scanner.writeError() == device.errorString());
            QVERIFY(!scanner.feed("</trkseg></trk></gpx>") && !scanner.finish());
            QCOMPARE(device.data().size(), room);
        }
    }
};

QTEST_APPLESS_MAIN(ScannersTest)
#include "tst_scanners.moc"
