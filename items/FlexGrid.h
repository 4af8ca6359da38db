#pragma once

#include "items/FlexGridModel.h"

#include <QTableView>

// A grid control over a FlexGridModel: rows, columns, a fixed heading row, column widths in
// twips, a current cell, and the events Click, KeyPress and RowColChange. The heading row
// (model row 0 while FixedRows is 1) is shown as the view's header, so it stays in view when
// the grid scrolls and can never become the current row.
class FlexGrid : public QTableView {
    Q_OBJECT
public:
    explicit FlexGrid(int cols, QWidget* parent = nullptr);

    FlexGridModel* gridModel() const { return m_model; }

    int Rows() const { return m_model->Rows(); }
    void setRows(int rows) { m_model->setRows(rows); }
    int Cols() const { return m_model->Cols(); }
    int FixedRows() const { return m_model->FixedRows(); }
    void setFixedRows(int fixedRows) { m_model->setFixedRows(fixedRows); }
    const QString& TextMatrix(int row, int col) const { return m_model->TextMatrix(row, col); }
    void setTextMatrix(int row, int col, const QString& text) {
        m_model->setTextMatrix(row, col, text);
    }
    void AddItem(const QString& text) { m_model->AddItem(text); }

    // Column width in twips; 0 hides the column, whose cells keep their text.
    int ColWidth(int col) const;
    void setColWidth(int col, int twips);

    // Whether cells whose single-byte text is valid UTF-8 are shown decoded (a nüvi writes
    // UTF-8). Only what is drawn changes; the cells keep their text.
    bool displaysUtf8() const { return m_displayUtf8; }
    void setDisplayUtf8(bool on);
    // The text a cell shows for its single-byte text.
    QString displayed(const QString& text) const;

    // The current cell. Row() is 0 when there is none.
    int Row() const;
    int Col() const;
    void setRow(int row);
    void setCol(int col);

signals:
    // A mouse click on a cell; the clicked cell is the current cell by then.
    void Click();
    // A character key pressed while the grid has the focus.
    void KeyPress(QChar key);
    // The current cell changed, by mouse, keyboard or code.
    void RowColChange();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showFixedRows();
    void moveTo(int row, int col);

    FlexGridModel* m_model;
    std::vector<int> m_colWidths;
    bool m_displayUtf8 = false;
};
