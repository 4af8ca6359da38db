#include "app/MainWindowFixture.h"
#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"
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
    QPointer<frmSymbolTableManagement> window;
    FlexGrid* grid = window->findChild<FlexGrid*>(QStringLiteral("Grid1"));
    QLineEdit* text = window->findChild<QLineEdit*>(QStringLiteral("Text1"));

    explicit Editor(const QString& path)
        : window(showSymbolTableEditor(path)) {
        QApplication::setActiveWindow(window);
        QVERIFY(QTest::qWaitForWindowActive(window));
    }
};

} // namespace

class TestSymbolTable : public QObject {
    Q_OBJECT

    // Messages name files the way the user knows them, relative to the home folder.
    std::unique_ptr<MainWindowFixture> m_home;
    QString m_folder, m_path;

private slots:
    void init() {
        m_home = std::make_unique<MainWindowFixture>();
        m_home->makeDevices({QStringLiteral("Nuvi_1")});
        m_folder = m_home->device(QStringLiteral("Nuvi_1"));
        m_path = m_folder + QStringLiteral("/symtable.txt");
    }

    void cleanup() {
        for (QWidget* window : QApplication::topLevelWidgets())
            window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_home.reset();
    }

    // The file rules, and the editor opened on a file and saved without a change.
    void fileIsReadAndSavedBack_data() { addRows("symbols_file_rules.tsv"); }

    void fileIsReadAndSavedBack() {
        QFETCH(QByteArrayList, f);
        const QString path = m_folder + '/' + QString::fromLatin1(f[1]);
        const QByteArray saved = f[3] == "=" ? f[2] : f[3];
        MainWindowFixture::writeFile(path, f[2]);
        QCOMPARE(symtable::tablePathIn(m_folder), path);
        const symtable::ReadResult read = symtable::readFile(path);
        const qsizetype pairs = read.pairs.size();
        QVERIFY(!read.pairs.value(0).nuvi.startsWith(u"\u00EF\u00BB\u00BF")); // no mark in a name
        const Editor e(path);
        QVERIFY(e.grid->Rows() == pairs + 1 && e.text->isEnabled() == (pairs > 0));
        QTest::keyClick(e.window, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(fileBytes(path), saved);
        QVERIFY(m_home->messages.isEmpty());
    }

    // Opened on a missing table, the editor writes and shows the default one; a key in the grid
    // starts an edit in the box, the key itself not entered, and every change reaches the cell
    // and the file. Only a failed save has a message: its first line is the last column.
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
        const QModelIndex index = e.grid->model()->index(row, col);
        e.grid->scrollTo(index);
        QTest::mouseClick(e.grid->viewport(), Qt::LeftButton, {},
                          e.grid->visualRect(index).center());
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
            {QStringLiteral("gone"), [&] { QDir(m_folder).removeRecursively(); }}};
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
        // Chosen again, minimized, while the main window has another device: brought forward
        // and restored, with an edit not saved, and still on the file it loaded.
        e.text->end(false);
        QTest::keyClicks(e.text, QStringLiteral("?"));
        e.window->setWindowState(Qt::WindowMinimized);
        QCOMPARE(showSymbolTableEditor(m_home->home.filePath(QStringLiteral("other.txt"))),
                 e.window.data());
        QVERIFY(!e.window->isMinimized() && e.window->tablePath() == m_path);
        QVERIFY(e.grid->TextMatrix(row, col) == cell + '?' && e.grid->Row() == row);
        // Exit drops the edit without asking; the next opening loads the file afresh.
        e.window->findChild<QAction*>(QStringLiteral("mnuExit"))->trigger();
        QVERIFY(!openSymbolTableEditor());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(e.window.isNull() && QDir().mkpath(m_folder));
        QCOMPARE(m_home->messages.join(u'|').section(u'\r', 0, 0),
                 asShown(QString::fromUtf8(f.value(6)), m_home->home.path()));
        QCOMPARE(Editor(m_path).grid->TextMatrix(row, col), cell);
    }
};

QTEST_MAIN(TestSymbolTable)
#include "tst_symboltable.moc"
