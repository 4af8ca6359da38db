#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"
#include "TestRows.h"
#include "text/CodePage.h"

#include <QtTest>
#include <QtWidgets>

namespace {

// A test row, named by its first field, for each row of a data table.
void addRows(const char* name) {
    QTest::addColumn<QByteArrayList>("f");
    for (const QByteArrayList& row : testRows(name))
        QTest::newRow(row[0].constData()) << row;
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
        for (QWidget* window : QApplication::topLevelWidgets())
            window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // The file rules, and the editor opened on a file and saved without a change.
    void fileIsReadAndSavedBack_data() { addRows("symbols_file_rules.tsv"); }

    void fileIsReadAndSavedBack() {
        QFETCH(QByteArrayList, f);
        const QString path = QFileInfo(m_path).dir().filePath(QString::fromLatin1(f[1]));
        const QByteArray saved = f[3] == "=" ? f[2] : f[3];
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(f[2]) >= 0);
        file.close();
        QCOMPARE(symtable::tablePathIn(QFileInfo(m_path).path()), path);
        const symtable::ReadResult read = symtable::readFile(path);
        QVERIFY(read.error.isEmpty() && symtable::serialize(read.pairs) == saved);
        const Editor e(path);
        QVERIFY(e.grid->Rows() == read.pairs.size() + 1);
        QCOMPARE(e.text->isEnabled(), !read.pairs.isEmpty());
        QTest::keyClick(e.window, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(fileBytes(path), saved);
        QVERIFY(m_messages.isEmpty());
    }

    // Opened on a missing table, the editor writes and shows the default one; a key in the grid
    // starts an edit in the box, the key itself not entered, and every change reaches the cell.
    void everyChangeOfTheBoxIsSaved_data() { addRows("symbols_editor_changes.tsv"); }

    void everyChangeOfTheBoxIsSaved() {
        QFETCH(QByteArrayList, f);
        const int row = f[1].toInt(), col = f[2].toInt();
        const QString how = QString::fromLatin1(f[3]), input = QString::fromUtf8(f[4]),
                      cell = QString::fromUtf8(f[5]);
        const Editor e(m_path);
        QList<QByteArray> lines = dataBytes("symbols_default_table.txt").split('\n');
        QCOMPARE(fileBytes(m_path), lines.join('\n'));
        QVERIFY(e.grid->Rows() == 88 && e.grid->FixedRows() == 1 && e.grid->ColWidth(0) == 3120 &&
                e.grid->ColWidth(1) == 3120);
        QCOMPARE(e.grid->TextMatrix(0, 0) + '|' + e.grid->TextMatrix(0, 1),
                 QStringLiteral("NUVI SYMBOL|DELORME SYMBOL"));
        QCOMPARE(QApplication::focusWidget(), e.grid);
        QList<QByteArray> fields = lines[row - 1].chopped(1).split('\t');
        e.click(row, col);
        QCOMPARE(e.text->text(), CodePage::toUnicode(fields[col]));
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
        QTest::keyClick(e.grid, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), e.text);
        QTest::keyClick(e.window, Qt::Key_S, Qt::ControlModifier);
        fields[col] = CodePage::fromUnicode(cell);
        lines[row - 1] = fields.join('\t') + '\r';
        QCOMPARE(fileBytes(m_path), how == QLatin1String("gone") ? QByteArray() : lines.join('\n'));
        const QString named = how == QLatin1String("gone")
                                  ? QStringLiteral("The symbol table ~/Nuvi_1/symtable.txt")
                                  : QString();
        QVERIFY(m_messages.size() == !named.isEmpty() &&
                m_messages.join(QString()).startsWith(named));
    }

    void closingDiscardsEditsAndReopeningKeepsThem() {
        const QString other = m_home->filePath(QStringLiteral("other.txt"));
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
        QVERIFY(!QFile::exists(other));
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
