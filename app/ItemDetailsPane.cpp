#include "app/ItemDetailsPane.h"

#include "app/frmForm1.h"
#include "app/WindowLayout.h"
#include "items/FlexGrid.h"
#include "items/SourceLoad.h"

#include <QAction>
#include <QEvent>
#include <QFile>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QToolTip>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

TrackOutline::TrackOutline(QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("trackOutline"));
    setMinimumHeight(120);
}

void TrackOutline::setOutline(const QList<OutlinePoint>& outline) {
    m_outline = outline;
    update();
}

void TrackOutline::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    // A grey frame one pixel wide round a white ground, filled rather than drawn with a pen:
    // at 150% a pen's line falls between the screen's pixels, and two sides went missing.
    painter.fillRect(rect(), QColor(160, 160, 160));
    painter.fillRect(rect().adjusted(1, 1, -1, -1), Qt::white);
    if (m_outline.isEmpty())
        return;
    double south = 90, north = -90, west = 180, east = -180;
    for (const OutlinePoint& p : std::as_const(m_outline)) {
        south = std::min(south, p.latitude);
        north = std::max(north, p.latitude);
        west = std::min(west, p.longitude);
        east = std::max(east, p.longitude);
    }
    // A degree of longitude is shorter than one of latitude by the cosine of the latitude.
    const double xScale = std::max(0.01, std::cos((south + north) / 2 * M_PI / 180));
    const QRectF area = QRectF(rect()).adjusted(10, 10, -10, -10);
    const double width = (east - west) * xScale, height = north - south;
    const double scale = std::min(width > 0 ? area.width() / width : 1e12,
                                  height > 0 ? area.height() / height : 1e12);
    const double finite = scale >= 1e12 ? 0 : scale;
    const QPointF origin(area.center().x() - width * finite / 2,
                         area.center().y() + height * finite / 2);
    const auto at = [&](const OutlinePoint& p) {
        return QPointF(origin.x() + (p.longitude - west) * xScale * finite,
                       origin.y() - (p.latitude - south) * finite);
    };
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    for (qsizetype i = 0; i < m_outline.size(); ++i) {
        if (i == 0 || m_outline[i].segment != m_outline[i - 1].segment)
            path.moveTo(at(m_outline[i]));
        else
            path.lineTo(at(m_outline[i]));
    }
    painter.setPen(QPen(QColor(200, 30, 30), 2));
    painter.drawPath(path);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 150, 0));
    painter.drawEllipse(at(m_outline.first()), 4, 4);
    painter.setBrush(Qt::black);
    painter.drawEllipse(at(m_outline.last()), 4, 4);
}

ItemDetailsPane::ItemDetailsPane(frmForm1& window, QAction* viewDetails, WindowLayout& layout)
    : QWidget(window.centralWidget())
    , m_window(window)
    , m_viewDetails(viewDetails)
    , m_layout(layout)
    , m_text(new QLabel(this))
    , m_outline(new TrackOutline(this)) {
    setObjectName(QStringLiteral("itemDetails"));
    setAutoFillBackground(true);
    QPalette palette = this->palette();
    palette.setColor(QPalette::Window, QColor(248, 248, 240));
    setPalette(palette);
    m_text->setWordWrap(true);
    m_text->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 6, 6, 6);
    column->addWidget(m_text);
    column->addWidget(m_outline, 1);
    column->addStretch();
    m_outline->hide();
    hide();

    FlexGrid* grid = m_window.Grid1;
    connect(grid, &FlexGrid::RowColChange, this, [this] { showRow(m_window.Grid1->Row()); });
    connect(grid->gridModel(), &QAbstractItemModel::modelReset, this, &ItemDetailsPane::clear);
    connect(grid->gridModel(), &QAbstractItemModel::rowsRemoved, this, &ItemDetailsPane::clear);
    m_gridViewport = grid->viewport();
    m_gridViewport->installEventFilter(this);
    m_window.centralWidget()->installEventFilter(this);
    connect(m_viewDetails, &QAction::triggered, this, [this] { m_userChose = true; });
    connect(m_viewDetails, &QAction::toggled, this, &ItemDetailsPane::setWanted);
}

void ItemDetailsPane::setWanted(bool wanted) {
    setProperty("wanted", wanted);
    // Asked for without room beside the grid, the window widens to make it where it can, so
    // the grid keeps its width.
    QWidget* top = window();
    if (wanted && !(top->windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))) {
        top->resize(top->width() + m_layout.widthLackingForDetails(), top->height());
        // Widened past the screen's edge (at 150% the window is half as wide again), it moves
        // back onto the screen as far as the screen's left edge lets it.
        if (const QScreen* screen = top->screen()) {
            const QRect free = screen->availableGeometry();
            const QRect frame = top->frameGeometry();
            if (frame.right() > free.right())
                top->move(std::max(free.left(), frame.left() - (frame.right() - free.right())),
                          frame.top());
        }
    }
    m_layout.apply();
}

void ItemDetailsPane::clear() {
    m_text->clear();
    m_outline->setOutline({});
    m_outline->hide();
}

QStringList ItemDetailsPane::linesOf(int row, QList<OutlinePoint>* outline) const {
    const FlexGrid* grid = m_window.Grid1;
    if (!m_window.TracksLoaded)
        return favoriteLines(grid->displayed(grid->TextMatrix(row, 1)),
                             grid->displayed(grid->TextMatrix(row, 3)),
                             favoriteDetails(grid->displayed(grid->TextMatrix(row, 2))));
    QFile scratch(scratchPathIn(m_window.DeviceFolder));
    if (!scratch.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {notReadableText()};
    const QStringList& sourceNames = m_window.trackSourceNames();
    const TrackDetails details = trackDetails(
        scratch, row < sourceNames.size() ? sourceNames[row] : grid->TextMatrix(row, 1));
    if (outline)
        *outline = details.outline;
    return trackLines(details);
}

bool ItemDetailsPane::isItemRow(int row) const {
    return m_window.ItemsLoaded && row > 0 && row < m_window.Grid1->Rows();
}

void ItemDetailsPane::showRow(int row) {
    if (m_window.loading())
        return;
    if (!isItemRow(row)) {
        clear();
        return;
    }
    QList<OutlinePoint> outline;
    m_text->setText(linesOf(row, &outline).join(QLatin1Char('\n')));
    m_outline->setOutline(outline);
    m_outline->setVisible(m_window.TracksLoaded && !outline.isEmpty());
}

QString ItemDetailsPane::summaryOf(int row) const {
    return m_window.loading() || !isItemRow(row) ? QString() : linesOf(row, nullptr).value(0);
}

// Compares the watched object with the ones watched before looking at the window: events
// still come while the window is being destroyed.
bool ItemDetailsPane::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parent() && event->type() == QEvent::Resize && !m_userChose)
        m_viewDetails->setChecked(m_layout.roomForDetails());
    if (watched == m_gridViewport && event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const QString tip = summaryOf(m_window.Grid1->indexAt(help->pos()).row());
        if (tip.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), tip, m_window.Grid1->viewport());
        return true;
    }
    return QWidget::eventFilter(watched, event);
}
