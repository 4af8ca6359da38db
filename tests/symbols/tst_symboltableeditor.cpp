#include "app/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenuBar>
#include <QPointer>
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

FlexGrid* gridOf(QWidget* editor) {
    return editor->findChild<FlexGrid*>(QStringLiteral("Grid1"));
}

QLineEdit* textOf(QWidget* editor) {
    return editor->findChild<QLineEdit*>(QStringLiteral("Text1"));
}

QAction* actionOf(QWidget* editor, const char* name) {
    return editor->findChild<QAction*>(QString::fromLatin1(name));
}

void clickCell(FlexGrid* grid, int row, int col) {
    const QModelIndex index = grid->model()->index(row, col);
    grid->scrollTo(index);
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(index).center());
}

QtMessageHandler testLogHandler = nullptr;

// The offscreen platform says so whenever a window asks for what it cannot do.
void dropPlatformWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.startsWith(QLatin1String("This plugin does not support")))
        return;
    testLogHandler(type, context, text);
}

} // namespace

class TestSymbolTableEditor : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void opensOnDefaultTable();
    void clickAndArrowKeysShowEachCell();
    void typingStartsEditWithoutEnteringTheKey();
    void editingFollowsEveryKeyAndEnterReturnsToGrid();
    void editsOfBothColumnsAreSaved();
    void unchangedSaveIsByteIdentical_data();
    void unchangedSaveIsByteIdentical();
    void onlyCodePageCharactersCanBeTyped();
    void exitDiscardsEditsWithoutAsking();
    void reopeningWhileOpenKeepsEdits();
    void savesToTheFileItOpened();
    void missingFileGetsDefaultTable();
    void unreadableTableIsReportedAndNotSaved();
    void tableWithoutRowsShowsHeadingOnly();
    void failedSaveKeepsFileAndNamesIt();

private:
    // Opens the editor the way the main window does, shown and active.
    frmSymbolTableManagement* open(const QString& path);

    QTemporaryDir* m_dir = nullptr;
    QString m_path;
    QStringList m_messages;
};

void TestSymbolTableEditor::initTestCase() {
    testLogHandler = qInstallMessageHandler(dropPlatformWarnings);
    Dialogs::setMessageHandler([this](const QString& text) { m_messages.append(text); });
}

void TestSymbolTableEditor::init() {
    m_dir = new QTemporaryDir;
    QVERIFY(m_dir->isValid());
    // Messages name files the way the user knows them, relative to the home folder.
    qputenv("HOME", QFile::encodeName(m_dir->path()));
    m_path = m_dir->filePath(QStringLiteral("symtable.txt"));
    QCOMPARE(symtable::WriteDefaultSymbolTable(m_path), QString());
    m_messages.clear();
    QVERIFY(!openSymbolTableEditor());
}

void TestSymbolTableEditor::cleanup() {
    if (frmSymbolTableManagement* editor = openSymbolTableEditor())
        editor->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    delete m_dir;
    m_dir = nullptr;
}

frmSymbolTableManagement* TestSymbolTableEditor::open(const QString& path) {
    frmSymbolTableManagement* editor = showSymbolTableEditor(path);
    QApplication::setActiveWindow(editor);
    if (!QTest::qWaitForWindowActive(editor))
        qWarning("The editor did not become the active window.");
    return editor;
}

