#include "ScanTestSupport.h"

#include <QFileInfo>
#include <QTest>

// The block-wise scanners against the character-by-character reference, on generated,
// mutated and real files, fed in chunks of every size.
class ScannerDifferentialTest : public QObject {
    Q_OBJECT
private slots:
    void randomInputsMatchReference_data();
    void randomInputsMatchReference();
    void mutatedGarminFilesMatchReference_data();
    void mutatedGarminFilesMatchReference();
    void corpusFilesMatchReference_data();
    void corpusFilesMatchReference();
};

namespace {

// Compares both scanners with the reference on one input, fed in three ways: one byte at a
// time, whole, and in random chunks; the tracks scratch through a tiny and the usual buffer.
QString compareAll(const QByteArray& source, QRandomGenerator& random) {
    const ReferenceFavorites favorites = referenceFavorites(source);
    const ReferenceTracks tracks = referenceTracks(source);
    const struct {
        qsizetype chunk;
        qsizetype buffer;
    } ways[] = {{1, 3}, {source.size() + 1, TracksScanner::defaultBufferSize}, {0, 1}};
    for (const auto& way : ways) {
        QString diff = firstDifference(favorites, scanFavorites(source, way.chunk, &random));
        if (!diff.isEmpty())
            return QStringLiteral("favorites, chunk %1: %2").arg(way.chunk).arg(diff);
        diff = firstDifference(tracks, scanTracks(source, way.chunk, &random, way.buffer));
        if (!diff.isEmpty())
            return QStringLiteral("tracks, chunk %1: %2").arg(way.chunk).arg(diff);
    }
    return {};
}

QString printable(const QByteArray& source) {
    return QString::fromLatin1(source.left(400).toPercentEncoding(" <>/=\"&;!"));
}

} // namespace

void ScannerDifferentialTest::randomInputsMatchReference_data() {
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("pieces");
    for (quint32 seed = 1; seed <= 6; ++seed) {
        QTest::addRow("short, seed %u", seed) << seed << 12;
        QTest::addRow("long, seed %u", seed) << seed << 200;
    }
}

void ScannerDifferentialTest::randomInputsMatchReference() {
    QFETCH(quint32, seed);
    QFETCH(int, pieces);
    QRandomGenerator random(seed);
    for (int i = 0; i < 1000; ++i) {
        QByteArray source = randomGpxSoup(random, random.bounded(1, pieces + 1));
        if (random.bounded(2))
            source = mutated(source, random, random.bounded(1, 6));
        const QString diff = compareAll(source, random);
        QVERIFY2(diff.isEmpty(),
                 qPrintable(QStringLiteral("%1\ninput: %2").arg(diff, printable(source))));
    }
}

void ScannerDifferentialTest::mutatedGarminFilesMatchReference_data() {
    QTest::addColumn<QString>("file");
    for (const char* name :
         {"etrex10_waypoints_track.gpx", "oregon400t_track.gpx", "oregon400t_empty_name.gpx"})
        QTest::newRow(name) << QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(name);
}

void ScannerDifferentialTest::mutatedGarminFilesMatchReference() {
    QFETCH(QString, file);
    const QByteArray original = readAll(file);
    QVERIFY(!original.isEmpty());
    QRandomGenerator random(7);
    QByteArray crlf = original;
    crlf.replace("\n", "\r\n");
    for (const QByteArray& base : {original, crlf}) {
        QCOMPARE(compareAll(base, random), QString());
        for (int i = 0; i < 40; ++i) {
            const QByteArray source = mutated(base, random, random.bounded(1, 20));
            const QString diff = compareAll(source, random);
            QVERIFY2(diff.isEmpty(), qPrintable(diff));
        }
    }
}

void ScannerDifferentialTest::corpusFilesMatchReference_data() {
    QTest::addColumn<QString>("file");
    const QStringList files = corpusFiles();
    if (files.isEmpty())
        QTest::newRow("no corpus") << QString();
    for (const QString& file : files)
        QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
}

void ScannerDifferentialTest::corpusFilesMatchReference() {
    QFETCH(QString, file);
    if (file.isEmpty())
        QSKIP("The shared GPX corpus is not present beside the checkout.");
    const QByteArray source = readAll(file);
    QRandomGenerator random(11);
    QCOMPARE(compareAll(source, random), QString());
}

QTEST_APPLESS_MAIN(ScannerDifferentialTest)
#include "tst_scannerdifferential.moc"
