// The command line against the window: each subcommand writes the same files, byte for byte,
// as the window's commands for the same choice; a failing one writes nothing.

#include "app/frmForm1.h"
#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/symtable.h"

#include <QAction>
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
    QTest::addColumn<QString>("window");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QFile rows(QStringLiteral(TARNWICK_CLI_ROWS));
    QVERIFY(rows.open(QIODevice::ReadOnly | QIODevice::Text));
    while (!rows.atEnd()) {
        const QString line = QString::fromUtf8(rows.readLine()).chopped(1);
        QStringList cells = line.split(QLatin1Char('\t'));
        for (QString& cell : cells)
            cell.replace(QLatin1String("\\t"), QLatin1String("\t"))
                .replace(QLatin1String("\\r"), QLatin1String("\r"))
                .replace(QLatin1String("\\n"), QLatin1String("\n"));
        if (line.startsWith(QLatin1Char('#')) || cells.size() < 6)
            continue;
        const auto list = [](const QString& cell) {
            return cell.split(QLatin1Char('|'), Qt::SkipEmptyParts)
                .replaceInStrings(QRegularExpression(QStringLiteral("^FILE$")), sample)
                .replaceInStrings(QRegularExpression(QStringLiteral("^CORPUS$")), TARNWICK_CORPUS);
        };
        QTest::newRow(qPrintable(cells[0]))
            << list(cells[1]) << list(cells[2]) << cells[3] << cells[4].toInt() << cells[5];
    }
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
    // Each step triggers a menu item as a click would, or marks the items of a name.
    for (const QString& step : window.split(QLatin1Char('|'))) {
        if (auto* item = w.findChild<QAction*>(step))
            item->trigger();
        for (int row = 1; row < w.Grid1->Rows(); ++row)
            if (QStringLiteral("mark:") + w.Grid1->TextMatrix(row, 1) == step)
                w.Grid1->setTextMatrix(row, 0, QStringLiteral("X"));
    }
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
                      (arguments.contains(QLatin1String("--tracks"))
                           ? QString()
                           : QLatin1Char('\t') + w.Grid1->TextMatrix(row, 3)) +
                      QLatin1Char('\n');
        QCOMPARE(output, listed);
    }
}

QTEST_MAIN(CliTest)
#include "tst_cli.moc"
