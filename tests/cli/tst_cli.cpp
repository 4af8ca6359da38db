// The command line against the window: each subcommand writes the same files, byte for byte,
// as the window's commands for the same choice; a failing one writes nothing.

#include "app/frmForm1.h"
#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/symtable.h"

#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using Tree = QMap<QString, QByteArray>;

namespace {

const QString sample =
    QStringLiteral(TARNWICK_CORPUS "/gpsbabel__gpsbabel__reference__gdb-sample.gpx");

// A home with one device, Nuvi_1, with its symbol table and the given extra entries: "name/"
// is a folder, "name:text" a file.
void makeHome(const QTemporaryDir& home, const QStringList& entries) {
    const QDir device(home.path() + QStringLiteral("/GPX/Nuvi_1"));
    QVERIFY(QDir().mkpath(device.path()));
    QVERIFY(symtable::WriteDefaultSymbolTable(device.filePath("symtable.txt")).isEmpty());
    for (const QString& entry : entries) {
        if (entry.endsWith(QLatin1Char('/'))) {
            QVERIFY(device.mkdir(entry));
            continue;
        }
        QFile file(device.filePath(entry.section(QLatin1Char(':'), 0, 0)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(entry.section(QLatin1Char(':'), 1).toUtf8());
    }
}

// Every entry under the workspace with its bytes; a dated copy's date and time are left out.
Tree tree(const QTemporaryDir& home) {
    static const QRegularExpression date(QStringLiteral("\\d{4}-\\d\\d-\\d\\d-\\d{4}"));
    const QDir root(home.path() + QStringLiteral("/GPX"));
    Tree entries;
    QDirIterator it(root.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info = it.nextFileInfo();
        QFile file(info.filePath());
        entries[root.relativeFilePath(info.filePath()).replace(date, QStringLiteral("DATE"))] =
            info.isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("/");
    }
    return entries;
}

} // namespace

class CliTest : public QObject {
    Q_OBJECT
private slots:
    void subcommandsWriteWhatTheWindowWrites_data();
    void subcommandsWriteWhatTheWindowWrites();
};

void CliTest::subcommandsWriteWhatTheWindowWrites_data() {
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("arguments");
    // The same choice made in the window, "" for none; "_" stands for a space in a name.
    QTest::addColumn<QString>("window");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message"); // a text the output holds
    const QString saved = QStringLiteral("FAVORITES.TXT:Gosel\tx\r\n3\tx\r\nNARVA\r\n");

    QTest::newRow("help") << QStringList() << QStringList{"--help"} << "" << 0 << "4  the GPX";
    QTest::newRow("version") << QStringList() << QStringList{"-v"} << "" << 0 << "tarnwick 1.0.0";
    QTest::newRow("copy") << QStringList() << QStringList{"copy", sample, "--device", "nuvi_1"}
                          << "copy" << 0 << "_CURRENT.GPX";
    QTest::newRow("list favorites") << QStringList() << QStringList{"list", sample, "--favorites"}
                                    << "favorites" << 0 << "NARVA\tFlag, Green\n";
    QTest::newRow("list tracks") << QStringList() << QStringList{"list", sample, "--tracks"}
                                 << "tracks" << 0 << "ACTIVE LOG 009\n";
    QTest::newRow("export all, symbols converted")
        << QStringList() << QStringList{"export", sample, "--device=Nuvi_1", "--favorites", "--all"}
        << "favorites all export" << 0 << "output/3.gpx";
    QTest::newRow("export by name, first in the file names it, no symbols")
        << QStringList() << QStringList{"export", sample,  "--device", "Nuvi_1", "--favorites",
                                        "--name", "NARVA", "--name",   "Gosel",  "--no-symbols"}
        << "nosymbols favorites mark:NARVA mark:Gosel export" << 0 << "output/Gosel.gpx";
    QTest::newRow("export new favorites")
        << QStringList{saved}
        << QStringList{"export", sample, "--device", "Nuvi_1", "--favorites", "--new"}
        << "favorites new export" << 0 << "Altenburg-Umgehung.gpx";
    QTest::newRow("export a track by name, beside an earlier export")
        << QStringList{"output/", "output/active log 003.GPX:earlier"}
        << QStringList{"export",   sample,   "--device",      "Nuvi_1",
                       "--tracks", "--name", "ACTIVE LOG 003"}
        << "tracks mark:ACTIVE_LOG_003 export" << 0 << "ACTIVE LOG 003 1.gpx";
    QTest::newRow("save favorites")
        << QStringList{saved} << QStringList{"save-favorites", sample, "--device", "Nuvi_1"}
        << "favorites save" << 0 << "FAVORITES.TXT";

    QTest::newRow("no such device")
        << QStringList() << QStringList{"copy", sample, "--device", "Nuvi_2"} << "" << 3
        << "no device \"Nuvi_2\" in ~/GPX (devices: Nuvi_1)";
    QTest::newRow("no such file") << QStringList() << QStringList{"list", "nowhere.gpx", "--tracks"}
                                  << "" << 4 << "nowhere.gpx can't be opened: No such file.";
    QTest::newRow("a folder as the file")
        << QStringList() << QStringList{"save-favorites", TARNWICK_CORPUS, "--device", "Nuvi_1"}
        << "" << 4 << "It is not a regular file.";
    QTest::newRow("no track of that name keeps the scratch file")
        << QStringList{"TEMP.TMP:earlier"}
        << QStringList{"export", sample, "--device", "Nuvi_1", "--tracks", "--name", "Gosel"} << ""
        << 5 << "no track named \"Gosel\"";
    QTest::newRow("nothing new")
        << QStringList{"FAVORITES.TXT:3\r\nAltenburg-Umgehung\r\nElsterberg\r\n"
                       "Gosel\r\nGreiz\r\nJahnstrasse\r\nLiebknechtstrasse\r\n"
                       "NARVA\r\nV\xc3\xb6lkerschlachtdenkmal\r\n"}
        << QStringList{"export", sample, "--device", "Nuvi_1", "--favorites", "--new"} << "" << 5
        << "none of the 9 favorites of the file is marked";
    QTest::newRow("new before any save")
        << QStringList()
        << QStringList{"export", sample, "--device", "Nuvi_1", "--favorites", "--new"} << "" << 5
        << "run save-favorites first";
    QTest::newRow("output folder in the way")
        << QStringList{"output:"}
        << QStringList{"export", sample, "--device", "Nuvi_1", "--favorites", "--all"} << "" << 1
        << "the export file could not be written in";
    QTest::newRow("favorites history in the way")
        << QStringList{"FAVORITES.TXT/"}
        << QStringList{"save-favorites", sample, "--device", "Nuvi_1"} << "" << 1
        << "the earlier file is unchanged";
    QTest::newRow("both kinds") << QStringList()
                                << QStringList{"list", sample, "--tracks", "--favorites"} << "" << 2
                                << "either --favorites or --tracks";
    QTest::newRow("new tracks") << QStringList() << QStringList{"export", sample,     "--device",
                                                                "Nuvi_1", "--tracks", "--new"}
                                << "" << 2 << "--new marks favorites";
    QTest::newRow("two choices") << QStringList()
                                 << QStringList{"export",   sample,  "--device", "Nuvi_1",
                                                "--tracks", "--all", "--name",   "x"}
                                 << "" << 2 << "one of --all, --new or --name";
    QTest::newRow("no device given")
        << QStringList() << QStringList{"copy", sample} << "" << 2 << "copy needs --device NAME";
    QTest::newRow("two files") << QStringList() << QStringList{"list", sample, sample, "--tracks"}
                               << "" << 2 << "list takes one FILE";
    QTest::newRow("unknown option") << QStringList() << QStringList{"copy", sample, "--devise", "x"}
                                    << "" << 2 << "Unknown option 'devise'";
}

void CliTest::subcommandsWriteWhatTheWindowWrites() {
    QFETCH(QStringList, entries);
    QFETCH(QStringList, arguments);
    QFETCH(QString, window);
    QFETCH(int, status);
    QFETCH(QString, message);
    if (!QFileInfo::exists(sample))
        QSKIP("the GPX corpus is absent");
    QTemporaryDir cliHome;
    QTemporaryDir windowHome;
    makeHome(cliHome, entries);
    makeHome(windowHome, entries);
    const Tree before = tree(cliHome);

    // Without a display: a window system is never touched.
    QProcess cli;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), cliHome.path());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    cli.setProcessEnvironment(environment);
    cli.start(QStringLiteral(TARNWICK_EXE), arguments);
    QVERIFY(cli.waitForFinished(60000));
    const QString output = QString::fromUtf8(cli.readAllStandardOutput());
    const QString errors = QString::fromUtf8(cli.readAllStandardError());
    QVERIFY2((output + errors).contains(message), qPrintable(output + errors));
    QCOMPARE(cli.exitCode(), status);
    QCOMPARE(errors.isEmpty(), status == 0);
    if (window.isEmpty()) {
        QCOMPARE(tree(cliHome), before);
        return;
    }

