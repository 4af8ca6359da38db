#include "export/CodePage.h"
#include "symbols/symtable.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray readBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Whether permissions keep this process out of a read-only folder (they do not for root).
bool readOnlyFolderHolds(const QString& folder) {
    QFile probe(folder + QStringLiteral("/probe"));
    if (probe.open(QIODevice::WriteOnly)) {
        probe.remove();
        return false;
    }
    return true;
}

} // namespace

using Pairs = QList<SymbolPair>;

class TestSymtable : public QObject {
    Q_OBJECT

private slots:
    void defaultTableFileHasItsExactBytes();
    void writingOverLongerFileLeavesNoneOfIt();
    void defaultTableNamesOccurOnce();
    void parseSplitsAtFirstTabAndAnyLineEnd_data();
    void parseSplitsAtFirstTabAndAnyLineEnd();
    void everyByteValueSurvivesWriteAndRead();
    void tablePathInFindsAnyLetterCase_data();
    void tablePathInFindsAnyLetterCase();
    void writeIntoMissingFolderFails();
    void writeIntoReadOnlyFolderKeepsEarlierFile();
    void corpusSymbolNamesSurviveTable();
    void defaultNuviSymbolsAreGarminNames();
};

void TestSymtable::defaultTableFileHasItsExactBytes() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("symtable.txt"));
    QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
    const QByteArray bytes = readBytes(path);
    QCOMPARE(bytes.size(), 1984);
    QCOMPARE(bytes.count("\r\n"), 87);
    QCOMPARE(bytes.count('\n'), 87);
    QCOMPARE(bytes.count('\r'), 87);
    QVERIFY(bytes.startsWith("Waypoint\tQVN_WAYPOINT\r\n"));
    QVERIFY(bytes.endsWith("\r\nShipwreck\tSHIPWRECK\r\n"));
    QVERIFY(bytes.contains("\r\nFlag, Blue\tBLUE FLAG\r\n"));
    QVERIFY(bytes.contains("\r\nCity (Large)\tRED DOT\r\n"));

    const Pairs read = symtable::readFile(path).pairs;
    QCOMPARE(read, symtable::defaultTable());

    // A second write gives the same file.
    QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
    QCOMPARE(readBytes(path), bytes);
}

void TestSymtable::writingOverLongerFileLeavesNoneOfIt() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("symtable.txt"));
    QVERIFY(writeBytes(path, QByteArray(10000, 'x')));
    QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
    const QByteArray bytes = readBytes(path);
    QCOMPARE(bytes.size(), 1984);
    QVERIFY(!bytes.contains('x'));

    QCOMPARE(symtable::writeFile(path, {{QStringLiteral("A"), QStringLiteral("B")}}), QString());
    QCOMPARE(readBytes(path), QByteArray("A\tB\r\n"));
}

void TestSymtable::defaultTableNamesOccurOnce() {
    // A look-up takes the first row with the symbol, so a repeated name would hide a row.
    QSet<QString> seen;
    for (const SymbolPair& pair : symtable::defaultTable()) {
        QVERIFY2(!seen.contains(pair.nuvi), qPrintable(pair.nuvi));
        seen.insert(pair.nuvi);
    }
    QCOMPARE(seen.size(), 87);
    const Pairs& table = symtable::defaultTable();
    QCOMPARE(table.at(82),
             (SymbolPair{QStringLiteral("Short Tower"), QStringLiteral("RADIO TOWER")}));
    QCOMPARE(table.at(83),
             (SymbolPair{QStringLiteral("Tall Tower"), QStringLiteral("RADIO TOWER")}));
}

void TestSymtable::parseSplitsAtFirstTabAndAnyLineEnd_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Pairs>("expected");
    const auto p = [](const char* nuvi, const char* delorme) {
        return SymbolPair{QString::fromLatin1(nuvi), QString::fromLatin1(delorme)};
    };
    QTest::newRow("empty file") << QByteArray() << Pairs{};
    QTest::newRow("leading TAB") << QByteArray("\tMONEY\r\n") << Pairs{p("", "MONEY")};
    QTest::newRow("two TABs") << QByteArray("A\tB\tC\r\n") << Pairs{p("A", "B\tC")};
    QTest::newRow("trailing TAB") << QByteArray("Bank\t\r\n") << Pairs{p("Bank", "")};
    QTest::newRow("spaces kept") << QByteArray("Bank \t MONEY \r\n")
                                 << Pairs{p("Bank ", " MONEY ")};
    QTest::newRow("CR only") << QByteArray("A\tB\rC\tD\r") << Pairs{p("A", "B"), p("C", "D")};
    QTest::newRow("LF only") << QByteArray("A\tB\nC\tD\n") << Pairs{p("A", "B"), p("C", "D")};
    QTest::newRow("no final line end")
        << QByteArray("A\tB\r\nC\tD") << Pairs{p("A", "B"), p("C", "D")};
    QTest::newRow("blank lines skipped")
        << QByteArray("\r\nA\tB\r\n\r\n\n\r\r\nC\tD\r\n\r\n") << Pairs{p("A", "B"), p("C", "D")};
    QTest::newRow("line without TAB skipped")
        << QByteArray("junk\r\nA\tB\r\n") << Pairs{p("A", "B")};
    QTest::newRow("lone TAB") << QByteArray("\t") << Pairs{p("", "")};
    QTest::newRow("same symbol twice kept in order")
        << QByteArray("Bank\tMONEY\r\nBank\tDOLLAR\r\n")
        << Pairs{p("Bank", "MONEY"), p("Bank", "DOLLAR")};
    QTest::newRow("code page bytes")
        << QByteArray("Caf\xE9\t\x80\x93\r\n")
        << Pairs{{QStringLiteral("Caf\u00E9"), QStringLiteral("\u20AC\u201C")}};
}