void TestSymbolTableEditor::opensOnDefaultTable() {
    frmSymbolTableManagement* editor = open(m_path);
    QCOMPARE(editor->objectName(), QStringLiteral("frmSymbolTableManagement"));
    QCOMPARE(editor->windowTitle(), QStringLiteral("SYMBOL TABLE EDITOR"));
    QVERIFY(!editor->parentWidget());
    QCOMPARE(editor->centralWidget()->size(), QSize(456, 414));
    QCOMPARE(editor->tablePath(), m_path);

    FlexGrid* grid = gridOf(editor);
    QLineEdit* text = textOf(editor);
    QCOMPARE(grid->geometry(), QRect(8, 32, 441, 377));
    QCOMPARE(text->geometry(), QRect(8, 8, 433, 19));
    QCOMPARE(grid->Cols(), 2);
    QCOMPARE(grid->Rows(), 88);
    QCOMPARE(grid->FixedRows(), 1);
    QCOMPARE(grid->TextMatrix(0, 0), QStringLiteral("NUVI SYMBOL"));
    QCOMPARE(grid->TextMatrix(0, 1), QStringLiteral("DELORME SYMBOL"));
    QCOMPARE(grid->ColWidth(0), 3120);
    QCOMPARE(grid->ColWidth(1), 3120);
    QCOMPARE(grid->TextMatrix(87, 0), QStringLiteral("Shipwreck"));
    QCOMPARE(grid->Row(), 1);
    QCOMPARE(grid->Col(), 1);
    QCOMPARE(text->text(), QStringLiteral("QVN_WAYPOINT"));
    QVERIFY(text->isEnabled());
    QCOMPARE(QApplication::focusWidget(), grid);
    // Tab leaves the grid for the box, rather than moving between cells.
    QTest::keyClick(grid, Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), text);
    QCOMPARE(grid->Row(), 1);
    QCOMPARE(grid->Col(), 1);

    QAction* save = actionOf(editor, "mnuSave");
    QCOMPARE(save->text(), QStringLiteral("Save"));
    QCOMPARE(save->shortcut(), QKeySequence(QStringLiteral("Ctrl+S")));
    QCOMPARE(actionOf(editor, "mnuExit")->text(), QStringLiteral("Exit"));
    QVERIFY(m_messages.isEmpty());
}

void TestSymbolTableEditor::clickAndArrowKeysShowEachCell() {
    frmSymbolTableManagement* editor = open(m_path);
    FlexGrid* grid = gridOf(editor);
    QLineEdit* text = textOf(editor);
    clickCell(grid, 18, 0);
    QCOMPARE(grid->Row(), 18);
    QCOMPARE(text->text(), QStringLiteral("Flag, Blue"));

    const struct {
        Qt::Key key;
        const char* shows;
    } moves[] = {{Qt::Key_Right, "BLUE FLAG"},     {Qt::Key_Down, "GREEN FLAG"},
                 {Qt::Key_Left, "Flag, Green"},    {Qt::Key_Up, "Flag, Blue"},
                 {Qt::Key_Up, "Medical Facility"}, {Qt::Key_Right, "QVN_MEDICAL_FACILITY"}};
    for (const auto& move : moves) {
        QTest::keyClick(grid, move.key);
        QCOMPARE(text->text(), QString::fromLatin1(move.shows));
    }

    // The heading row never becomes the current cell.
    clickCell(grid, 1, 0);
    QTest::keyClick(grid, Qt::Key_Up);
    QCOMPARE(grid->Row(), 1);
    QCOMPARE(text->text(), QStringLiteral("Waypoint"));
}

void TestSymbolTableEditor::typingStartsEditWithoutEnteringTheKey() {
    frmSymbolTableManagement* editor = open(m_path);
    FlexGrid* grid = gridOf(editor);
    QLineEdit* text = textOf(editor);
    clickCell(grid, 15, 1);
    text->setText(QStringLiteral("stale"));

    QTest::keyClick(grid, Qt::Key_Z, {}, 'z');
    QCOMPARE(QApplication::focusWidget(), text);
    QCOMPARE(text->text(), QStringLiteral("MONEY"));
    QCOMPARE(text->cursorPosition(), 5);
    QVERIFY(!text->hasSelectedText());
    QCOMPARE(grid->TextMatrix(15, 1), QStringLiteral("MONEY"));
}

