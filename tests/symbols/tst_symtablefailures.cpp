// The symbol table file when the disk fills up, its folder is read-only, or the file is not a
// file: a failed save keeps the earlier table whole and says why, and reading never blocks or
// runs on forever.

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
    void failedSaveKeepsEarlierTable_data() {
        QTest::addColumn<qint64>("room"); // bytes left on the disk; -1 for a read-only folder
        QTest::addColumn<bool>("defaultTable");
        QTest::newRow("full disk, edited table, nothing fits") << qint64(0) << false;
        QTest::newRow("full disk, edited table, one line fits") << qint64(20) << false;
        QTest::newRow("full disk, default table, nothing fits") << qint64(0) << true;
        QTest::newRow("full disk, default table, half fits") << qint64(1000) << true;
        QTest::newRow("read-only folder, edited table") << qint64(-1) << false;
        QTest::newRow("read-only folder, default table") << qint64(-1) << true;
    }

    void failedSaveKeepsEarlierTable() {
        QFETCH(qint64, room);
        QFETCH(bool, defaultTable);
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("Nuvi_1"));
        QVERIFY(QDir().mkdir(folder));
        const QString path = folder + QStringLiteral("/symtable.txt");
        const QList<SymbolPair> earlier = {
            {QStringLiteral("Residence"), QStringLiteral("HOUSE")},
            {QStringLiteral("Flag, Blue"), QStringLiteral("BLUE FLAG")}};
        QCOMPARE(symtable::writeFile(path, earlier), QString());
        QList<SymbolPair> edited = symtable::defaultTable();
        edited.append({QStringLiteral("Caf\u00e9"), QStringLiteral("CAFE")});
        const auto save = [&] {
            return defaultTable ? symtable::WriteDefaultSymbolTable(path)
                                : symtable::writeFile(path, edited);
        };

        QString error;
        if (room >= 0) {
            FileSizeLimit full(room);
            QVERIFY(full.active());
            error = save();
        } else {
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
            QFile probe(folder + QStringLiteral("/probe"));
            const bool holds = !probe.open(QIODevice::WriteOnly);
            probe.remove();
            if (holds)
                error = save();
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ExeOwner);
            if (!holds)
                QSKIP("This process can write into read-only folders.");
        }
        QVERIFY2(!error.isEmpty(), "a table that could not be written was reported saved");
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), symtable::serialize(earlier));
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System),
                 QStringList{QStringLiteral("symtable.txt")});
    }

    void tableThatIsNotAFileIsRefusedAtOnce_data() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("folder") << "folder";
        QTest::newRow("FIFO") << "fifo";
        QTest::newRow("link to /dev/zero") << "zero";
        QTest::newRow("missing") << "missing";
    }

    void tableThatIsNotAFileIsRefusedAtOnce() {
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
};

QTEST_APPLESS_MAIN(SymtableFailuresTest)
#include "tst_symtablefailures.moc"
