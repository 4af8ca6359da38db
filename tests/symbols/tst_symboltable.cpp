#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"
#include "text/CodePage.h"

#include <QtTest>
#include <QtWidgets>

namespace {

QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

QByteArray testData(const char* name) {
    return readBytes(QStringLiteral(TARNWICK_TEST_DATA "/") + QLatin1String(name));
}

// The rows of a data table: TAB-separated fields, lines starting with # left out.
QList<QList<QByteArray>> tableRows(const char* name) {
    QList<QList<QByteArray>> rows;
    for (const QByteArray& line : testData(name).split('\n')) {
        if (!line.isEmpty() && !line.startsWith('#'))
            rows.append(line.split('\t'));
    }
    return rows;
}

// The editor, opened the way the main window opens it, and the controls the tests drive.
struct Editor {
    frmSymbolTableManagement* window;
    FlexGrid* grid = window->findChild<FlexGrid*>(QStringLiteral("Grid1"));
    QLineEdit* text = window->findChild<QLineEdit*>(QStringLiteral("Text1"));

    explicit Editor(const QString& path)
        : window(showSymbolTableEditor(path)) {
        QApplication::setActiveWindow(window);
        QVERIFY(QTest::qWaitForWindowActive(window));
    }
    void click(int row, int col) const {
        const QModelIndex index = grid->model()->index(row, col);
        grid->scrollTo(index);
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(index).center());
    }
};

} // namespace

class TestSymbolTable : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString m_path;
    QStringList m_messages;

