#include "items/FlexGrid.h"

#include "text/CodePage.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QStringDecoder>
#include <QStyledItemDelegate>

#include <algorithm>

namespace {

constexpr int twipsPerPixel = 15;

// Cells are white on the grid's own background, which shows beyond the last cell.
class CellDelegate : public QStyledItemDelegate {
public:
    explicit CellDelegate(FlexGrid* grid)
        : QStyledItemDelegate(grid)
        , m_grid(grid) {}

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->backgroundBrush = QBrush(Qt::white);
        option->text = m_grid->displayed(option->text);
    }

private:
    FlexGrid* m_grid;
};

} // namespace

FlexGrid::FlexGrid(int cols, QWidget* parent)
    : QTableView(parent)
    , m_model(new FlexGridModel(cols, this))
    , m_colWidths(std::size_t(m_model->Cols()), 960) {
    setModel(m_model);
    setItemDelegate(new CellDelegate(this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setWordWrap(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setMinimumSectionSize(0);
    for (int c = 0; c < m_model->Cols(); ++c)
        setColWidth(c, m_colWidths[std::size_t(c)]);

    connect(m_model, &FlexGridModel::fixedRowsChanged, this, &FlexGrid::showFixedRows);
    connect(m_model, &QAbstractItemModel::modelReset, this, &FlexGrid::showFixedRows);
    connect(m_model, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first) {
                if (first < FixedRows())
                    showFixedRows();
            });
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current, const QModelIndex& previous) {
                if (current.row() != previous.row() || current.column() != previous.column())
                    emit RowColChange();
            });
    connect(this, &QAbstractItemView::clicked, this, [this](const QModelIndex&) { emit Click(); });
    showFixedRows();
}

int FlexGrid::ColWidth(int col) const {
    if (col < 0 || col >= Cols())
        return 0;
    return m_colWidths[std::size_t(col)];
}

void FlexGrid::setColWidth(int col, int twips) {
    if (col < 0 || col >= Cols())
        return;
    twips = qMax(twips, 0);
    m_colWidths[std::size_t(col)] = twips;
    if (twips == 0) {
        setColumnHidden(col, true);
    } else {
        setColumnHidden(col, false);
        setColumnWidth(col, twips / twipsPerPixel);
    }
}

void FlexGrid::setDisplayUtf8(bool on) {
    if (on == m_displayUtf8)
        return;
    m_displayUtf8 = on;
    viewport()->update();
}

QString FlexGrid::displayed(const QString& text) const {
    if (!m_displayUtf8)
        return text;
    // Plain ASCII reads the same either way; only text with a byte above 127 can be UTF-8.
    const bool ascii =
        std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 128; });
    if (ascii || !std::all_of(text.begin(), text.end(), CodePage::canEncode))
        return text;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = utf8(CodePage::fromUnicode(text));
    return utf8.hasError() ? text : decoded;
}

int FlexGrid::Row() const {
    const QModelIndex current = currentIndex();
    return current.isValid() ? current.row() : 0;
}

int FlexGrid::Col() const {
    const QModelIndex current = currentIndex();
    return current.isValid() ? current.column() : 0;
}

void FlexGrid::setRow(int row) {
    moveTo(row, Col());
}

void FlexGrid::setCol(int col) {
    moveTo(Row(), col);
}

void FlexGrid::moveTo(int row, int col) {
    if (row < FixedRows() || row >= Rows() || col < 0 || col >= Cols())
        return;
    setCurrentIndex(m_model->index(row, col));
}

void FlexGrid::showFixedRows() {
    const int fixed = FixedRows();
    horizontalHeader()->setVisible(fixed > 0);
    for (int r = 0; r < qMin(Rows(), 2); ++r)
        setRowHidden(r, r < fixed);
    const QModelIndex current = currentIndex();
    if (current.isValid() && current.row() < fixed)
        selectionModel()->clearCurrentIndex();
}

void FlexGrid::keyPressEvent(QKeyEvent* event) {
    const QString text = event->text();
    const bool character = !text.isEmpty() && text.at(0).isPrint() &&
                           !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier));
    if (character) {
        emit KeyPress(text.at(0));
        event->accept();
        return;
    }
    QTableView::keyPressEvent(event);
}
