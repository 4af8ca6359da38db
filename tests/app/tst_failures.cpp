// Every reader and writer of the program when its file goes wrong under it: one row per
// command and fault. The driver checks that the command says so in one message that names
// the file and the reason, and in the status bar, and that no file that was there before
// changed.

#include "FileSizeLimit.h"
#include "HeldFile.h"
#include "MainWindowFixture.h"

#include "app/StatusReports.h"

#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"

#include <QLineEdit>

#include <optional>

#ifndef Q_OS_WIN
#include <sys/stat.h>
#endif

namespace {

const QByteArray sourceBytes = "<?xml version=\"1.0\"?>\r\n<gpx creator=\"x\">\r\n"
                               "<wpt lat=\"1\" lon=\"2\"><name>Home</name><sym>Residence</sym>"
                               "</wpt>\r\n<wpt lat=\"3\" lon=\"4\"><name>Work</name></wpt>\r\n"
                               "<trk><name>Day 1</name>\r\n<trkseg>\r\n"
                               "<trkpt lat=\"1\" lon=\"2\"></trkpt>\r\n</trkseg>\r\n</trk>\r\n"
                               "</gpx>\r\n";

} // namespace

class FailuresTest : public QObject {
    Q_OBJECT
private slots:
    void failuresSayWhatAndWhyAndKeepEarlierFiles_data();
    void failuresSayWhatAndWhyAndKeepEarlierFiles();
};

void FailuresTest::failuresSayWhatAndWhyAndKeepEarlierFiles_data() {
    addTableRows("app_failures.tsv");
}

void FailuresTest::failuresSayWhatAndWhyAndKeepEarlierFiles() {
    QFETCH(QStringList, row);
    const QString command = row[1], target = row[2], fault = row[3];
#ifdef Q_OS_WIN
    if (fault == "read error")
        QSKIP("Windows has no /proc/self/mem, a file whose reads fail.");
#endif
    if (fault == "read error" && !QFileInfo(QStringLiteral("/proc/self/mem")).isFile())
        QSKIP("This system has no /proc/self/mem to fail a read.");
    if ((fault == "full disk" || fault == "short write") && FileSizeLimit::unavailable)
        QSKIP(FileSizeLimit::unavailable);
    if (fault == "held" && HeldFile::unavailable)
        QSKIP(HeldFile::unavailable);
#ifdef Q_OS_WIN
    if (fault == "fifo")
        QSKIP("Windows has no FIFOs.");
#endif

    // A unit's file chosen, its tracks and favorites loaded, the favorites saved and marked.
    MainWindowFixture f;
    f.answers = {QStringLiteral("Nuvi_1")};
    frmForm1& w = f.start();
    QDir().mkpath(f.home.path() + QStringLiteral("/unit"));
    f.chooseSource(f.home.path() + QStringLiteral("/unit"), QStringLiteral("CURRENT.GPX"),
                   sourceBytes);
    w.mnuSelectTracks->trigger();
    w.mnuSelectFavorites->trigger();
    w.mnuSaveFavorites->trigger();
    if (command == QLatin1String("mnuExport") && target.endsWith(QLatin1String("TEMP.TMP")))
        w.mnuSelectTracks->trigger();
    w.mnuSelectAllItems->trigger();
    std::unique_ptr<frmSymbolTableManagement> editor;
    if (command == QLatin1String("editor"))
        editor = std::make_unique<frmSymbolTableManagement>(symtable::SymbolTablePath);
    QCOMPARE(f.messages, QStringList());

    const QString path = target == QLatin1String("table")
                             ? symtable::SymbolTablePath
                             : f.home.path() + QLatin1Char('/') + target;
    if (fault != "full disk" && fault != "short write" && fault != "held")
        QFile::remove(path);
    if (fault == "folder")
        QVERIFY(QDir().mkpath(path));
#ifndef Q_OS_WIN
    else if (fault == "fifo")
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0644), 0);
#endif
    else if (fault == "read error")
        QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), path));
    else if (fault == "file in the way")
        f.writeFile(path, "not a folder");
    else if (fault == "full disk" && target == "table" && !editor) // gone, to be made anew
        QFile::remove(path);
    const QMap<QString, QByteArray> before = f.tree(f.home.path());

    {
        std::optional<HeldFile> held;
        if (fault == "held")
            QVERIFY(held.emplace(path).active());
        std::optional<FileSizeLimit> full;
        if (fault == "full disk" || fault == "short write") {
            full.emplace(fault == "short write" ? 20 : 0);
            QVERIFY(full->active());
        }
        f.answers = {QStringLiteral("Nuvi_2")};
        if (editor) {
            editor->mnuSave_Click();
        } else if (command == QLatin1String("editor open")) {
            // A table the editor could not show must not be saved over.
            editor = std::make_unique<frmSymbolTableManagement>(symtable::SymbolTablePath);
            editor->findChild<QAction*>("mnuSave")->trigger();
        } else {
            w.findChild<QAction*>(command)->trigger();
        }
    }
    QCOMPARE(f.messages.join('|'), asShown(row[4], f.home.path()));
    QCOMPARE(w.statusReports()->text(), asShown(row[5], f.home.path()));
    // Nothing that was there changed, and nothing half-written stayed behind; an export
    // may leave the output folder it made, empty.
    QMap<QString, QByteArray> after = f.tree(f.home.path());
    const QString output = QStringLiteral("GPX/Nuvi_1/output");
    if (!before.contains(output) && after.value(output) == "/")
        after.remove(output);
    QCOMPARE(after, before);
    QVERIFY(!w.txtStatus->text().contains(QLatin1String("Done")));
}

QTEST_MAIN(FailuresTest)
#include "tst_failures.moc"
