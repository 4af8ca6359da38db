#include "dialogs/Dialogs.h"

#include <QApplication>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QInputDialog>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>

#include <algorithm>

namespace {

Dialogs::MessageHandler& messageHandler() {
    static Dialogs::MessageHandler handler;
    return handler;
}

Dialogs::InputHandler& inputHandler() {
    static Dialogs::InputHandler handler;
    return handler;
}

// A box without a shown window to sit on (at start-up) is centred on the screen once it has
// its final size, which a message box only knows when it is shown.
void centreWithoutOwner(QDialog& box, QWidget* parent) {
    if (parent && parent->isVisible())
        return;
    QTimer::singleShot(0, &box, [&box] {
        const QScreen* screen = box.screen() ? box.screen() : QGuiApplication::primaryScreen();
        if (!screen)
            return;
        QRect frame = box.frameGeometry();
        frame.moveCenter(screen->availableGeometry().center());
        box.move(frame.topLeft());
    });
}

} // namespace

namespace Dialogs {

void MsgBox(QWidget* parent, const QString& text) {
    if (messageHandler()) {
        messageHandler()(text);
        return;
    }
    QMessageBox box(QMessageBox::NoIcon, QStringLiteral("Tarnwick"), text, QMessageBox::Ok, parent);
    box.setObjectName(QStringLiteral("MsgBox"));
    centreWithoutOwner(box, parent);
    box.exec();
}

QString InputBox(QWidget* parent, const QString& prompt, const QString& title,
                 const QString& defaultAnswer) {
    if (inputHandler())
        return inputHandler()(prompt, title, defaultAnswer);
    QInputDialog box(parent);
    box.setObjectName(QStringLiteral("InputBox"));
    box.setWindowTitle(title);
    box.setLabelText(prompt);
    box.setTextValue(defaultAnswer);
    // Windows cuts a title wider than its box ("CREATE NEW DEVICE FOL..."): the box is at
    // least as wide as its title beside the title bar's icon and close button.
    // (The dialog's layout sets its minimum size, so the box is made wider than that.)
    const QFontMetrics caption(QApplication::font("QMdiSubWindowTitleBar"));
    box.adjustSize();
    box.resize(std::max(box.width(), caption.horizontalAdvance(title) + 4 * caption.height() + 48),
               box.height());
    centreWithoutOwner(box, parent);
    if (box.exec() != QDialog::Accepted)
        return {};
    return box.textValue();
}

void setMessageHandler(MessageHandler handler) {
    messageHandler() = std::move(handler);
}

void setInputHandler(InputHandler handler) {
    inputHandler() = std::move(handler);
}

} // namespace Dialogs