void TestSymtable::parseSplitsAtFirstTabAndAnyLineEnd() {
    QFETCH(QByteArray, bytes);
    QFETCH(Pairs, expected);
    QCOMPARE(symtable::parse(bytes), expected);
}

void TestSymtable::everyByteValueSurvivesWriteAndRead() {
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
    const symtable::ReadResult read = symtable::readFile(path);
    QCOMPARE(read.error, QString());
    QCOMPARE(read.pairs.size(), 1);
    QCOMPARE(read.pairs.first().nuvi.size(), names.size());
    QCOMPARE(symtable::writeFile(path, read.pairs), QString());
    QCOMPARE(readBytes(path), line);
}

void TestSymtable::tablePathInFindsAnyLetterCase_data() {
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty folder") << QStringList{} << QStringLiteral("symtable.txt");
    QTest::newRow("lower case") << QStringList{QStringLiteral("symtable.txt")}
                                << QStringLiteral("symtable.txt");
    QTest::newRow("made on Windows")
        << QStringList{QStringLiteral("SymTable.txt")} << QStringLiteral("SymTable.txt");
    QTest::newRow("upper case among others")
        << QStringList{QStringLiteral("FAVORITES.TXT"), QStringLiteral("SYMTABLE.TXT")}
        << QStringLiteral("SYMTABLE.TXT");
    QTest::newRow("longer name is not it")
        << QStringList{QStringLiteral("symtable.txt.bak")} << QStringLiteral("symtable.txt");
}

void TestSymtable::tablePathInFindsAnyLetterCase() {
    QFETCH(QStringList, files);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    for (const QString& name : files)
        QVERIFY(writeBytes(dir.filePath(name), "A\tB\r\n"));
    QCOMPARE(symtable::tablePathIn(dir.path()), dir.filePath(expected));
}

void TestSymtable::writeIntoMissingFolderFails() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("gone/symtable.txt"));
    QVERIFY(!symtable::WriteDefaultSymbolTable(path).isEmpty());
    QVERIFY(!symtable::writeFile(path, symtable::defaultTable()).isEmpty());
    QVERIFY(!QFile::exists(path));
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("gone"))));
}

void TestSymtable::writeIntoReadOnlyFolderKeepsEarlierFile() {
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Nuvi_1"));
    QVERIFY(QDir().mkdir(folder));
    const QString path = folder + QStringLiteral("/symtable.txt");
    QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
    const QByteArray before = readBytes(path);

    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    const bool holds = readOnlyFolderHolds(folder);
    const QString error =
        holds ? symtable::writeFile(path, {{QStringLiteral("A"), {}}}) : QString();
    QFile::setPermissions(folder,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (!holds)
        QSKIP("This process can write into read-only folders.");
    QVERIFY(!error.isEmpty());
    QCOMPARE(readBytes(path), before);
    QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{QStringLiteral("symtable.txt")});
}

void TestSymtable::corpusSymbolNamesSurviveTable() {
    const QDir corpus(QStringLiteral(TARNWICK_CORPUS));
    if (!corpus.exists())
        QSKIP("The GPX corpus is not present.");
    // Real units' symbol names, with their spaces, commas, parentheses and letters beyond
    // ASCII, in both columns.
    static const QRegularExpression sym(QStringLiteral("<sym>([^<\\r\\n\\t]*)</sym>"));
    QSet<QString> names;
    const QStringList files = corpus.entryList({QStringLiteral("*.gpx")}, QDir::Files);
    for (const QString& name : files) {
        const QString text = CodePage::toUnicode(readBytes(corpus.filePath(name)));
        for (const QRegularExpressionMatch& match : sym.globalMatch(text))
            names.insert(match.captured(1));
    }
    if (names.isEmpty())
        QSKIP("The corpus holds no symbol names.");
    Pairs table;
    for (const QString& name : std::as_const(names))
        table.append({name, name.toUpper()});

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("symtable.txt"));
    QCOMPARE(symtable::writeFile(path, table), QString());
    const symtable::ReadResult read = symtable::readFile(path);
    QCOMPARE(read.error, QString());
    QCOMPARE(read.pairs, table);
}

void TestSymtable::defaultNuviSymbolsAreGarminNames() {
    const QString path = QStringLiteral(TARNWICK_CORPUS) +
                         QStringLiteral("/gpsbabel__gpsbabel__reference__garmin_symbols.gpx");
    if (!QFile::exists(path))
        QSKIP("The corpus file with Garmin's symbol names is not present.");
    // MapSource names every Garmin symbol in this file; a nüvi symbol of the default table
    // that is missing from it is misspelt and would never match a favorite. The nüvi knows
    // four symbols that MapSource does not.
    static const QRegularExpression sym(QStringLiteral("<sym>([^<]*)</sym>"));
    QSet<QString> garmin;
    for (const QRegularExpressionMatch& match :
         sym.globalMatch(CodePage::toUnicode(readBytes(path))))
        garmin.insert(match.captured(1));
    const QSet<QString> nuviOnly = {QStringLiteral("Temple"), QStringLiteral("Synagogue"),
                                    QStringLiteral("House of Worship"),
                                    QStringLiteral("Drinking Water")};
    for (const SymbolPair& pair : symtable::defaultTable()) {
        if (!nuviOnly.contains(pair.nuvi))
            QVERIFY2(garmin.contains(pair.nuvi), qPrintable(pair.nuvi));
    }
}

QTEST_APPLESS_MAIN(TestSymtable)
#include "tst_symtable.moc"
