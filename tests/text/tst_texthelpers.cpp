// The code page every file passes through, the text helpers and the copyright notice.

#include "TestRows.h"

#include "text/CodePage.h"
#include "text/Copyright.h"
#include "text/TextHelpers.h"

#include <QTest>

class TextHelpersTest : public QObject {
    Q_OBJECT
private slots:
    // Every byte stands for the character of the table and comes back from it; characters
    // without a byte (U+0080 has none: 0x80 is the euro sign) become '?'.
    void codePageAndTextRules() {
        QByteArray bytes;
        QString text;
        for (const QByteArrayList& row : testRows("text_cp1252.txt")) {
            bytes.append(char(row[0].toUInt(nullptr, 16)));
            text.append(QChar(char16_t(row[1].toUInt(nullptr, 16))));
            const uchar byte = uchar(bytes.back());
            QVERIFY(byte == bytes.size() - 1 && CodePage::toChar(byte) == text.back() &&
                    CodePage::canEncode(text.back()) && CodePage::toByte(text.back()) == byte);
        }
        QCOMPARE(CodePage::toUnicode(bytes.repeated(300)), text.repeated(300));
        QCOMPARE(CodePage::fromUnicode(QStringLiteral("\u0080\u009F\u0100\u4E2D\uFFFD") +
                                       text.repeated(300)),
                 "?????" + bytes.repeated(300));
        // The text rules, and a reference inside a long text.
        const QByteArray x(70000, 'x');
        QList<QByteArrayList> rows = testRows("text_rules.tsv");
        rows.append({"decode", x + "&amp;amp;" + x, x + "&" + x});
        for (const QByteArrayList& row : rows) {
            const QString text = QString::fromUtf8(row[1]);
            const QString got = row[0] == "copyright" ? Copyright::notice()
                                : row[0] == "clean"   ? CleanName(text)
                                                      : DecodeXmlEntities(text);
            QVERIFY2(got == QString::fromUtf8(row[2]),
                     qPrintable(row.join(" | ") + " gives " + got));
        }
    }
};

QTEST_APPLESS_MAIN(TextHelpersTest)
#include "tst_texthelpers.moc"
