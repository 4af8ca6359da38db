#pragma once

#include <QString>

#include <functional>

class QWidget;

// The program's message box and input box. A message box has an OK button only, no icon,
// and the program's title "Tarnwick"; lines of a message are joined by CR LF.
//
// Tests replace the boxes with handlers of their own, so that a command that shows one
// runs through without a person to answer it.
namespace Dialogs {

void MsgBox(QWidget* parent, const QString& text);

// Returns the answer, or an empty text when the user cancels.
QString InputBox(QWidget* parent, const QString& prompt, const QString& title,
                 const QString& defaultAnswer);

using MessageHandler = std::function<void(const QString& text)>;
using InputHandler = std::function<QString(const QString& prompt, const QString& title,
                                           const QString& defaultAnswer)>;

// Installs a handler that takes the place of the boxes; an empty one restores them.
void setMessageHandler(MessageHandler handler);
void setInputHandler(InputHandler handler);

} // namespace Dialogs
