// The code page every file passes through, the text helpers that name exports and decode loaded
// names, the copyright notice and the reason given for a failed write.

#include "FileSizeLimit.h"
#include "TestRows.h"

#include "text/CodePage.h"
#include "text/Copyright.h"
#include "text/TextHelpers.h"
#include "text/WriteError.h"

#include <QTemporaryDir>
#include <QTest>

#include <cstring>

class TextHelpersTest : public QObject {
    Q_OBJECT
private slots:
    void everyByteHasItsCharacterAndComesBack() {
        QByteArray bytes;
        QString text;
        for (const QStringList& row : testRows("text_cp1252.txt")) {
            bytes.append(char(row[0].toUInt(nullptr, 16)));
            text.append(QChar(char16_t(row[1].toUInt(nullptr, 16))));
        }
        QCOMPARE(bytes.size(), 256);
        for (int b = 0; b < 256; ++b)
            QVERIFY(uchar(bytes[b]) == b && CodePage::toChar(uchar(b)) == text[b] &&
                    CodePage::canEncode(text[b]) && CodePage::toByte(text[b]) == b);
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
        for (const QStringList& row : testRows("text_rules.tsv"))
            QTest::addRow("%s %s", qPrintable(row[0]), qPrintable(row[1]))
                << row[0] << row[1] << row[2];
        const QString x(70000, u'x');
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
        else
            QCOMPARE(function == "clean" ? CleanName(text) : DecodeXmlEntities(text), expected);
    }

    // Every UTF-16 code unit alone: only ASCII letters, digits, '-', ' ', '_' and '\'' stay.
    void cleanNameKeepsOnlySafeCharacters() {
        const QString safe = QStringLiteral("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                            "abcdefghijklmnopqrstuvwxyz- _'");
        for (int c = 0; c < 0x10000; ++c) {
            const QString one{QChar(char16_t(c))};
            QCOMPARE(CleanName(one + one), safe.contains(one) ? one + one : QString());
        }
    }

    // Qt says "Unknown error" when a full disk stops a write part way and the file system gives
    // the reason; a reason Qt knows is kept.
    void writeErrorGivesTheReason() {
        QTemporaryDir dir;
        QFile file(dir.filePath("x"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QCOMPARE(writeErrorOf(file), QFile().errorString());
        FileSizeLimit full(10);
        QVERIFY(full.active() && file.write(QByteArray(100, 'x')) < 100);
        QCOMPARE(writeErrorOf(file), QString::fromLocal8Bit(std::strerror(EFBIG)));
        file.close();
        QVERIFY(file.open(QIODevice::ReadOnly) && file.write("x") < 0);
        QCOMPARE(writeErrorOf(file), QString::fromLocal8Bit(std::strerror(EBADF)));
        QVERIFY(!file.resize(0));
        QCOMPARE(writeErrorOf(file), file.errorString());
        QVERIFY(file.errorString() != QString::fromLocal8Bit(std::strerror(EBADF)));
    }
};

QTEST_APPLESS_MAIN(TextHelpersTest)
#include "tst_texthelpers.moc"
