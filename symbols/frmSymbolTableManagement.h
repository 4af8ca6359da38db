#pragma once

#include <QMainWindow>
#include <QString>

class FlexGrid;
class QAction;
class QLineEdit;
class QMenu;

// The symbol table editor: the table file of a device in a two-column grid, one name of it
// at a time edited in the box above the grid, and File > Save to write the grid back.
//
// The editor keeps to the file it was opened on and always saves there, even after the main
// window takes another device: rows loaded from one device's table must never end up in
// another's. It keeps no record of unsaved changes; closing it drops them without asking.
class frmSymbolTableManagement : public QMainWindow {
    Q_OBJECT
public:
    explicit frmSymbolTableManagement(const QString& path, QWidget* parent = nullptr);

    // The file the editor was opened on.
    QString tablePath() const { return m_path; }

    void Form_Load();
    void Grid1_RowColChange();
    void Grid1_KeyPress();
    // Every change the user makes to the box, typed or not.
    void Text1_Change();
    // KeyCode is 13 for Enter and Return.
    void Text1_KeyUp(int KeyCode);
    void mnuSave_Click();
    void mnuExit_Click();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // Whether the grid holds a table row that can be the current cell.
    bool hasTableRows() const;

    QString m_path;
    bool m_byteOrderMark = false; // kept when the table is saved back
    QLineEdit* Text1;
    FlexGrid* Grid1;
    QMenu* mnuFile;
    QAction* mnuSave;
    QAction* mnuExit;
};

// "Edit Symbol Table": opens the editor on the file when it is not open, or only brings the
// open one forward with its edits kept. Returns the editor.
frmSymbolTableManagement* showSymbolTableEditor(const QString& path);

// The open editor, or nullptr.
frmSymbolTableManagement* openSymbolTableEditor();
