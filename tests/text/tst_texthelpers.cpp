// The code page every file passes through, and the two text helpers that name exports and
// decode the names and symbols of loaded items.

#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

// The decoder done the long way, one leftmost replacement of each reference per pass until a
// pass replaces nothing; slow, but the reference for the real one.
QString decodeByPasses(QString text) {
    for (qsizetype amp = 0, apos = 0; amp >= 0 || apos >= 0;) {
        amp = text.indexOf(QLatin1String("&amp;"));
        if (amp >= 0)
            text.replace(amp, 5, QLatin1Char('&'));
        apos = text.indexOf(QLatin1String("&apos;"));
        if (apos >= 0)
            text.replace(apos, 6, QLatin1Char('\''));
    }
    return text;
}

} // namespace

class TextHelpersTest : public QObject {
    Q_OBJECT
private slots:
    void everyByteValueRoundTrips() {
        QByteArray bytes;
        for (int b = 0; b < 256; ++b)
            bytes.append(char(b));
        const QString text = CodePage::toUnicode(bytes.repeated(300));
        QCOMPARE(text.size(), 256 * 300);
        QCOMPARE(CodePage::fromUnicode(text), bytes.repeated(300));
        for (int b = 0; b < 256; ++b) {
            QCOMPARE(CodePage::toChar(uchar(b)), text[b]);
            QVERIFY(CodePage::canEncode(text[b]));
            QCOMPARE(CodePage::toByte(text[b]), uchar(b));
        }
    }

    void bytesMapToCharacters_data() {
        QTest::addColumn<int>("byte");
        QTest::addColumn<int>("character");
        QTest::newRow("euro sign") << 0x80 << 0x20AC;
        QTest::newRow("Y diaeresis") << 0x9F << 0x0178;
        QTest::newRow("e acute") << 0xE9 << 0xE9;
        // The five bytes Windows-1252 leaves undefined stand for the control characters.
        for (const int undefined : {0x81, 0x8D, 0x8F, 0x90, 0x9D})
            QTest::addRow("undefined 0x%X", undefined) << undefined << undefined;
    }

    void bytesMapToCharacters() {
        QFETCH(int, byte);
        QFETCH(int, character);
        QCOMPARE(CodePage::toUnicode(QByteArray(1, char(byte))), QString(QChar(character)));
        QCOMPARE(CodePage::fromUnicode(QString(QChar(character))), QByteArray(1, char(byte)));
    }

    void charactersOutsideTheCodePageBecomeQuestionMarks() {
        // U+0080 is not a character of the code page: byte 0x80 is the euro sign.
        QVERIFY(!CodePage::canEncode(QChar(0x0080)));
        QCOMPARE(CodePage::fromUnicode(u"a\u0080b\u4E2D\u20AC"), QByteArray("a?b?\x80"));
    }

    void cleanNameKeepsOnlySafeCharacters_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto add = [](const char* row, const QString& text, const QString& expected) {
            QTest::newRow(row) << text << expected;
        };
        add("empty", "", "");
        add("nothing passes", "***", "");
        add("device name", "Nuvi_1", "Nuvi_1");
        add("accent and hash", "Joe's Café #2", "Joe's Caf 2");
        add("path", "C:\\GPX\\a.b", "CGPXab");
        add("slash and dots", "../etc/passwd", "etcpasswd");
        add("space runs and dashes kept", "  a - b__c  ", "  a - b__c  ");
        add("tabs and line breaks dropped", "a\tb\r\nc", "abc");
        add("range ends", "09AZaz/:@[`{", "09AZaz");
        add("letters beyond Z", "üßÆ Ω", " ");
        add("ampersand", "A & B", "A  B");
        add("longer than 65,535", QString("Ab-9 é/").repeated(10000),
            QString("Ab-9 ").repeated(10000));
    }

    void cleanNameKeepsOnlySafeCharacters() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(CleanName(text), expected);
    }

    void decodeXmlEntities_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto add = [](const char* row, const QString& text, const QString& expected) {
            QTest::newRow(row) << text << expected;
        };
        add("empty", "", "");
        add("both references", "Joe&apos;s Bar &amp; Grill", "Joe's Bar & Grill");
        add("at the start, repeated", "&apos;x&apos;", "'x'");
        add("adjacent", "&amp;&amp;", "&&");
        add("nested amp", "&amp;amp;", "&");
        add("nested apos", "&amp;apos;", "'");
        add("deeply nested", "&amp;amp;amp;amp;apos;", "'");
        add("other references stay", "a &lt; b &gt; &quot;&#38;", "a &lt; b &gt; &quot;&#38;");
        add("case matters", "&AMP;&Apos;", "&AMP;&Apos;");
        add("incomplete", "&amp &apos &am;p;", "&amp &apos &am;p;");
        add("ampersand before reference", "&&amp;amp;", "&&");
        const QString x = QString(100000, 'x');
        add("longer than 65,535, repeated", QString("&amp;").repeated(20000), QString(20000, '&'));
        add("longer than 65,535, nested", "&" + QString("amp;").repeated(25000), "&");
        add("longer than 65,535, reference at the end", x + "&apos;", x + "'");
    }

    void decodeXmlEntities() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(DecodeXmlEntities(text), expected);
        if (text.size() < 100) // the reference decoder itself
            QCOMPARE(decodeByPasses(text), expected);
    }

    void decodeXmlEntitiesAgreesWithRepeatedPasses() {
        // Random texts over the letters of both references, where replacements form new ones.
        static const char16_t letters[] = u"&amposx;";
        QRandomGenerator random(20100805);
        for (int round = 0; round < 20000; ++round) {
            QString text;
            for (int i = random.bounded(24); i > 0; --i)
                text.append(QChar(letters[random.bounded(8)]));
            const QString expected = decodeByPasses(text);
            if (DecodeXmlEntities(text) != expected)
                QFAIL(qPrintable(QStringLiteral("«%1» gives «%2», expected «%3»")
                                     .arg(text, DecodeXmlEntities(text), expected)));
        }
    }
};

QTEST_APPLESS_MAIN(TextHelpersTest)
#include "tst_texthelpers.moc"
