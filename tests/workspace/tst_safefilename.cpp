// The file-name rule that holds on every system, so that a workspace copied from one to the
// other stays valid.

#include "TestRows.h"

#include "workspace/SafeFileName.h"

#include <QDir>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

class SafeFileNameTest : public QObject {
    Q_OBJECT
private slots:
    void namesKeepTheRuleOnEverySystem_data() { addTableRows("file_name_rules.tsv"); }

    // A safe name keeps the rule as it is, and this system makes a folder of that name and an
    // export file with the longest counter under it and lists both by those very names.
    void namesKeepTheRuleOnEverySystem() {
        QFETCH(QStringList, row);
        const QString safe = row[2];
        QCOMPARE(safeFileName(row[1]), safe);
        QCOMPARE(safeFileName(safe), safe);
        if (safe.isEmpty())
            return;
        QTemporaryDir dir;
        const QString file = safe + " 9999.gpx";
        QVERIFY(QDir(dir.path()).mkdir(safe));
        QVERIFY(QFile(dir.filePath(file)).open(QIODevice::WriteOnly));
        const QStringList listed =
            QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        QCOMPARE(QSet<QString>(listed.begin(), listed.end()), QSet<QString>({safe, file}));
    }
};

QTEST_APPLESS_MAIN(SafeFileNameTest)
#include "tst_safefilename.moc"
