#include "help/HelpWindow.h"

#include <QCloseEvent>
#include <QHash>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QStyle>
#include <QWidget>

namespace {

constexpr int twipsPerPixel = 15;

int px(int twips) {
    return twips / twipsPerPixel;
}

QHash<HelpPage, QPointer<QWidget>>& openWindows() {
    static QHash<HelpPage, QPointer<QWidget>> windows;
    return windows;
}

class HelpWindow : public QWidget {
public:
    explicit HelpWindow(HelpPage page)
        : m_page(page) {
        const HelpPageInfo info = helpPageInfo(page);
        setObjectName(info.objectName);
        setWindowTitle(info.caption);
        setAttribute(Qt::WA_DeleteOnClose);

        auto* cmdExit = new QPushButton(QStringLiteral("Exit"), this);
        cmdExit->setObjectName(QStringLiteral("cmdExit"));
        cmdExit->setGeometry(px(240), px(120), px(1215), px(375));

        m_list = new QListWidget(this);
        m_list->setObjectName(QStringLiteral("lstHelp"));
        m_list->setGeometry(px(120), px(600), px(info.listWidth), px(info.listHeight));
        // Lines wider than the box scroll sideways rather than being cut off.
        m_list->setTextElideMode(Qt::ElideNone);
        m_list->addItems(helpPageLines(page));

        resize(px(info.width), px(info.height));
        // The designed places stay on record; the window may then grow to fit its lines.
        setProperty("design", rect());
        m_list->setProperty("design", m_list->geometry());
        m_rightMargin = width() - m_list->geometry().right();
        m_bottomMargin = height() - m_list->geometry().bottom();
        resize(width() + missingWidth(), height());

        connect(cmdExit, &QPushButton::clicked, this, &QWidget::close);
        connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
                &QWidget::close);
    }

protected:
    void closeEvent(QCloseEvent* event) override {
        QWidget::closeEvent(event);
        // The window is gone for the menu as soon as it closes, even though it is deleted
        // only later: choosing the page again must load a fresh one.
        if (event->isAccepted() && openWindows().value(m_page) == this)
            openWindows().remove(m_page);
    }

    // The list keeps its margins when the user makes the window larger, to show more of a
    // page at once.
    void resizeEvent(QResizeEvent* event) override {
        QWidget::resizeEvent(event);
        const QRect list = m_list->geometry();
        m_list->resize(qMax(width() - m_rightMargin - list.left() + 1, 0),
                       qMax(height() - m_bottomMargin - list.top() + 1, 0));
    }

private:
    // How much wider the list must be for its longest line to show whole, with room for the
    // vertical scroll bar: the designed width was measured for another font.
    int missingWidth() const {
        int widest = 0;
        for (int row = 0; row < m_list->count(); ++row)
            widest =
                qMax(widest, m_list->fontMetrics().horizontalAdvance(m_list->item(row)->text()));
        const int frame = 2 * m_list->frameWidth() + 2 * m_list->spacing() +
                          m_list->style()->pixelMetric(QStyle::PM_ScrollBarExtent) +
                          2 * m_list->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 8;
        return qMax(widest + frame - m_list->width(), 0);
    }

    HelpPage m_page;
    QListWidget* m_list = nullptr;
    int m_rightMargin = 0;
    int m_bottomMargin = 0;
};

} // namespace

QWidget* showHelpWindow(HelpPage page) {
    QWidget* window = openHelpWindow(page);
    if (!window) {
        window = new HelpWindow(page);
        openWindows().insert(page, window);
    }
    // Brought forward means restored too when the user has minimized it.
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

QWidget* openHelpWindow(HelpPage page) {
    return openWindows().value(page).data();
}
