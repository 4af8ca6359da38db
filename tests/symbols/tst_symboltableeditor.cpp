#include "app/MainWindowFixture.h"
#include "items/FlexGrid.h"
#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPointer>
#include <QtTest>

namespace {

const auto readBytes = &MainWindowFixture::readFile;
const auto writeBytes = &MainWindowFixture::writeFile;

// The editor window and the controls the tests drive.
struct Editor {
    frmSymbolTableManagement* window;
    FlexGrid* grid = window->findChild<FlexGrid*>(QStringLiteral("Grid1"));
    QLineEdit* text = window->findChild<QLineEdit*>(QStringLiteral("Text1"));

    QAction* action(const char* name) const {
        return window->findChild<QAction*>(QString::fromLatin1(name));
    }
    void save() const { action("mnuSave")->trigger(); }
    void click(int row, int col) const {
        const QModelIndex index = grid->model()->index(row, col);
        grid->scrollTo(index);
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(index).center());
    }
    // Starts an edit of a cell with a key (which is not entered) and types after its text.
    void type(int row, int col, const QString& typed) const {
        click(row, col);
        QTest::keyClick(grid, Qt::Key_Z, {}, 'z');
        QTest::keyClicks(text, typed);
    }
};

// Opens the editor the way the main window does, shown and active.
Editor open(const QString& path) {
    frmSymbolTableManagement* window = showSymbolTableEditor(path);
    QApplication::setActiveWindow(window);
    if (!QTest::qWaitForWindowActive(window))
        qWarning("The editor did not become the active window.");
    return {window};
}

QtMessageHandler testLogHandler = nullptr;

// The offscreen platform says so whenever a window asks for what it cannot do.
void dropPlatformWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (!text.startsWith(QLatin1String("This plugin does not support")))
        testLogHandler(type, context, text);
}

} // namespace

class TestSymbolTableEditor : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
    QStringList m_messages;

