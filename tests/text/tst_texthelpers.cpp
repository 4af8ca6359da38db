// The code page every file passes through, the text helpers, the copyright notice and the
// writer thread that exports and the scratch file go through.

#include "FileSizeLimit.h"
#include "TestRows.h"

#include "text/BackgroundWriter.h"
#include "text/CodePage.h"
#include "text/Copyright.h"
#include "text/DiskFiles.h"
#include "text/TextHelpers.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

#include <cerrno>
#include <cstring>
#include <optional>

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

    // Writes of every size around the writer's 1 MB blocks reach the file whole and in order;
    // on a full disk the first failure fails what follows, with the reason the system gave.
    void backgroundWriterKeepsEveryByteInOrder() {
        const qsizetype mb = 1024 * 1024;
        QByteArray expected;
        for (int k = 0; expected.size() < 7 * mb; ++k)
            expected.append(QByteArray::number(k) + ' ');
        const qsizetype sizes[] = {1, 2, mb - 3, 5, 300000, mb + 7, 2 * mb, mb - 1, 17};
        for (const qint64 limit : {qint64(0), 3 * mb}) {
            if (limit && FileSizeLimit::unavailable) {
                qInfo("%s The full-disk half is left out.", FileSizeLimit::unavailable);
                continue;
            }
            QTemporaryFile file;
            QVERIFY(file.open());
            std::optional<FileSizeLimit> full;
            if (limit)
                QVERIFY(full.emplace(limit).active());
            BackgroundWriter out(file);
            qsizetype at = 0;
            bool failed = false;
            for (int k = 0; at < expected.size(); ++k) {
                const qsizetype size = std::min(sizes[k % 9], expected.size() - at);
                const bool written = out.write(expected.constData() + at, size) == size;
                QVERIFY(!failed || !written);
                failed = !written;
                at += size;
            }
            const QString reason = out.finish();
            QCOMPARE(reason, limit ? QString::fromLocal8Bit(std::strerror(EFBIG)) : QString());
            QVERIFY(!failed || out.errorString() == reason);
            file.close();
            QVERIFY(file.open());
            QCOMPARE(file.readAll(), expected.left(limit ? limit : expected.size()));
        }
    }

    // A new file is written under a temporary name, hidden on Windows, synced, then named and
    // shown; its name never replaces another file, not even one that took the name after it
    // was found free: that move is refused and both keep their bytes. A source that is gone
    // says why.
    void newFilesAreSyncedAndNeverReplaceAnother() {
        QTemporaryDir dir;
        const QString taken = dir.filePath("taken.gpx");
        QFile file;
        QVERIFY(DiskFiles::openUnique(file, dir.path(), ".tarnwick-export-"));
        const QString from = file.fileName();
        QVERIFY(DiskFiles::isTemporaryName(QFileInfo(from).fileName(), ".tarnwick-export-"));
        QVERIFY(!DiskFiles::isTemporaryName(QFileInfo(from).fileName(), ".tarnwick-copy-"));
        QVERIFY(file.write("new") == 3 && file.flush());
        QCOMPARE(DiskFiles::syncToDisk(file), QString());
        file.close();
#ifdef Q_OS_WIN
        QVERIFY(DiskFiles::isHidden(from));
#endif
        QFile old(taken);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        QString reason;
        QCOMPARE(DiskFiles::moveNoReplace(from, taken, reason), DiskFiles::Move::TargetExists);
        QVERIFY(fileBytes(taken) == "old" && fileBytes(from) == "new" && reason.isEmpty());
        QCOMPARE(DiskFiles::moveNoReplace(from, dir.filePath("free.gpx"), reason),
                 DiskFiles::Move::Done);
        QVERIFY(!QFileInfo::exists(from) && fileBytes(dir.filePath("free.gpx")) == "new");
        QVERIFY(!DiskFiles::isHidden(dir.filePath("free.gpx")));
        QCOMPARE(DiskFiles::moveNoReplace(from, dir.filePath("again.gpx"), reason),
                 DiskFiles::Move::Failed);
        QVERIFY(!reason.isEmpty() && !QFileInfo::exists(dir.filePath("again.gpx")));
    }
};

QTEST_APPLESS_MAIN(TextHelpersTest)
#include "tst_texthelpers.moc"
