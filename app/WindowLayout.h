#pragma once

#include <QObject>

class QWidget;

// Lets the main window grow past its designed size. At the designed size every control sits
// where its "twips" property puts it; the extra width and height go to the controls that
// show lists (the item grid, the file and folder lists, the device list), the status line
// stretches along the top and the copyright line stays centred at the bottom.
class WindowLayout : public QObject {
    Q_OBJECT
public:
    // client is the window's central widget, whose designed size is its minimum.
    explicit WindowLayout(QWidget* client);

    // Places every control of the client for its current size.
    void apply();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* m_client;
};
