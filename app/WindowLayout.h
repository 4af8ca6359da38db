#pragma once

#include <QObject>

class QWidget;

// Lets the main window grow past its designed size. At the designed size every control sits
// where its "twips" property puts it; the extra width and height go to the controls that
// show lists (the item grid, the file and folder lists, the device list), the status line
// stretches along the top and the copyright line stays centred at the bottom.
//
// The details pane ("itemDetails"), when it is wanted (its "wanted" property) and the item
// grid is shown, takes the right part of the grid's place: the width the window gained, within
// limits, or its least width at the designed size.
class WindowLayout : public QObject {
    Q_OBJECT
public:
    // client is the window's central widget, whose designed size is its minimum.
    explicit WindowLayout(QWidget* client);

    // Places every control of the client for its current size.
    void apply();
    // Whether the window is wide enough for the details pane beside the grid at its designed
    // width.
    bool roomForDetails() const;
    // The width the client lacks for the details pane beside the grid (0 when it has it).
    int widthLackingForDetails() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* m_client;
};
