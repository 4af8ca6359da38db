#include "symbols/frmSymbolTableManagement.h"

#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "symbols/symtable.h"
#include "text/CodePage.h"
#include "workspace/Workspace.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QPointer>
#include <QValidator>

namespace {

constexpr int twipsPerPixel = 15;

int px(int twips) {
    return twips / twipsPerPixel;
}

QPointer<frmSymbolTableManagement>& openEditor() {
    static QPointer<frmSymbolTableManagement> editor;
    return editor;
}

// Accepts only text that the table file can hold as typed: characters of the code page, and
// none of the TAB and line ends that separate the names in the file.
class SymbolNameValidator : public QValidator {
public:
    using QValidator::QValidator;

    State validate(QString& input, int&) const override {
        for (const QChar ch : std::as_const(input)) {
            if (ch.unicode() < 0x20 || !CodePage::canEncode(ch))
                return Invalid;
        }
        return Acceptable;
    }
};

QString fileProblem(const QString& path, const QString& what, const QString& reason) {
    return QStringLiteral("The symbol table ") + Workspace::displayPath(path) + what +
           QStringLiteral("\r\n") + reason;
}

} // namespace

frmSymbolTableManagement::frmSymbolTableManagement(const QString& path, QWidget* parent)
    : QMainWindow(parent)
    , m_path(path) {
    setObjectName(QStringLiteral("frmSymbolTableManagement"));
    setWindowTitle(QStringLiteral("SYMBOL TABLE EDITOR"));
    setAttribute(Qt::WA_DeleteOnClose);

    mnuFile = menuBar()->addMenu(QStringLiteral("&File"));
    mnuFile->setObjectName(QStringLiteral("mnuFile"));
    mnuSave = mnuFile->addAction(QStringLiteral("Save"));
    mnuSave->setObjectName(QStringLiteral("mnuSave"));
    mnuSave->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_S));
    mnuExit = mnuFile->addAction(QStringLiteral("Exit"));
    mnuExit->setObjectName(QStringLiteral("mnuExit"));

    auto* client = new QWidget(this);
    client->setObjectName(QStringLiteral("client"));
    client->setFixedSize(px(6840), px(6210));
    setCentralWidget(client);

    Grid1 = new FlexGrid(2, client);
    Grid1->setObjectName(QStringLiteral("Grid1"));
    Grid1->setGeometry(px(120), px(480), px(6615), px(5655));
    // Tab goes on to the edit box, as it does between any two controls of the window.
    Grid1->setTabKeyNavigation(false);

    Text1 = new QLineEdit(QStringLiteral("Text1"), client);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setGeometry(px(120), px(120), px(6495), px(285));
    Text1->setValidator(new SymbolNameValidator(Text1));
    Text1->installEventFilter(this);

    setTabOrder(Grid1, Text1);

    connect(mnuSave, &QAction::triggered, this, &frmSymbolTableManagement::mnuSave_Click);
    connect(mnuExit, &QAction::triggered, this, &frmSymbolTableManagement::mnuExit_Click);
    connect(Grid1, &FlexGrid::RowColChange, this, &frmSymbolTableManagement::Grid1_RowColChange);
    connect(Grid1, &FlexGrid::KeyPress, this, &frmSymbolTableManagement::Grid1_KeyPress);
    // A paste with the mouse, drag and drop, or Undo from the context menu changes the box
    // without any key release; the cell must follow those too. The program's own setText()
    // is not an edit and does not come back here.
    connect(Text1, &QLineEdit::textEdited, this, &frmSymbolTableManagement::Text1_Change);

    Form_Load();
    Grid1->setFocus();
}

void frmSymbolTableManagement::Form_Load() {
    Grid1->setRows(0);
    Grid1->AddItem(QStringLiteral("NUVI SYMBOL"));
    Grid1->setTextMatrix(0, 1, QStringLiteral("DELORME SYMBOL"));
    Grid1->setColWidth(0, 3120);
    Grid1->setColWidth(1, 3120);

    // A device folder made by hand has no table yet: it gets the default one, as a new
    // device does.
    const symtable::ReadResult read = symtable::readOrCreate(m_path);
    m_byteOrderMark = read.byteOrderMark;
    if (!read.error.isEmpty()) {
        // Saving would replace a file the editor never showed with an empty table.
        mnuSave->setEnabled(false);
        Dialogs::MsgBox(this,
                        fileProblem(m_path,
                                    read.createFailed ? QStringLiteral(" could not be created.")
                                                      : QStringLiteral(" could not be read."),
                                    read.error));
    }
    QList<QStringList> rows;
    rows.reserve(read.pairs.size());
    for (const SymbolPair& pair : read.pairs)
        rows.append({pair.nuvi, pair.delorme});
    Grid1->gridModel()->appendRows(rows);

    Grid1->setFixedRows(1);
    if (!hasTableRows()) {
        Text1->clear();
        Text1->setEnabled(false);
        return;
    }
    Grid1->setRow(1);
    Grid1->setCol(1);
    Grid1_RowColChange();
}

bool frmSymbolTableManagement::hasTableRows() const {
    return Grid1->Rows() > Grid1->FixedRows();
}

void frmSymbolTableManagement::Grid1_RowColChange() {
    Text1->setText(Grid1->TextMatrix(Grid1->Row(), Grid1->Col()));
}

void frmSymbolTableManagement::Grid1_KeyPress() {
    if (!hasTableRows())
        return;
    Text1->setText(Grid1->TextMatrix(Grid1->Row(), Grid1->Col()));
    Text1->setFocus();
    Text1->deselect();
    Text1->end(false);
}

void frmSymbolTableManagement::Text1_Change() {
    if (hasTableRows())
        Grid1->setTextMatrix(Grid1->Row(), Grid1->Col(), Text1->text());
}

// The cell already follows every edit; the key release only hands the focus back on Enter.
void frmSymbolTableManagement::Text1_KeyUp(int KeyCode) {
    if (KeyCode == 13)
        Grid1->setFocus();
}

void frmSymbolTableManagement::mnuSave_Click() {
    QList<SymbolPair> pairs;
    pairs.reserve(Grid1->Rows());
    for (int row = 1; row < Grid1->Rows(); ++row)
        pairs.append({Grid1->TextMatrix(row, 0), Grid1->TextMatrix(row, 1)});
    const QString error = symtable::writeFile(m_path, pairs, m_byteOrderMark);
    if (!error.isEmpty())
        Dialogs::MsgBox(this, fileProblem(m_path, QStringLiteral(" could not be saved."), error));
}

void frmSymbolTableManagement::mnuExit_Click() {
    close();
}

bool frmSymbolTableManagement::eventFilter(QObject* watched, QEvent* event) {
    if (watched == Text1 && event->type() == QEvent::KeyRelease) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        Text1_KeyUp(key == Qt::Key_Return || key == Qt::Key_Enter ? 13 : key);
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmSymbolTableManagement::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    // Closed is closed for "Edit Symbol Table", although the window is deleted only later:
    // the next opening loads the file afresh.
    if (event->isAccepted() && openEditor() == this)
        openEditor().clear();
}

frmSymbolTableManagement* showSymbolTableEditor(const QString& path) {
    frmSymbolTableManagement* editor = openEditor();
    if (!editor) {
        editor = new frmSymbolTableManagement(path);
        openEditor() = editor;
    }
    // Brought to the front means restored too when the user has minimized it.
    editor->setWindowState(editor->windowState() & ~Qt::WindowMinimized);
    editor->show();
    editor->raise();
    editor->activateWindow();
    return editor;
}

frmSymbolTableManagement* openSymbolTableEditor() {
    return openEditor();
}
