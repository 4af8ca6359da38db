// The command line against the window: each subcommand writes the same files, byte for byte,
// as the window's commands for the same choice; a failing one writes nothing.

#include "app/MainWindowFixture.h"
#include "FileSizeLimit.h"
#include "symbols/symtable.h"

#include <QAction>
#include <QProcess>
#include <QRegularExpression>

#include <optional>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace {

const QString sample = TARNWICK_CORPUS "/gpsbabel__gpsbabel__reference__gdb-sample.gpx";

// Nuvi_1 with its symbol table and entries ("name/" a folder, "name:text" a file).
void makeHome(const QString& home, const QString& entries) {
    const QDir device(home + "/GPX/Nuvi_1");
    QVERIFY(QDir().mkpath(device.path()));
    QVERIFY(symtable::WriteDefaultSymbolTable(device.filePath("symtable.txt")).isEmpty());
    for (const QString& entry : entries.split(u'|', Qt::SkipEmptyParts))
        entry.endsWith(u'/')
            ? void(device.mkdir(entry))
            : MainWindowFixture::writeFile(device.filePath(entry.section(u':', 0, 0)),
                                           entry.section(u':', 1).toUtf8());
}

// The workspace below a home, the date in a backup's name masked.
QMap<QString, QByteArray> tree(const QString& home) {
    static const QRegularExpression date("\\d{4}-\\d\\d-\\d\\d-\\d{4}");
    QMap<QString, QByteArray> entries;
    const QMap<QString, QByteArray> all = MainWindowFixture::tree(home + "/GPX");
    for (auto it = all.begin(); it != all.end(); ++it)
        entries[QString(it.key()).replace(date, "DATE")] = it.value();
    return entries;
}

} // namespace

class CliTest : public QObject {
    Q_OBJECT
private slots:
    void subcommandsWriteWhatTheWindowWrites_data() { addTableRows("cli_rows.tsv"); }

