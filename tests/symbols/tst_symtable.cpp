#include "symbols/symtable.h"
#include "text/CodePage.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

using Pairs = QList<SymbolPair>;

class TestSymtable : public QObject {
    Q_OBJECT

private slots:
    void defaultTableFileHasItsExactBytes() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("symtable.txt"));
        // Written over a longer file, none of which may remain.
        QVERIFY(writeBytes(path, QByteArray(10000, 'x')));
        QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
        const QByteArray bytes = readBytes(path);
        QCOMPARE(bytes.size(), 1984);
        QCOMPARE(bytes.count("\r\n"), 87);
        QCOMPARE(bytes.count('\n'), 87);
        QCOMPARE(bytes.count('\r'), 87);
        QVERIFY(bytes.startsWith("Waypoint\tQVN_WAYPOINT\r\n"));
        QVERIFY(bytes.endsWith("\r\nShipwreck\tSHIPWRECK\r\n"));

        const Pairs read = symtable::readFile(path).pairs;
        QCOMPARE(read.size(), 87);
        QCOMPARE(read.first(),
                 (SymbolPair{QStringLiteral("Waypoint"), QStringLiteral("QVN_WAYPOINT")}));
        QCOMPARE(read.last(),
                 (SymbolPair{QStringLiteral("Shipwreck"), QStringLiteral("SHIPWRECK")}));
        QCOMPARE(read, symtable::defaultTable());

        QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
        QCOMPARE(readBytes(path), bytes);
        QCOMPARE(symtable::writeFile(path, {{QStringLiteral("A"), QStringLiteral("B")}}),
                 QString());
        QCOMPARE(readBytes(path), QByteArray("A\tB\r\n"));
    }

    void defaultTableNamesOccurOnce() {
        // A look-up takes the first row with the symbol, so a repeated name would hide a row.
        QSet<QString> seen;
        for (const SymbolPair& pair : symtable::defaultTable())
            seen.insert(pair.nuvi);
        QCOMPARE(seen.size(), 87);
    }

    void parseSplitsAtFirstTabAndAnyLineEnd_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<Pairs>("expected");
        const auto p = [](const char* nuvi, const char* delorme) {
            return SymbolPair{QString::fromLatin1(nuvi), QString::fromLatin1(delorme)};
        };
        const Pairs ab_cd = {p("A", "B"), p("C", "D")};
        QTest::newRow("empty file") << QByteArray() << Pairs{};
        QTest::newRow("leading TAB") << QByteArray("\tMONEY\r\n") << Pairs{p("", "MONEY")};
        QTest::newRow("two TABs") << QByteArray("A\tB\tC\r\n") << Pairs{p("A", "B\tC")};
        QTest::newRow("trailing TAB") << QByteArray("Bank\t\r\n") << Pairs{p("Bank", "")};
        QTest::newRow("lone TAB") << QByteArray("\t") << Pairs{p("", "")};
        QTest::newRow("spaces kept")
            << QByteArray("Bank \t MONEY \r\n") << Pairs{p("Bank ", " MONEY ")};
        QTest::newRow("CR only") << QByteArray("A\tB\rC\tD\r") << ab_cd;
        QTest::newRow("LF only") << QByteArray("A\tB\nC\tD\n") << ab_cd;
        QTest::newRow("no final line end") << QByteArray("A\tB\r\nC\tD") << ab_cd;
        QTest::newRow("blank lines skipped")
            << QByteArray("\r\nA\tB\r\n\r\n\n\r\r\nC\tD\r\n\r\n") << ab_cd;
        QTest::newRow("line without TAB skipped")
            << QByteArray("junk\r\nA\tB\r\n") << Pairs{p("A", "B")};
        QTest::newRow("same symbol twice kept in order")
            << QByteArray("Bank\tMONEY\r\nBank\tDOLLAR\r\n")
            << Pairs{p("Bank", "MONEY"), p("Bank", "DOLLAR")};
        QTest::newRow("code page bytes")
            << QByteArray("Caf\xE9\t\x80\x93\r\n")
            << Pairs{{QStringLiteral("Caf\u00E9"), QStringLiteral("\u20AC\u201C")}};
    }

    void parseSplitsAtFirstTabAndAnyLineEnd() {
        QFETCH(QByteArray, bytes);
        QFETCH(Pairs, expected);
        QCOMPARE(symtable::parse(bytes), expected);
    }

    void everyByteValueSurvivesWriteAndRead() {
        // Every byte a name can hold (all but TAB, CR and LF) in both columns.
        QByteArray names;
        for (int b = 0; b < 256; ++b) {
            if (b != '\t' && b != '\r' && b != '\n')
                names += char(b);
        }
        const QByteArray line = names + '\t' + names + "\r\n";
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("symtable.txt"));
        QVERIFY(writeBytes(path, line));
        const Pairs read = symtable::readFile(path).pairs;
        QCOMPARE(read.size(), 1);
        QCOMPARE(read.first().nuvi.size(), names.size());
        QCOMPARE(symtable::writeFile(path, read), QString());
        QCOMPARE(readBytes(path), line);
    }

    void tableIsFoundAndWrittenWhateverItsLetterCase_data() {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty folder") << QStringList{} << QStringLiteral("symtable.txt");
        QTest::newRow("made on Windows")
            << QStringList{QStringLiteral("SymTable.txt")} << QStringLiteral("SymTable.txt");
        QTest::newRow("upper case among others")
            << QStringList{QStringLiteral("FAVORITES.TXT"), QStringLiteral("SYMTABLE.TXT")}
            << QStringLiteral("SYMTABLE.TXT");
        QTest::newRow("longer name is not it")
            << QStringList{QStringLiteral("symtable.txt.bak")} << QStringLiteral("symtable.txt");
    }

    void tableIsFoundAndWrittenWhateverItsLetterCase() {
        QFETCH(QStringList, files);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        for (const QString& name : files)
            QVERIFY(writeBytes(dir.filePath(name), "A\tB\r\n"));
        const QString path = symtable::tablePathIn(dir.path());
        QCOMPARE(path, dir.filePath(expected));
        // Written back under the name it has: no second table beside it.
        QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
        QSet<QString> after(files.begin(), files.end());
        after.insert(expected);
        const QStringList listed = QDir(dir.path()).entryList(QDir::Files);
        QCOMPARE(QSet<QString>(listed.begin(), listed.end()), after);
        QCOMPARE(readBytes(path).size(), 1984);
    }

    void defaultNuviSymbolsAreGarminNames() {
        const QString path = QStringLiteral(TARNWICK_CORPUS) +
                             QStringLiteral("/gpsbabel__gpsbabel__reference__garmin_symbols.gpx");
        if (!QFile::exists(path))
            QSKIP("The corpus file with Garmin's symbol names is not present.");
        // A default nüvi symbol missing from MapSource's list of every Garmin symbol is misspelt
        // and would never match a favorite; the nüvi knows four symbols that MapSource does not.
        static const QRegularExpression sym(QStringLiteral("<sym>([^<]*)</sym>"));
        QSet<QString> garmin = {QStringLiteral("Temple"), QStringLiteral("Synagogue"),
                                QStringLiteral("House of Worship"),
                                QStringLiteral("Drinking Water")};
        for (const QRegularExpressionMatch& match :
             sym.globalMatch(CodePage::toUnicode(readBytes(path))))
            garmin.insert(match.captured(1));
        for (const SymbolPair& pair : symtable::defaultTable())
            QVERIFY2(garmin.contains(pair.nuvi), qPrintable(pair.nuvi));
    }
};

QTEST_APPLESS_MAIN(TestSymtable)
#include "tst_symtable.moc"
