// The symbol table file when the disk fills up or the file is not a file: a failed save keeps
// the earlier table whole, and reading never blocks or runs on forever.

#include "FileSizeLimit.h"

#include "symbols/symtable.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class SymtableFailuresTest : public QObject {
    Q_OBJECT
private slots:
    void saveOnFullDiskKeepsEarlierTable_data();
    void saveOnFullDiskKeepsEarlierTable();
    void tableThatIsNotAFileIsRefusedAtOnce_data();
    void tableThatIsNotAFileIsRefusedAtOnce();
};

void SymtableFailuresTest::saveOnFullDiskKeepsEarlierTable_data() {
    QTest::addColumn<qint64>("room");
    QTest::addColumn<bool>("defaultTable");
    QTest::newRow("edited table, nothing fits") << qint64(0) << false;
    QTest::newRow("edited table, one line fits") << qint64(20) << false;
    QTest::newRow("default table, nothing fits") << qint64(0) << true;
    QTest::newRow("default table, half fits") << qint64(1000) << true;
}

void SymtableFailuresTest::saveOnFullDiskKeepsEarlierTable() {
    QFETCH(qint64, room);
    QFETCH(bool, defaultTable);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("symtable.txt"));
    const QList<SymbolPair> earlier = {{QStringLiteral("Residence"), QStringLiteral("HOUSE")},
                                       {QStringLiteral("Flag, Blue"), QStringLiteral("BLUE FLAG")}};
    QCOMPARE(symtable::writeFile(path, earlier), QString());
    const QByteArray earlierBytes = symtable::serialize(earlier);

    QList<SymbolPair> edited = symtable::defaultTable();
    edited.append({QStringLiteral("Caf\u00e9"), QStringLiteral("CAFE")});
    QString error;
    {
        FileSizeLimit full(room);
        QVERIFY(full.active());
        error = defaultTable ? symtable::WriteDefaultSymbolTable(path)
                             : symtable::writeFile(path, edited);
    }
    QVERIFY2(!error.isEmpty(), "a table that could not be written was reported saved");
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), earlierBytes);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System),
             QStringList{QStringLiteral("symtable.txt")});
    QCOMPARE(symtable::readFile(path).pairs, earlier);
}

void SymtableFailuresTest::tableThatIsNotAFileIsRefusedAtOnce_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("folder") << "folder";
    QTest::newRow("FIFO") << "fifo";
    QTest::newRow("link to /dev/zero") << "zero";
    QTest::newRow("missing") << "missing";
}

void SymtableFailuresTest::tableThatIsNotAFileIsRefusedAtOnce() {
    QFETCH(QString, kind);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("symtable.txt"));
    if (kind == QLatin1String("folder"))
        QVERIFY(QDir().mkdir(path));
    else if (kind == QLatin1String("fifo"))
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else if (kind == QLatin1String("zero"))
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));

    const symtable::ReadResult result = symtable::readFile(path);
    QVERIFY(!result.error.isEmpty());
    QVERIFY(result.pairs.isEmpty());
}

QTEST_APPLESS_MAIN(SymtableFailuresTest)
#include "tst_symtablefailures.moc"