    // In a Windows console a name outside ASCII shows as it is, not as UTF-8 bytes read in the
    // console's own code page ("VÃ¶lker..."), and the console keeps its code page.
    // (Redirected, the text is UTF-8: a row of the table.)
    void aConsoleShowsUtf8() {
#ifndef Q_OS_WIN
        QSKIP("Only a Windows console shows text in a code page of its own.");
#else
        AllocConsole(); // where the test started without one
        const UINT codePage = GetConsoleOutputCP();
        SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        const HANDLE screen =
            CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0, nullptr);
        // Wine gives a program a console only when it starts on a terminal, and the test
        // runner starts this test on one.
        if (screen == INVALID_HANDLE_VALUE)
            QSKIP("There is no console to be had.");
        CONSOLE_SCREEN_BUFFER_INFO info;
        QVERIFY(GetConsoleScreenBufferInfo(screen, &info));
        DWORD done = 0;
        FillConsoleOutputCharacterW(screen, L' ', DWORD(info.dwSize.X * info.dwSize.Y), {0, 0},
                                    &done);
        SetConsoleCursorPosition(screen, {0, 0});
        // Started as a command prompt starts it: on the prompt's console, its output there.
        QProcess cli;
        cli.setProcessChannelMode(QProcess::ForwardedChannels);
        cli.setCreateProcessArgumentsModifier([screen](QProcess::CreateProcessArguments* a) {
            a->flags &= ~DWORD(CREATE_NO_WINDOW);
            a->startupInfo->hStdOutput = a->startupInfo->hStdError = screen;
        });
        cli.start(TARNWICK_EXE, {"list", "Völkerschlachtdenkmal.gpx", "--tracks"});
        QVERIFY(cli.waitForFinished(60000));
        QCOMPARE(cli.exitCode(), 4);
        std::wstring shown(size_t(info.dwSize.X) * 4, L' ');
        QVERIFY(
            ReadConsoleOutputCharacterW(screen, shown.data(), DWORD(shown.size()), {0, 0}, &done));
        QCOMPARE(QString::fromStdWString(shown).simplified(),
                 "tarnwick: the file Völkerschlachtdenkmal.gpx can't be opened: No such file.");
        QCOMPARE(GetConsoleOutputCP(), codePage);
#endif
    }

    void subcommandsWriteWhatTheWindowWrites() {
        QFETCH(QStringList, row);
        QStringList arguments =
            row[2].replace("CORPUS", TARNWICK_CORPUS).replace("FILE", sample).split(u'|');
        if (!QFileInfo::exists(sample))
            QSKIP("the GPX corpus is absent");
#ifdef Q_OS_WIN
        if (row[0] == "a file alone needs a display")
            QSKIP("Windows always has a display: no window system can be missing there.");
#endif
        QTemporaryDir cliHome;
        MainWindowFixture f;
        makeHome(cliHome.path(), row[1]);
        makeHome(f.home.path(), row[1]);
        const auto before = tree(cliHome.path());

        // Without a display: a window system is never touched.
        QProcess cli;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", cliHome.path());
        environment.insert("TARNWICK_WORKSPACE", cliHome.path() + "/GPX");
        environment.insert("QT_QPA_PLATFORM", "xcb");
        environment.remove("DISPLAY");
        environment.remove("WAYLAND_DISPLAY");
        if (arguments.first().startsWith("QT_QPA_PLATFORM=")) // a window that can start
            environment.insert("QT_QPA_PLATFORM", arguments.takeFirst().section(u'=', 1));
        cli.setProcessEnvironment(environment);
        {
            std::optional<FileSizeLimit> full; // the command inherits a full disk
            if (arguments.first() == "FULL" && !arguments.takeFirst().isEmpty()) {
                if (FileSizeLimit::unavailable)
                    QSKIP(FileSizeLimit::unavailable);
                QVERIFY(full.emplace(0).active());
            }
            cli.start(TARNWICK_EXE, arguments);
            QVERIFY(cli.waitForStarted());
        }
        QVERIFY(cli.waitForFinished(60000));
        QString output = cli.readAllStandardOutput(), errors = cli.readAllStandardError();
#ifdef Q_OS_WIN
        // A console program's lines end with CR LF there.
        output.replace("\r\n", "\n");
        errors.replace("\r\n", "\n");
#endif
        QString said = asShown(row[5]
                                   .replace("{exe}", QDir::toNativeSeparators(TARNWICK_EXE))
                                   .replace("{file}", QDir::toNativeSeparators(sample))
                                   .replace("CORPUS", QDir::toNativeSeparators(TARNWICK_CORPUS)),
                               cliHome.path());
#ifdef Q_OS_WIN
        // The help option is also "-?" there, which widens the option column of the listing;
        // the texts are compared with their columns closed up.
        static const QRegularExpression columns(" {2,}");
        output.replace("-?, -h, --help", "-h, --help").replace(columns, "  ");
        said.replace(columns, "  ");
#endif
        QVERIFY2((output + errors).contains(said), qPrintable(output + errors));
        QCOMPARE(cli.exitCode(), row[4].toInt());
        QCOMPARE(errors.isEmpty(), row[4] == "0");
        if (row[3].isEmpty()) {
            QCOMPARE(tree(cliHome.path()), before);
            return;
        }

        frmForm1& w = *(f.window = std::make_unique<frmForm1>());
        w.chooseSourceFile(sample);
        QCOMPARE(w.SourceFileName, QFileInfo(sample).fileName());
        // Each step triggers a menu item as a click would, or marks the items of a name.
        for (const QString& step : row[3].split(u'|')) {
            if (auto* item = w.findChild<QAction*>(step))
                item->trigger();
            for (int r = 1; r < w.Grid1->Rows(); ++r)
                if ("mark:" + w.Grid1->TextMatrix(r, 1) == step)
                    w.Grid1->setTextMatrix(r, 0, "X");
        }
        QCOMPARE(f.messages, QStringList());
        // A listing writes nothing, where the window's tracks load writes its scratch file.
        const bool listing = arguments.first() == "list";
        QCOMPARE(tree(cliHome.path()), listing ? before : tree(f.home.path()));
        if (!listing)
            return;
        QStringList listed = f.column(1);
        for (qsizetype i = 0; i < listed.size() && !arguments.contains("--tracks"); ++i)
            listed[i] += "\t" + f.column(3)[i];
        QCOMPARE(output, listed.join(u'\n') + "\n");
    }
};

QTEST_MAIN(CliTest)
#include "tst_cli.moc"