    qputenv("HOME", windowHome.path().toLocal8Bit());
    QStringList messages;
    Dialogs::setMessageHandler([&](const QString& text) { messages.append(text); });
    frmForm1 w;
    w.chooseSourceFile(sample);
    QCOMPARE(w.SourceFileName, QFileInfo(sample).fileName());
    const QMap<QString, std::function<void()>> steps = {
        {"copy", [&] { w.mnuCopyNuvi_Click(); }},
        {"favorites", [&] { w.mnuSelectFavorites_Click(); }},
        {"tracks", [&] { w.mnuSelectTracks_Click(); }},
        {"all", [&] { w.mnuSelectAllItems_Click(); }},
        {"new", [&] { w.mnuMarkNewFavorites_Click(); }},
        {"nosymbols", [&] { w.mnuWithOutSymbolConversion_Click(); }},
        {"export", [&] { w.mnuExport_Click(); }},
        {"save", [&] { w.mnuSaveFavorites_Click(); }},
    };
    for (const QString& step : window.split(QLatin1Char(' ')))
        steps.value(step, [&] {
            for (int row = 1; row < w.Grid1->Rows(); ++row)
                if (QStringLiteral("mark:") + w.Grid1->TextMatrix(row, 1) ==
                    QString(step).replace(QLatin1Char('_'), QLatin1Char(' ')))
                    w.Grid1->setTextMatrix(row, 0, QStringLiteral("X"));
        })();
    Dialogs::setMessageHandler({});
    QCOMPARE(messages, QStringList());
    // A listing writes nothing, where the window's tracks load writes its scratch file.
    if (arguments.first() != QLatin1String("list")) {
        QCOMPARE(tree(cliHome), tree(windowHome));
    } else {
        QCOMPARE(tree(cliHome), before);
        QString listed;
        for (int row = 1; row < w.Grid1->Rows(); ++row)
            listed += w.Grid1->TextMatrix(row, 1) +
                      (window == QLatin1String("tracks")
                           ? QString()
                           : QLatin1Char('\t') + w.Grid1->TextMatrix(row, 3)) +
                      QLatin1Char('\n');
        QCOMPARE(output, listed);
    }
}

QTEST_MAIN(CliTest)
#include "tst_cli.moc"