private slots:
    void initTestCase() { testLogHandler = qInstallMessageHandler(dropPlatformWarnings); }

    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        // Messages name files the way the user knows them, relative to the home folder.
        qputenv("HOME", QFile::encodeName(m_dir->path()));
        m_path = m_dir->filePath(QStringLiteral("symtable.txt"));
        QCOMPARE(symtable::WriteDefaultSymbolTable(m_path), QString());
        m_messages.clear();
        Dialogs::setMessageHandler([this](const QString& text) { m_messages.append(text); });
        QVERIFY(!openSymbolTableEditor());
    }

    void cleanup() {
        if (frmSymbolTableManagement* editor = openSymbolTableEditor())
            editor->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_dir.reset();
    }

    void opensOnDefaultTableAndShowsEachCell() {
        // A missing file is written with the default table first.
        QVERIFY(QFile::remove(m_path));
        const Editor e = open(m_path);
        QCOMPARE(readBytes(m_path), symtable::serialize(symtable::defaultTable()));
        QCOMPARE(e.window->objectName(), QStringLiteral("frmSymbolTableManagement"));
        QCOMPARE(e.window->windowTitle(), QStringLiteral("SYMBOL TABLE EDITOR"));
        QCOMPARE(e.grid->Rows(), 88);
        QCOMPARE(e.grid->FixedRows(), 1);
        QCOMPARE(e.grid->TextMatrix(0, 0), QStringLiteral("NUVI SYMBOL"));
        QCOMPARE(e.grid->TextMatrix(0, 1), QStringLiteral("DELORME SYMBOL"));
        QCOMPARE(e.grid->TextMatrix(87, 0), QStringLiteral("Shipwreck"));
        QCOMPARE(e.text->text(), QStringLiteral("QVN_WAYPOINT"));
        QCOMPARE(QApplication::focusWidget(), e.grid);

        e.click(18, 0);
        QCOMPARE(e.text->text(), QStringLiteral("Flag, Blue"));
        const struct {
            Qt::Key key;
            const char* shows;
        } moves[] = {{Qt::Key_Right, "BLUE FLAG"},     {Qt::Key_Down, "GREEN FLAG"},
                     {Qt::Key_Left, "Flag, Green"},    {Qt::Key_Up, "Flag, Blue"},
                     {Qt::Key_Up, "Medical Facility"}, {Qt::Key_Right, "QVN_MEDICAL_FACILITY"}};
        for (const auto& move : moves) {
            QTest::keyClick(e.grid, move.key);
            QCOMPARE(e.text->text(), QString::fromLatin1(move.shows));
        }
        // The heading row never becomes the current cell.
        e.click(1, 0);
        QTest::keyClick(e.grid, Qt::Key_Up);
        QCOMPARE(e.grid->Row(), 1);
        QCOMPARE(e.text->text(), QStringLiteral("Waypoint"));
        // Tab leaves the grid for the box, rather than moving between cells.
        QTest::keyClick(e.grid, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), e.text);
        QCOMPARE(e.grid->Col(), 0);
        QVERIFY(m_messages.isEmpty());
    }

    void typingEditsTheCellAndEnterReturnsToGrid() {
        const Editor e = open(m_path);
        e.click(15, 1);
        e.text->setText(QStringLiteral("stale"));
        // The key starts the edit on the cell's own text, cursor at its end, and is not entered.
        QTest::keyClick(e.grid, Qt::Key_Z, {}, 'z');
        QCOMPARE(QApplication::focusWidget(), e.text);
        QCOMPARE(e.text->text(), QStringLiteral("MONEY"));
        QCOMPARE(e.text->cursorPosition(), 5);
        QVERIFY(!e.text->hasSelectedText());

        QTest::keyClicks(e.text, QStringLiteral("_2"));
        QCOMPARE(e.grid->TextMatrix(15, 1), QStringLiteral("MONEY_2"));
        QTest::keyClick(e.text, Qt::Key_Backspace);
        QCOMPARE(e.grid->TextMatrix(15, 1), QStringLiteral("MONEY_"));
        QTest::keyClick(e.text, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), e.grid);
        // The keypad's Enter returns as well; the next cell reached shows its own text.
        QTest::keyClick(e.grid, Qt::Key_B, {}, 'b');
        QTest::keyClick(e.text, Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(QApplication::focusWidget(), e.grid);
        QTest::keyClick(e.grid, Qt::Key_Down);
        QCOMPARE(e.text->text(), QStringLiteral("POST OFFICE"));
        QCOMPARE(e.grid->TextMatrix(15, 1), QStringLiteral("MONEY_"));
    }

    void editsOfBothColumnsAreSaved() {
        const Editor e = open(m_path);
        e.type(7, 0, QStringLiteral(" 2"));
        QTest::keyClick(e.text, Qt::Key_Return);
        // Emptying the box empties the cell.
        e.type(15, 1, {});
        for (int i = 0; i < 5; ++i)
            QTest::keyClick(e.text, Qt::Key_Backspace);
        QTest::keyClick(e.window, Qt::Key_S, Qt::ControlModifier);
        QVERIFY(m_messages.isEmpty());
        QList<SymbolPair> expected = symtable::defaultTable();
        expected[6].nuvi = QStringLiteral("Residence 2");
        expected[14].delorme.clear();
        const QByteArray bytes = readBytes(m_path);
        QCOMPARE(bytes, symtable::serialize(expected));
        QVERIFY(bytes.contains("\r\nBank\t\r\nPost Office\tPOST OFFICE\r\n"));
    }

    void unchangedSaveIsByteIdentical_data() {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray allBytes;
        for (int b = 0; b < 256; ++b) {
            if (b != '\t' && b != '\r' && b != '\n')
                allBytes += char(b);
        }
        QTest::newRow("default table") << symtable::serialize(symtable::defaultTable());
        QTest::newRow("empty and spaced names")
            << QByteArray("\tMONEY\r\nBank\t\r\n Bank \t MONEY \r\nA\tB\tC\r\n");
        QTest::newRow("every byte value") << QByteArray(allBytes + '\t' + allBytes + "\r\n");
    }

    void unchangedSaveIsByteIdentical() {
        QFETCH(QByteArray, bytes);
        writeBytes(m_path, bytes);
        const Editor e = open(m_path);
        // Moving around and starting an edit without changing anything changes nothing.
        QTest::keyClick(e.grid, Qt::Key_Left);
        e.type(1, 0, {});
        QTest::keyClick(e.text, Qt::Key_Return);
        e.save();
        QVERIFY(m_messages.isEmpty());
        QCOMPARE(readBytes(m_path), bytes);
    }

    void onlyCodePageCharactersCanBeTyped() {
        const Editor e = open(m_path);
        e.type(1, 1, {});
        e.text->insert(QStringLiteral(" \u20AC\u00E9"));
        // Characters the file cannot hold, and the TAB and line ends that would split a row.
        for (const QString& refused : {QStringLiteral("\u0100"), QStringLiteral("\u4E2D"),
                                       QStringLiteral("a\tb"), QStringLiteral("a\r\nb")}) {
            e.text->insert(refused);
            QCOMPARE(e.text->text(), QStringLiteral("QVN_WAYPOINT \u20AC\u00E9"));
        }
        QTest::keyClick(e.text, Qt::Key_Return);
        e.save();
        QVERIFY(readBytes(m_path).startsWith("Waypoint\tQVN_WAYPOINT \x80\xE9\r\nGeocache\t"));
    }

    void exitDiscardsEditsWithoutAsking() {
        const Editor e = open(m_path);
        QPointer<frmSymbolTableManagement> window = e.window;
        e.type(1, 1, QStringLiteral("XYZ"));
        QCOMPARE(e.grid->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINTXYZ"));
        e.action("mnuExit")->trigger();
        QVERIFY(!openSymbolTableEditor());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window.isNull());
        QVERIFY(m_messages.isEmpty());
        QCOMPARE(readBytes(m_path), symtable::serialize(symtable::defaultTable()));
        QCOMPARE(open(m_path).grid->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINT"));
    }

    void reopeningKeepsEditsAndTheFileItOpened() {
        const QString other = m_dir->filePath(QStringLiteral("Nuvi_2/symtable.txt"));
        QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("Nuvi_2")));
        writeBytes(other, "Other\tDEVICE\r\n");
        const Editor e = open(m_path);
        e.type(30, 1, QStringLiteral("!"));
        // The main window takes another device while the editor is open: the open editor is
        // only brought forward, with its edits, and still saves to the file it loaded.
        QCOMPARE(showSymbolTableEditor(other), e.window);
        QCOMPARE(e.window->tablePath(), m_path);
        QCOMPARE(e.grid->Rows(), 88);
        QCOMPARE(e.grid->TextMatrix(30, 1), QStringLiteral("DINING!"));
        QCOMPARE(e.grid->Row(), 30);
        e.save();
        QCOMPARE(readBytes(other), QByteArray("Other\tDEVICE\r\n"));
        QCOMPARE(symtable::readFile(m_path).pairs.at(29).delorme, QStringLiteral("DINING!"));
    }

    void saveLeavesMainWindowTableUntilReload() {
        MainWindowFixture f;
        f.answers = {QStringLiteral("Nuvi_1")};
        frmForm1& w = f.start();
        w.mnuReloadSymTable->trigger();
        w.mnuSymbolTable->trigger();
        QVERIFY(openSymbolTableEditor());
        const Editor e{openSymbolTableEditor()};
        e.type(1, 1, QStringLiteral("!"));
        e.save();
        QCOMPARE(w.Grid2->TextMatrix(0, 1), QStringLiteral("QVN_WAYPOINT"));
        w.mnuReloadSymTable->trigger();
        QCOMPARE(w.Grid2->TextMatrix(0, 1), QStringLiteral("QVN_WAYPOINT!"));
        QCOMPARE(w.Grid2->Rows(), 87);
        QVERIFY(f.messages.isEmpty());
    }

    void tableWithoutRowsShowsHeadingOnly_data() {
        QTest::addColumn<bool>("folder");
        // A folder where the file should be exists, so no default table is written over it.
        QTest::newRow("folder in its place") << true;
        QTest::newRow("no line with a TAB") << false;
    }

    void tableWithoutRowsShowsHeadingOnly() {
        QFETCH(bool, folder);
        QVERIFY(QFile::remove(m_path));
        if (folder)
            QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("symtable.txt")));
        else
            writeBytes(m_path, "\r\n\r\nno tab here\r\n");
        const Editor e = open(m_path);
        QCOMPARE(m_messages.size(), folder ? 1 : 0);
        if (folder) {
            QVERIFY2(m_messages.first().contains(QStringLiteral("~/symtable.txt")),
                     qPrintable(m_messages.first()));
            QVERIFY(!e.action("mnuSave")->isEnabled());
        }
        QCOMPARE(e.grid->Rows(), 1);
        QCOMPARE(e.grid->TextMatrix(0, 1), QStringLiteral("DELORME SYMBOL"));
        QVERIFY(!e.text->isEnabled());
        QCOMPARE(e.text->text(), QString());
        QTest::keyClick(e.grid, Qt::Key_A, {}, 'a');
        QCOMPARE(e.grid->Rows(), 1);
        QCOMPARE(QApplication::focusWidget(), e.grid);
        QCOMPARE(QFileInfo(m_path).isDir(), folder);
    }

    void failedSaveKeepsFileAndNamesIt() {
        const QString folder = m_dir->filePath(QStringLiteral("Nuvi_1"));
        QVERIFY(QDir().mkdir(folder));
        const QString path = folder + QStringLiteral("/symtable.txt");
        QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
        const Editor e = open(path);
        e.type(1, 1, QStringLiteral("!"));
        // The device folder is taken away while the editor is open.
        QVERIFY(QDir(folder).removeRecursively());
        e.save();
        QCOMPARE(m_messages.size(), 1);
        const QStringList lines = m_messages.first().split(QStringLiteral("\r\n"));
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines.at(0).contains(QStringLiteral("~/Nuvi_1/symtable.txt")),
                 qPrintable(lines.at(0)));
        QVERIFY(!lines.at(1).isEmpty());
        QVERIFY(!QFile::exists(path));
        // The edits stay in the grid for another try.
        QCOMPARE(e.grid->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINT!"));
    }
};

QTEST_MAIN(TestSymbolTableEditor)
#include "tst_symboltableeditor.moc"
