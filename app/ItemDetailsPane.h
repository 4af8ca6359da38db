#pragma once

#include "items/ItemDetails.h"

#include <QList>
#include <QWidget>

class QAction;
class QLabel;
class WindowLayout;
class frmForm1;

// A track's outline, north up, at equal scale along both axes at the track's latitude.
class TrackOutline : public QWidget {
    Q_OBJECT
public:
    explicit TrackOutline(QWidget* parent = nullptr);

    void setOutline(const QList<OutlinePoint>& outline);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QList<OutlinePoint> m_outline;
};

// The details pane beside the item grid: what the grid's current row holds, worked out for that
// row alone when it becomes current, and the same first line as the tooltip of a row. It shows
// while View > Details is checked and the grid is shown; the check follows the window's width
// until the user sets it. While a load runs it shows nothing new.
class ItemDetailsPane : public QWidget {
    Q_OBJECT
public:
    ItemDetailsPane(frmForm1& window, QAction* viewDetails, WindowLayout& layout);

    // The first line of a row's details, for its tooltip; empty for the heading row and
    // during a load. Worked out anew each time: a tooltip comes once per hover.
    QString summaryOf(int row) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isItemRow(int row) const;
    void showRow(int row);
    void clear();
    void setWanted(bool wanted);
    QStringList linesOf(int row, QList<OutlinePoint>* outline) const;

    frmForm1& m_window;
    QAction* m_viewDetails;
    QObject* m_gridViewport;
    WindowLayout& m_layout;
    QLabel* m_text;
    TrackOutline* m_outline;
    bool m_userChose = false;
};
