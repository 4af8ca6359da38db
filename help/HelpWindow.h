#pragma once

#include "help/HelpPages.h"

class QWidget;

// Shows the page's help window, a modeless top-level window of its own: loads it (filling its
// list) when it is not open, else only brings it forward, adding nothing. Each page has at
// most one window; "Exit" or the close box unloads it.
QWidget* showHelpWindow(HelpPage page);

// The open window of the page, or nullptr.
QWidget* openHelpWindow(HelpPage page);
