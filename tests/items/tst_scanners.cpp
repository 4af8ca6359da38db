// The block-wise scanners against the character-by-character references on cases from the
// loaders' rules and random GPX soup, fed in blocks of every size; real files are in tst_export.

#include "Reference.h"

#include "items/TracksScanner.h"
#include "text/CodePage.h"

#include <QRandomGenerator>
#include <QTest>

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
        QCOMPARE(compareAll(source, 1), QString());
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
            const QString diff = compareAll(source, random.generate());
            QVERIFY2(diff.isEmpty(), qPrintable(diff + "\ninput: " + source.toPercentEncoding()));
        }
    }

    // Fails while scanning, on the last flush, and at once.
    void failedScratchWriteStopsTheScan() {
        for (const auto& [room, bufferSize] :
             {std::pair<qint64, qsizetype>{10, 16}, {10, 64 * 1024}, {0, 1}}) {
            Device device(QIODevice::WriteOnly, {}, room);
            TracksScanner scanner(&device, bufferSize);
            QCOMPARE(scanner.feed("<trk><name>A</name><trkseg>" +
                                  QByteArray("<trkpt lat=\"1\"></trkpt>").repeated(20)),
                     bufferSize > 1000);
            QVERIFY(!scanner.finish() && scanner.writeFailed() && scanner.stopped());
            QCOMPARE(scanner.writeError(), device.errorString());
            QVERIFY(!scanner.feed("</trkseg></trk></gpx>") && !scanner.finish());
            QCOMPARE(device.data().size(), room);
        }
    }
};

QTEST_APPLESS_MAIN(ScannersTest)
#include "tst_scanners.moc"
