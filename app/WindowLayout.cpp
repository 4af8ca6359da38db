#include "app/WindowLayout.h"

#include <QEvent>
#include <QHeaderView>
#include <QRect>
#include <QTableView>
#include <QVariant>
#include <QWidget>

#include <algorithm>

namespace {

constexpr int twipsPerPixel = 15;
constexpr int detailsGap = 6;
constexpr int detailsLeast = 260;
constexpr int detailsMost = 520;

// How a control follows the extra size: the share of the extra width and height it grows
// by, and the share it moves by (2 = all of it, 1 = half of it, 0 = none).
struct Anchor {
    const char* name;
    int growX, growY, moveX, moveY;
};

// clang-format off
constexpr Anchor anchors[] = {
    {"txtStatus", 2, 0, 0, 0}, {"Dir1", 0, 2, 0, 0},      {"File1", 2, 2, 0, 0},
    {"Grid1", 2, 2, 0, 0},     {"Grid2", 0, 0, 2, 2},      {"lblDevice", 2, 0, 0, 0},
    {"lstDevice", 2, 2, 0, 0}, {"btnOK", 0, 0, 1, 2},      {"btnCANCEL", 0, 0, 1, 2},
    {"Dir2", 0, 0, 1, 2},      {"lstList1", 0, 0, 0, 2},   {"copyright", 0, 0, 1, 2},
};
// clang-format on

} // namespace

WindowLayout::WindowLayout(QWidget* client)
    : QObject(client)
    , m_client(client) {
    client->installEventFilter(this);
    // The last column of a grid takes the width the grid gains, so that long symbol and
    // track names show whole.
    for (QTableView* grid : client->findChildren<QTableView*>())
        grid->horizontalHeader()->setStretchLastSection(true);
    // The pane beside the grid comes and goes with it.
    if (QWidget* grid = client->findChild<QWidget*>(QStringLiteral("Grid1")))
        grid->installEventFilter(this);
}

bool WindowLayout::roomForDetails() const {
    return widthLackingForDetails() == 0;
}

int WindowLayout::widthLackingForDetails() const {
    return qMax(0, detailsLeast + detailsGap - (m_client->width() - m_client->minimumWidth()));
}

void WindowLayout::apply() {
    const QSize extra = m_client->size() - m_client->minimumSize();
    const int dx = qMax(extra.width(), 0);
    const int dy = qMax(extra.height(), 0);
    for (const Anchor& anchor : anchors) {
        auto* control =
            m_client->findChild<QWidget*>(QLatin1String(anchor.name), Qt::FindDirectChildrenOnly);
        if (!control)
            continue;
        const QRect twips = control->property("twips").toRect();
        control->setGeometry(twips.left() / twipsPerPixel + dx * anchor.moveX / 2,
                             twips.top() / twipsPerPixel + dy * anchor.moveY / 2,
                             twips.width() / twipsPerPixel + dx * anchor.growX / 2,
                             twips.height() / twipsPerPixel + dy * anchor.growY / 2);
    }
    auto* grid = m_client->findChild<QWidget*>(QStringLiteral("Grid1"), Qt::FindDirectChildrenOnly);
    auto* pane =
        m_client->findChild<QWidget*>(QStringLiteral("itemDetails"), Qt::FindDirectChildrenOnly);
    if (!grid || !pane)
        return;
    const bool shown = pane->property("wanted").toBool() && !grid->isHidden();
    if (shown) {
        const QRect place = grid->geometry();
        const int width = std::clamp(dx - detailsGap, detailsLeast, detailsMost);
        grid->setGeometry(place.adjusted(0, 0, -width - detailsGap, 0));
        pane->setGeometry(place.right() + 1 - width, place.top(), width, place.height());
    }
    pane->setVisible(shown);
}

bool WindowLayout::eventFilter(QObject* watched, QEvent* event) {
    if ((watched == m_client && event->type() == QEvent::Resize) ||
        (watched != m_client &&
         (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent)))
        apply();
    return QObject::eventFilter(watched, event);
}
