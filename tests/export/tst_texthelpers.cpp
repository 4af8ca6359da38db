// The code page every file passes through, and the two text helpers that name exports and
// decode the names and symbols of loaded items.

#include "export/CodePage.h"
#include "export/TextHelpers.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

QByteArray everyByteValue() {
    QByteArray bytes;
    for (int b = 0; b < 256; ++b)
        bytes.append(char(b));
    return bytes;
}

// The decoder done the long way, one leftmost replacement of each reference
// per pass until a pass replaces nothing; slow, but the reference for the real one.
QString decodeByPasses(QString text) {
    for (bool replaced = true; replaced;) {
        replaced = false;
        qsizetype at = text.indexOf(QLatin1String("&amp;"));
        if (at >= 0) {
            text.replace(at, 5, QLatin1Char('&'));
            replaced = true;
        }
        at = text.indexOf(QLatin1String("&apos;"));
        if (at >= 0) {
            text.replace(at, 6, QLatin1Char('\''));
            replaced = true;
        }
    }
    return text;
}

} // namespace

class TextHelpersTest : public QObject {
    Q_OBJECT
private slots:
    void everyByteValueRoundTrips();
    void undefinedBytesMapToControlCharacters_data();
    void undefinedBytesMapToControlCharacters();
    void charactersOutsideTheCodePageBecomeQuestionMarks();
    void cleanNameKeepsOnlySafeCharacters_data();
    void cleanNameKeepsOnlySafeCharacters();
    void decodeXmlEntities_data();
    void decodeXmlEntities();
    void decodeXmlEntitiesAgreesWithRepeatedPasses();
    void longTextsAreHandledWhole();
};

void TextHelpersTest::everyByteValueRoundTrips() {
    const QByteArray bytes = everyByteValue();
    const QString text = CodePage::toUnicode(bytes);
    QCOMPARE(text.size(), 256);
    QCOMPARE(CodePage::fromUnicode(text), bytes);
    QSet<QChar> distinct;
    for (int b = 0; b < 256; ++b) {
        QCOMPARE(CodePage::toChar(uchar(b)), text[b]);
        QVERIFY(CodePage::canEncode(text[b]));
        QCOMPARE(CodePage::toByte(text[b]), uchar(b));
        distinct.insert(text[b]);
    }
    QCOMPARE(distinct.size(), 256);
    QCOMPARE(CodePage::toChar(0x80), QChar(0x20AC));
    QCOMPARE(CodePage::toChar(0x9F), QChar(0x0178));
    QCOMPARE(CodePage::toChar(0xE9), QChar(0x00E9));
}

void TextHelpersTest::undefinedBytesMapToControlCharacters_data() {
    QTest::addColumn<int>("byte");
    QTest::newRow("0x81") << 0x81;
    QTest::newRow("0x8D") << 0x8D;
    QTest::newRow("0x8F") << 0x8F;
    QTest::newRow("0x90") << 0x90;
    QTest::newRow("0x9D") << 0x9D;
}

void TextHelpersTest::undefinedBytesMapToControlCharacters() {
    QFETCH(int, byte);
    const QString text = CodePage::toUnicode(QByteArray(1, char(byte)));
    QCOMPARE(text, QString(QChar(char16_t(byte))));
    QCOMPARE(CodePage::fromUnicode(text), QByteArray(1, char(byte)));
}

void TextHelpersTest::charactersOutsideTheCodePageBecomeQuestionMarks() {
    // U+0080 is not a character of the code page: byte 0x80 is the euro sign.
    const QString text = QStringLiteral("a\u0080b\u4E2D\u20AC");
    QVERIFY(!CodePage::canEncode(QChar(0x0080)));
    QCOMPARE(CodePage::fromUnicode(text), QByteArray("a?b?\x80"));
}

