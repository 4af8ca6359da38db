#include "dialogs/Dialogs.h"

#include <QInputDialog>
#include <QMessageBox>

namespace {

Dialogs::MessageHandler& messageHandler() {
    static Dialogs::MessageHandler handler;
    return handler;
}

Dialogs::InputHandler& inputHandler() {
    static Dialogs::InputHandler handler;
    return handler;
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
