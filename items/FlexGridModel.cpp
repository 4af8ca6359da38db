#include "items/FlexGridModel.h"

#include <algorithm>

FlexGridModel::FlexGridModel(int cols, QObject* parent)
    : QAbstractTableModel(parent)
    , m_columns(std::size_t(cols)) {
    Q_ASSERT(cols > 0);
}

int FlexGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_rows;
}

int FlexGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : Cols();
}

QVariant FlexGridModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return TextMatrix(index.row(), index.column());
    return {};
}

bool FlexGridModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role != Qt::EditRole)
        return false;
    setTextMatrix(index.row(), index.column(), value.toString());
    return true;
}

QVariant FlexGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Horizontal && m_fixedRows > 0 && m_rows > 0 && section >= 0 &&
        section < Cols())
        return TextMatrix(0, section);
    return {};
}

Qt::ItemFlags FlexGridModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

void FlexGridModel::setRows(int rows) {
    rows = qMax(rows, 0);
    if (rows == m_rows)
        return;
    if (rows == 0) {
        beginResetModel();
        // The cells go from the last row up, each row's from its last column: the reverse of
        // the order in which a load made them. The allocator then merges each freed block into
        // the free end of the heap at once, where the next load takes its blocks from again,
        // instead of filing 40,000 scattered blocks in its free lists, which took about half
        // of the time of emptying 20,000 favorites and slowed the next load's allocations.
        for (int row = m_rows - 1; row >= 0; --row) {
            for (auto column = m_columns.rbegin(); column != m_columns.rend(); ++column)
                column->removeLast();
        }
        m_rows = 0;
        endResetModel();
    } else if (rows < m_rows) {
        beginRemoveRows({}, rows, m_rows - 1);
        for (auto& column : m_columns)
            column.resize(rows);
        m_rows = rows;
        endRemoveRows();
    } else {
        beginInsertRows({}, m_rows, rows - 1);
        for (auto& column : m_columns)
            column.resize(rows);
        m_rows = rows;
        endInsertRows();
    }
    if (m_fixedRows > m_rows)
        setFixedRows(m_rows);
}

void FlexGridModel::setFixedRows(int fixedRows) {
    fixedRows = qBound(0, fixedRows, m_rows);
    if (fixedRows == m_fixedRows)
        return;
    m_fixedRows = fixedRows;
    emit headerDataChanged(Qt::Horizontal, 0, Cols() - 1);
    emit fixedRowsChanged(m_fixedRows);
}

const QString& FlexGridModel::TextMatrix(int row, int col) const {
    static const QString none;
    if (row < 0 || row >= m_rows || col < 0 || col >= Cols())
        return none;
    return m_columns[std::size_t(col)][row];
}

void FlexGridModel::setTextMatrix(int row, int col, const QString& text) {
    if (row < 0 || row >= m_rows || col < 0 || col >= Cols())
        return;
    QString& cell = m_columns[std::size_t(col)][row];
    if (cell == text && cell.isNull() == text.isNull())
        return;
    cell = text;
    const QModelIndex changed = index(row, col);
    emit dataChanged(changed, changed, {Qt::DisplayRole, Qt::EditRole});
    if (row == 0) // the heading, when row 0 is fixed
        emit headerDataChanged(Qt::Horizontal, col, col);
}

void FlexGridModel::setColumn(int col, int fromRow, const std::function<QString(int row)>& text) {
    if (col < 0 || col >= Cols())
        return;
    int first = -1, last = -1;
    for (int row = std::max(fromRow, 0); row < m_rows; ++row) {
        QString value = text(row);
        QString& cell = m_columns[std::size_t(col)][row];
        if (cell == value && cell.isNull() == value.isNull())
            continue;
        cell = std::move(value);
        first = first < 0 ? row : first;
        last = row;
    }
    if (first < 0)
        return;
    emit dataChanged(index(first, col), index(last, col), {Qt::DisplayRole, Qt::EditRole});
    if (first == 0 && m_fixedRows > 0)
        emit headerDataChanged(Qt::Horizontal, col, col);
}

void FlexGridModel::AddItem(const QString& text) {
    appendRows({text.split(QLatin1Char('\t'))});
}

void FlexGridModel::appendRows(const QList<QStringList>& rows) {
    if (rows.isEmpty())
        return;
    beginInsertRows({}, m_rows, m_rows + int(rows.size()) - 1);
    for (std::size_t c = 0; c < m_columns.size(); ++c) {
        QList<QString>& column = m_columns[c];
        column.reserve(m_rows + rows.size());
        for (const QStringList& row : rows)
            column.append(qsizetype(c) < row.size() ? row[qsizetype(c)] : QString());
    }
    m_rows += int(rows.size());
    endInsertRows();
}

void FlexGridModel::appendColumns(std::vector<QList<QString>>&& columns) {
    if (columns.empty() || columns.front().isEmpty())
        return;
    const qsizetype count = columns.front().size();
    beginInsertRows({}, m_rows, m_rows + int(count) - 1);
    for (std::size_t c = 0; c < m_columns.size(); ++c) {
        if (c < columns.size())
            m_columns[c].append(std::move(columns[c]));
        else
            m_columns[c].resize(m_rows + count);
    }
    m_rows += int(count);
    endInsertRows();
}