private slots:
    void init() {
        // Messages name files the way the user knows them, relative to the home folder.
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("HOME", QFile::encodeName(m_home->path()));
        m_path = m_home->filePath(QStringLiteral("Nuvi_1/symtable.txt"));
        QVERIFY(QDir(m_home->path()).mkdir(QStringLiteral("Nuvi_1")));
        m_messages.clear();
        Dialogs::setMessageHandler([this](const QString& text) { m_messages.append(text); });
    }

    void cleanup() {
        if (frmSymbolTableManagement* editor = openSymbolTableEditor())
            editor->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // The file rules, and the editor opened on a file and saved without a change.
    void fileIsReadAndSavedBack_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("saved");
        for (const QList<QByteArray>& f : tableRows("symbols_file_rules.tsv"))
            QTest::newRow(f[0].constData())
                << QString::fromLatin1(f[1]) << QByteArray::fromPercentEncoding(f[2])
                << QByteArray::fromPercentEncoding(f[3] == "=" ? f[2] : f[3]);
    }

    void fileIsReadAndSavedBack() {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, saved);
        writeBytes(QFileInfo(m_path).dir().filePath(name), bytes);
        const QString path = symtable::tablePathIn(QFileInfo(m_path).path());
        QCOMPARE(QFileInfo(path).fileName(), name);
        const symtable::ReadResult read = symtable::readFile(path);
        QVERIFY(read.error.isEmpty());
        // The first TAB of a line ends the nüvi symbol.
        for (const SymbolPair& pair : read.pairs)
            QVERIFY(!pair.nuvi.contains(QLatin1Char('\t')));
        QCOMPARE(symtable::serialize(read.pairs), saved);
        const Editor e(path);
        QVERIFY(e.grid->Rows() == read.pairs.size() + 1);
        QCOMPARE(e.text->isEnabled(), !read.pairs.isEmpty());
        // Moving around and starting an edit without changing anything changes nothing.
        QTest::keyClick(e.grid, Qt::Key_Left);
        QTest::keyClick(e.grid, Qt::Key_Z, {}, 'z');
        QTest::keyClick(e.text, Qt::Key_Return);
        QTest::keyClick(e.window, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(readBytes(path), saved);
        QVERIFY(m_messages.isEmpty());
    }

    void opensOnDefaultTableAndShowsEachCell() {
        // A missing file is written with the default table first.
        const Editor e(m_path);
        QCOMPARE(testData("symbols_default_table.txt").size(), 1984);
        QCOMPARE(readBytes(m_path), testData("symbols_default_table.txt"));
        QVERIFY(e.grid->Rows() == 88 && e.grid->FixedRows() == 1);
        QCOMPARE(e.grid->TextMatrix(0, 0) + '|' + e.grid->TextMatrix(0, 1),
                 QStringLiteral("NUVI SYMBOL|DELORME SYMBOL"));
        QVERIFY(e.grid->ColWidth(0) == 3120 && e.grid->ColWidth(1) == 3120);
        QCOMPARE(QApplication::focusWidget(), e.grid);
        e.click(18, 0);
        QCOMPARE(e.text->text(), QStringLiteral("Flag, Blue"));
        QTest::keyClick(e.grid, Qt::Key_Right);
        QCOMPARE(e.text->text(), QStringLiteral("BLUE FLAG"));
        // Tab leaves the grid for the box, rather than moving between cells.
        QTest::keyClick(e.grid, Qt::Key_Tab);
        QVERIFY(QApplication::focusWidget() == e.text && e.grid->Col() == 1);
    }

    // A key in the grid starts an edit of the current cell in the box, with the caret after
    // its text; the key itself is not entered. Every change of the box reaches the cell, and
    // Save writes it; Enter hands the focus back to the grid.
    void everyChangeOfTheBoxIsSaved_data() {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("col");
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("cell"); // the cell's text after the change
        for (const QList<QByteArray>& f : tableRows("symbols_editor_changes.tsv"))
            QTest::newRow(f[0].constData())
                << f[1].toInt() << f[2].toInt() << QString::fromLatin1(f[3])
                << QString::fromUtf8(QByteArray::fromPercentEncoding(f[4]))
                << QString::fromUtf8(QByteArray::fromPercentEncoding(f[5]));
    }

    void everyChangeOfTheBoxIsSaved() {
        QFETCH(int, row);
        QFETCH(int, col);
        QFETCH(QString, how);
        QFETCH(QString, input);
        QFETCH(QString, cell);
        const Editor e(m_path);
        e.click(row, col);
        e.text->setText(QStringLiteral("stale"));
        QTest::keyClick(e.grid, Qt::Key_Z, {}, 'z');
        QGuiApplication::clipboard()->setText(input);
        const QHash<QString, std::function<void()>> changes = {
            {QStringLiteral("keys"), [&] { QTest::keyClicks(e.text, input); }},
            {QStringLiteral("insert"), [&] { e.text->insert(input); }},
            {QStringLiteral("paste"), [&] { e.text->paste(); }},
            {QStringLiteral("delete"), [&] { e.text->home(false), e.text->del(); }},
            {QStringLiteral("undo"), [&] { QTest::keyClicks(e.text, input), e.text->undo(); }},
            {QStringLiteral("gone"), [&] { QFileInfo(m_path).dir().removeRecursively(); }}};
        changes[how]();
        QVERIFY(e.text->text() == cell && e.grid->TextMatrix(row, col) == cell);
        QTest::keyClick(e.text, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), e.grid);
        QTest::keyClick(e.window, Qt::Key_S, Qt::ControlModifier);
        QList<QByteArray> lines = testData("symbols_default_table.txt").split('\n');
        QList<QByteArray> fields = lines[row - 1].chopped(1).split('\t');
        fields[col] = CodePage::fromUnicode(cell);
        lines[row - 1] = fields.join('\t') + '\r';
        QCOMPARE(readBytes(m_path), how == QLatin1String("gone") ? QByteArray() : lines.join('\n'));
        QCOMPARE(m_messages.size(), int(how == QLatin1String("gone")));
        QVERIFY(m_messages.isEmpty() ||
                m_messages[0].startsWith("The symbol table ~/Nuvi_1/symtable.txt"));
    }

    void closingDiscardsEditsAndReopeningKeepsThem() {
        const QString other = m_home->filePath(QStringLiteral("other.txt"));
        writeBytes(other, "Other\tDEVICE\r\n");
        const Editor e(m_path);
        QPointer<frmSymbolTableManagement> window = e.window;
        e.click(30, 1);
        QTest::keyClick(e.grid, Qt::Key_Z, {}, 'z');
        QTest::keyClicks(e.text, QStringLiteral("!"));
        // Chosen again, minimized, while the main window has another device: brought forward
        // and restored, with its edits, and still saving to the file it loaded.
        e.window->setWindowState(Qt::WindowMinimized);
        QCOMPARE(showSymbolTableEditor(other), e.window);
        QVERIFY(!e.window->isMinimized() && e.window->tablePath() == m_path);
        QVERIFY(e.grid->TextMatrix(30, 1) == QStringLiteral("DINING!") && e.grid->Row() == 30);
        window->findChild<QAction*>(QStringLiteral("mnuSave"))->trigger();
        QCOMPARE(readBytes(other), QByteArray("Other\tDEVICE\r\n"));
        // Exit drops later edits without asking; the next opening loads the file afresh.
        QTest::keyClicks(e.text, QStringLiteral("?"));
        window->findChild<QAction*>(QStringLiteral("mnuExit"))->trigger();
        QVERIFY(!openSymbolTableEditor());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window.isNull() && m_messages.isEmpty());
        QCOMPARE(Editor(m_path).grid->TextMatrix(30, 1), QStringLiteral("DINING!"));
    }
};

QTEST_MAIN(TestSymbolTable)
#include "tst_symboltable.moc"
