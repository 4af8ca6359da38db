#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

// The cells of a grid: a fixed number of columns and any number of rows, every cell a text.
// Row 0 is the grid's own first row; while FixedRows is 1 it is the heading row, which a view
// shows as its header, but it stays row 0 of the model, so that model row r and column c are
// always the grid's TextMatrix(r, c), hidden columns included.
//
// The cells are stored column by column: a grid of tens of thousands of items costs one
// string per cell and nothing per row.
class FlexGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    // A grid of cols columns (one at least) and no rows.
    explicit FlexGridModel(int cols, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    int Rows() const { return m_rows; }
    // Drops rows from the end or appends empty ones.
    void setRows(int rows);
    int Cols() const { return int(m_columns.size()); }
    int FixedRows() const { return m_fixedRows; }
    void setFixedRows(int fixedRows);

    const QString& TextMatrix(int row, int col) const;
    void setTextMatrix(int row, int col, const QString& text);
    // Sets a column's cells from fromRow down to the last row to text(row), with one change
    // signal for them all: marking 20,000 rows costs the views one update.
    void setColumn(int col, int fromRow, const std::function<QString(int row)>& text);

    // Appends a row; the text is spread over the columns at its TAB characters, as the grid's
    // AddItem does, and the remaining cells are empty.
    void AddItem(const QString& text);
    // Appends many complete rows in one step (each list holds at most Cols() texts).
    void appendRows(const QList<QStringList>& rows);
    // Appends rows given column by column: columns[c] holds column c's cells of the new rows,
    // every list as long as the first; a column not given gets empty cells. The cells are
    // moved in, so a load of many items builds no list per row.
    void appendColumns(std::vector<QList<QString>>&& columns);

signals:
    void fixedRowsChanged(int fixedRows);

private:
    std::vector<QList<QString>> m_columns;
    int m_rows = 0;
    int m_fixedRows = 0;
};
