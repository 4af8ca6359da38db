// The code page every file passes through, the text helpers that name exports and decode loaded
// names, the copyright notice and the reason given for a failed write.

#include "FileSizeLimit.h"

#include "text/CodePage.h"
#include "text/Copyright.h"
#include "text/TextHelpers.h"
#include "text/WriteError.h"

#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

namespace {

// The lines of a data file that are not comments, split at TABs.
QList<QStringList> dataRows(const char* name) {
    QFile file(QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(name));
    QList<QStringList> rows;
    if (file.open(QIODevice::ReadOnly | QIODevice::Text))
        for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n'))
            if (!line.isEmpty() && !line.startsWith(u'#'))
                rows.append(line.split(u'\t'));
    return rows;
}

// The decoder done the long way: the leftmost reference replaced until none is left.
QString decodeByPasses(QString text) {
    static const QRegularExpression reference(QStringLiteral("&(amp|apos);"));
    for (QRegularExpressionMatch m; (m = reference.match(text)).hasMatch();)
        text.replace(m.capturedStart(), m.capturedLength(), m.captured(1) == "amp" ? "&" : "'");
    return text;
}

} // namespace

class TextHelpersTest : public QObject {
    Q_OBJECT
private slots:
    void everyByteHasItsCharacterAndComesBack() {
        const QList<QStringList> table = dataRows("text_cp1252.txt");
        QCOMPARE(table.size(), 256);
        QByteArray bytes;
        QString text;
        for (const QStringList& row : table) {
            const uchar byte = uchar(row[0].toUInt(nullptr, 16));
            const QChar ch(char16_t(row[1].toUInt(nullptr, 16)));
            QCOMPARE(byte, uchar(bytes.size()));
            bytes.append(char(byte));
            text.append(ch);
            QCOMPARE(CodePage::toChar(byte), ch);
            QVERIFY(CodePage::canEncode(ch));
            QCOMPARE(CodePage::toByte(ch), byte);
        }
        QCOMPARE(CodePage::toUnicode(bytes.repeated(300)), text.repeated(300));
        QCOMPARE(CodePage::fromUnicode(text.repeated(300)), bytes.repeated(300));
        // U+0080 has no byte: 0x80 is the euro sign.
        for (const char16_t ch : {u'\u0080', u'\u009F', u'\u0100', u'\u4E2D', u'\uFFFD'}) {
            QVERIFY(!CodePage::canEncode(QChar(ch)));
            QCOMPARE(CodePage::toByte(QChar(ch)), uchar('?'));
        }
        QCOMPARE(CodePage::fromUnicode(u"a\u0080b\u4E2D\u20AC"), QByteArray("a?b?\x80"));
    }

    void textRules_data() {
        QTest::addColumn<QString>("function");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        for (QStringList row : dataRows("text_rules.tsv")) {
            for (QString& cell : row)
                cell.replace("\\t", "\t").replace("\\r", "\r").replace("\\n", "\n");
            QTest::addRow("%s «%s»", qPrintable(row[0]), qPrintable(row[1]))
                << row[0] << row[1] << row[2];
        }
        const QString x(70000, u'x');
        QTest::newRow("clean, long")
            << "clean" << QString("Ab-9 é/").repeated(10000) << QString("Ab-9 ").repeated(10000);
        QTest::newRow("decode, long") << "decode" << x + "&amp;amp;" + x << x + "&" + x;
        QTest::newRow("decode, long chain") << "decode"
                                            << "&" + QString("amp;").repeated(25000) << "&";
    }

    void textRules() {
        QFETCH(QString, function);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        if (function == "copyright")
            QCOMPARE(Copyright::notice(), expected);
        else if (function == "clean")
            QCOMPARE(CleanName(text), expected);
        else
            QCOMPARE(DecodeXmlEntities(text), expected);
    }

    // Every UTF-16 code unit alone: only ASCII letters, digits, '-', ' ', '_' and '\'' stay.
    void cleanNameKeepsOnlySafeCharacters() {
        const QString safe = QStringLiteral("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                            "abcdefghijklmnopqrstuvwxyz- _'");
        for (int c = 0; c < 0x10000; ++c) {
            const QString one{QChar(char16_t(c))};
            QCOMPARE(CleanName(one), safe.contains(one) ? one : QString());
        }
    }

    // Random texts over the letters of both references, where replacements form new ones.
    void decodingAgreesWithRepeatedPasses() {
        QRandomGenerator random(20100805);
        for (int round = 0; round < 20000; ++round) {
            QString text;
            for (int i = random.bounded(24); i > 0; --i)
                text.append(QChar(u"&amposx;"[random.bounded(8)]));
            if (DecodeXmlEntities(text) != decodeByPasses(text))
                QFAIL(qPrintable(text));
        }
    }

    // Qt says "Unknown error" when a full disk stops a write part way; the reason comes from
    // the file system then. A reason Qt knows is kept.
    void writeErrorGivesTheReason() {
        QTemporaryDir dir;
        QFile file(dir.filePath("x"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QCOMPARE(writeErrorOf(file), QFile().errorString());
        {
            FileSizeLimit full(10);
            QVERIFY(full.active());
            QVERIFY(file.write(QByteArray(100, 'x')) < 100);
            QCOMPARE(writeErrorOf(file), QString::fromLocal8Bit(std::strerror(EFBIG)));
        }
        file.close();
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.write("x"), -1);
        QCOMPARE(writeErrorOf(file), QString::fromLocal8Bit(std::strerror(EBADF)));
        QVERIFY(!file.resize(0));
        QCOMPARE(writeErrorOf(file), file.errorString());
        QVERIFY(file.errorString() != QString::fromLocal8Bit(std::strerror(EBADF)));
    }
};

QTEST_APPLESS_MAIN(TextHelpersTest)
#include "tst_texthelpers.moc"