void TextHelpersTest::cleanNameKeepsOnlySafeCharacters_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("nothing passes") << QStringLiteral("***") << QString();
    QTest::newRow("device name") << QStringLiteral("Nuvi_1") << QStringLiteral("Nuvi_1");
    QTest::newRow("accent and hash")
        << QStringLiteral("Joe's Café #2") << QStringLiteral("Joe's Caf 2");
    QTest::newRow("path") << QStringLiteral("C:\\GPX\\a.b") << QStringLiteral("CGPXab");
    QTest::newRow("slash and dots")
        << QStringLiteral("../etc/passwd") << QStringLiteral("etcpasswd");
    QTest::newRow("space runs and dashes kept")
        << QStringLiteral("  a - b__c  ") << QStringLiteral("  a - b__c  ");
    QTest::newRow("tabs and line breaks dropped")
        << QStringLiteral("a\tb\r\nc") << QStringLiteral("abc");
    QTest::newRow("range ends") << QStringLiteral("09AZaz/:@[`{") << QStringLiteral("09AZaz");
    QTest::newRow("letters beyond Z") << QStringLiteral("üßÆ Ω") << QStringLiteral(" ");
    QTest::newRow("ampersand") << QStringLiteral("A & B") << QStringLiteral("A  B");
}

void TextHelpersTest::cleanNameKeepsOnlySafeCharacters() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const QString before = text;
    QCOMPARE(CleanName(text), expected);
    QCOMPARE(text, before);
}

void TextHelpersTest::decodeXmlEntities_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("both references")
        << QStringLiteral("Joe&apos;s Bar &amp; Grill") << QStringLiteral("Joe's Bar & Grill");
    QTest::newRow("at the start, repeated")
        << QStringLiteral("&apos;x&apos;") << QStringLiteral("'x'");
    QTest::newRow("adjacent") << QStringLiteral("&amp;&amp;") << QStringLiteral("&&");
    QTest::newRow("nested amp") << QStringLiteral("&amp;amp;") << QStringLiteral("&");
    QTest::newRow("nested apos") << QStringLiteral("&amp;apos;") << QStringLiteral("'");
    QTest::newRow("deeply nested")
        << QStringLiteral("&amp;amp;amp;amp;apos;") << QStringLiteral("'");
    QTest::newRow("other references stay") << QStringLiteral("a &lt; b &gt; &quot;&#38;")
                                           << QStringLiteral("a &lt; b &gt; &quot;&#38;");
    QTest::newRow("case matters") << QStringLiteral("&AMP;&Apos;") << QStringLiteral("&AMP;&Apos;");
    QTest::newRow("incomplete") << QStringLiteral("&amp &apos &am;p;")
                                << QStringLiteral("&amp &apos &am;p;");
    QTest::newRow("ampersand before reference")
        << QStringLiteral("&&amp;amp;") << QStringLiteral("&&");
}

void TextHelpersTest::decodeXmlEntities() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(DecodeXmlEntities(text), expected);
    QCOMPARE(decodeByPasses(text), expected);
}

void TextHelpersTest::decodeXmlEntitiesAgreesWithRepeatedPasses() {
    // Random texts over the letters of both references, where replacements form new ones.
    static const char16_t letters[] = u"&amposx;";
    QRandomGenerator random(20100805);
    for (int round = 0; round < 20000; ++round) {
        QString text;
        const int length = random.bounded(24);
        for (int i = 0; i < length; ++i)
            text.append(QChar(letters[random.bounded(8)]));
        const QString expected = decodeByPasses(text);
        if (DecodeXmlEntities(text) != expected)
            QFAIL(qPrintable(QStringLiteral("«%1» gives «%2», expected «%3»")
                                 .arg(text, DecodeXmlEntities(text), expected)));
    }
}

void TextHelpersTest::longTextsAreHandledWhole() {
    const QString plain = QStringLiteral("Ab-9 é/").repeated(100000 / 7 + 1);
    QCOMPARE(CleanName(plain), QStringLiteral("Ab-9 ").repeated(100000 / 7 + 1));
    QCOMPARE(DecodeXmlEntities(QStringLiteral("&amp;").repeated(20000)),
             QStringLiteral("&").repeated(20000));
    QCOMPARE(DecodeXmlEntities(QLatin1Char('&') + QStringLiteral("amp;").repeated(25000)),
             QStringLiteral("&"));
    QCOMPARE(DecodeXmlEntities(QStringLiteral("x").repeated(100000) + QStringLiteral("&apos;")),
             QStringLiteral("x").repeated(100000) + QLatin1Char('\''));
    const QByteArray bytes = QByteArray(everyByteValue()).repeated(400);
    QCOMPARE(CodePage::fromUnicode(CodePage::toUnicode(bytes)), bytes);
}

QTEST_APPLESS_MAIN(TextHelpersTest)
#include "tst_texthelpers.moc"