void TestSymbolTableEditor::editingFollowsEveryKeyAndEnterReturnsToGrid() {
    frmSymbolTableManagement* editor = open(m_path);
    FlexGrid* grid = gridOf(editor);
    QLineEdit* text = textOf(editor);
    QTest::keyClick(grid, Qt::Key_A, {}, 'a');

    QTest::keyClicks(text, QStringLiteral("_2"));
    QCOMPARE(grid->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINT_2"));
    QTest::keyClick(text, Qt::Key_Backspace);
    QCOMPARE(grid->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINT_"));
    QTest::keyClick(text, Qt::Key_Home);
    QTest::keyClick(text, Qt::Key_Delete);
    QCOMPARE(grid->TextMatrix(1, 1), QStringLiteral("VN_WAYPOINT_"));
    QCOMPARE(QApplication::focusWidget(), text);

    QTest::keyClick(text, Qt::Key_Return);
    QCOMPARE(QApplication::focusWidget(), grid);
    QCOMPARE(grid->TextMatrix(1, 1), QStringLiteral("VN_WAYPOINT_"));

    // The keypad's Enter returns as well; the next cell reached shows its own text.
    QTest::keyClick(grid, Qt::Key_B, {}, 'b');
    QTest::keyClick(text, Qt::Key_Enter, Qt::KeypadModifier);
    QCOMPARE(QApplication::focusWidget(), grid);
    QTest::keyClick(grid, Qt::Key_Down);
    QCOMPARE(text->text(), QStringLiteral("GEOCACHE"));
    QCOMPARE(grid->TextMatrix(1, 1), QStringLiteral("VN_WAYPOINT_"));
}

void TestSymbolTableEditor::editsOfBothColumnsAreSaved() {
    frmSymbolTableManagement* editor = open(m_path);
    FlexGrid* grid = gridOf(editor);
    QLineEdit* text = textOf(editor);
    clickCell(grid, 7, 0);
    QTest::keyClick(grid, Qt::Key_X, {}, 'x');
    QTest::keyClicks(text, QStringLiteral(" 2"));
    QTest::keyClick(text, Qt::Key_Return);
    QCOMPARE(grid->TextMatrix(7, 0), QStringLiteral("Residence 2"));
    QCOMPARE(grid->TextMatrix(7, 1), QStringLiteral("HOUSE"));

    // Emptying the box empties the cell.
    clickCell(grid, 15, 1);
    QTest::keyClick(grid, Qt::Key_M, {}, 'm');
    for (int i = 0; i < 5; ++i)
        QTest::keyClick(text, Qt::Key_Backspace);
    QCOMPARE(grid->TextMatrix(15, 1), QString());

    QTest::keyClick(editor, Qt::Key_S, Qt::ControlModifier);
    QVERIFY(m_messages.isEmpty());
    QList<SymbolPair> expected = symtable::defaultTable();
    expected[6].nuvi = QStringLiteral("Residence 2");
    expected[14].delorme.clear();
    const QByteArray bytes = readBytes(m_path);
    QCOMPARE(bytes, symtable::serialize(expected));
    QVERIFY(bytes.contains("\r\nBank\t\r\nPost Office\tPOST OFFICE\r\n"));
}

void TestSymbolTableEditor::unchangedSaveIsByteIdentical_data() {
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

void TestSymbolTableEditor::unchangedSaveIsByteIdentical() {
    QFETCH(QByteArray, bytes);
    QVERIFY(writeBytes(m_path, bytes));
    frmSymbolTableManagement* editor = open(m_path);
    // Moving around and starting an edit without changing anything changes nothing.
    QTest::keyClick(gridOf(editor), Qt::Key_Left);
    QTest::keyClick(gridOf(editor), Qt::Key_Q, {}, 'q');
    QTest::keyClick(textOf(editor), Qt::Key_Return);
    actionOf(editor, "mnuSave")->trigger();
    QVERIFY(m_messages.isEmpty());
    QCOMPARE(readBytes(m_path), bytes);
}

void TestSymbolTableEditor::onlyCodePageCharactersCanBeTyped() {
    frmSymbolTableManagement* editor = open(m_path);
    FlexGrid* grid = gridOf(editor);
    QLineEdit* text = textOf(editor);
    QTest::keyClick(grid, Qt::Key_A, {}, 'a');
    text->insert(QStringLiteral(" \u20AC\u00E9"));
    QCOMPARE(text->text(), QStringLiteral("QVN_WAYPOINT \u20AC\u00E9"));
    // Characters the file cannot hold, and the TAB and line ends that would split a row.
    for (const QString& refused : {QStringLiteral("\u0100"), QStringLiteral("\u4E2D"),
                                   QStringLiteral("a\tb"), QStringLiteral("a\r\nb")}) {
        text->insert(refused);
        QCOMPARE(text->text(), QStringLiteral("QVN_WAYPOINT \u20AC\u00E9"));
    }
    QTest::keyClick(text, Qt::Key_Return);
    actionOf(editor, "mnuSave")->trigger();
    QVERIFY(readBytes(m_path).startsWith("Waypoint\tQVN_WAYPOINT \x80\xE9\r\nGeocache\t"));
}

void TestSymbolTableEditor::exitDiscardsEditsWithoutAsking() {
    QPointer<frmSymbolTableManagement> editor = open(m_path);
    QTest::keyClick(gridOf(editor), Qt::Key_A, {}, 'a');
    QTest::keyClicks(textOf(editor), QStringLiteral("XYZ"));
    QCOMPARE(gridOf(editor)->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINTXYZ"));

    actionOf(editor, "mnuExit")->trigger();
    QVERIFY(!openSymbolTableEditor());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(editor.isNull());
    QVERIFY(m_messages.isEmpty());
    QCOMPARE(readBytes(m_path), symtable::serialize(symtable::defaultTable()));

    frmSymbolTableManagement* again = open(m_path);
    QCOMPARE(gridOf(again)->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINT"));
    QCOMPARE(gridOf(again)->Rows(), 88);
}

void TestSymbolTableEditor::reopeningWhileOpenKeepsEdits() {
    frmSymbolTableManagement* editor = open(m_path);
    clickCell(gridOf(editor), 30, 1);
    QTest::keyClick(gridOf(editor), Qt::Key_A, {}, 'a');
    QTest::keyClicks(textOf(editor), QStringLiteral("!"));

    // The file changes on disk meanwhile; the open editor is only brought forward.
    QVERIFY(writeBytes(m_path, "A\tB\r\n"));
    QCOMPARE(showSymbolTableEditor(m_path), editor);
    QCOMPARE(gridOf(editor)->Rows(), 88);
    QCOMPARE(gridOf(editor)->TextMatrix(30, 1), QStringLiteral("DINING!"));
    QCOMPARE(gridOf(editor)->Row(), 30);
}

void TestSymbolTableEditor::savesToTheFileItOpened() {
    const QString other = m_dir->filePath(QStringLiteral("Nuvi_2/symtable.txt"));
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("Nuvi_2")));
    QVERIFY(writeBytes(other, "Other\tDEVICE\r\n"));

    symtable::SymbolTablePath = m_path;
    frmSymbolTableManagement* editor = open(symtable::SymbolTablePath);
    QTest::keyClick(gridOf(editor), Qt::Key_A, {}, 'a');
    QTest::keyClicks(textOf(editor), QStringLiteral("1"));

    // The main window takes another device while the editor is open.
    symtable::SymbolTablePath = other;
    QCOMPARE(showSymbolTableEditor(symtable::SymbolTablePath), editor);
    QCOMPARE(editor->tablePath(), m_path);
    actionOf(editor, "mnuSave")->trigger();
    QCOMPARE(readBytes(other), QByteArray("Other\tDEVICE\r\n"));
    QCOMPARE(symtable::readFile(m_path).pairs.first().delorme, QStringLiteral("QVN_WAYPOINT1"));
    symtable::SymbolTablePath.clear();
}

void TestSymbolTableEditor::missingFileGetsDefaultTable() {
    QVERIFY(QFile::remove(m_path));
    frmSymbolTableManagement* editor = open(m_path);
    QVERIFY(m_messages.isEmpty());
    QCOMPARE(readBytes(m_path).size(), 1984);
    QCOMPARE(gridOf(editor)->Rows(), 88);
    QCOMPARE(textOf(editor)->text(), QStringLiteral("QVN_WAYPOINT"));
}

void TestSymbolTableEditor::unreadableTableIsReportedAndNotSaved() {
    // A folder where the file should be: it exists, so no default table is written over it.
    QVERIFY(QFile::remove(m_path));
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("symtable.txt")));
    frmSymbolTableManagement* editor = open(m_path);
    QCOMPARE(m_messages.size(), 1);
    QVERIFY2(m_messages.first().contains(QStringLiteral("~/symtable.txt")),
             qPrintable(m_messages.first()));
    QVERIFY(m_messages.first().contains(QStringLiteral("\r\n")));
    QCOMPARE(gridOf(editor)->Rows(), 1);
    QCOMPARE(gridOf(editor)->TextMatrix(0, 1), QStringLiteral("DELORME SYMBOL"));
    QVERIFY(!textOf(editor)->isEnabled());
    QVERIFY(!actionOf(editor, "mnuSave")->isEnabled());
    QVERIFY(QFileInfo(m_path).isDir());
}

void TestSymbolTableEditor::tableWithoutRowsShowsHeadingOnly() {
    QVERIFY(writeBytes(m_path, "\r\n\r\nno tab here\r\n"));
    frmSymbolTableManagement* editor = open(m_path);
    FlexGrid* grid = gridOf(editor);
    QLineEdit* text = textOf(editor);
    QVERIFY(m_messages.isEmpty());
    QCOMPARE(grid->Rows(), 1);
    QCOMPARE(grid->FixedRows(), 1);
    QVERIFY(!text->isEnabled());
    QCOMPARE(text->text(), QString());

    QTest::keyClick(grid, Qt::Key_A, {}, 'a');
    QCOMPARE(grid->Rows(), 1);
    QCOMPARE(grid->TextMatrix(0, 0), QStringLiteral("NUVI SYMBOL"));
    QCOMPARE(QApplication::focusWidget(), grid);
}

void TestSymbolTableEditor::failedSaveKeepsFileAndNamesIt() {
    const QString folder = m_dir->filePath(QStringLiteral("Nuvi_1"));
    QVERIFY(QDir().mkdir(folder));
    const QString path = folder + QStringLiteral("/symtable.txt");
    QCOMPARE(symtable::WriteDefaultSymbolTable(path), QString());
    frmSymbolTableManagement* editor = open(path);
    QTest::keyClick(gridOf(editor), Qt::Key_A, {}, 'a');
    QTest::keyClicks(textOf(editor), QStringLiteral("!"));

    // The device folder is taken away while the editor is open.
    QVERIFY(QDir(folder).removeRecursively());
    actionOf(editor, "mnuSave")->trigger();
    QCOMPARE(m_messages.size(), 1);
    const QString message = m_messages.first();
    QVERIFY2(message.contains(QStringLiteral("~/Nuvi_1/symtable.txt")), qPrintable(message));
    const QStringList lines = message.split(QStringLiteral("\r\n"));
    QCOMPARE(lines.size(), 2);
    QVERIFY(!lines.at(1).isEmpty());
    QVERIFY(!QFile::exists(path));
    // The edits stay in the grid for another try.
    QCOMPARE(gridOf(editor)->TextMatrix(1, 1), QStringLiteral("QVN_WAYPOINT!"));
}

QTEST_MAIN(TestSymbolTableEditor)
#include "tst_symboltableeditor.moc"
