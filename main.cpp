#include "app/frmForm1.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

namespace {

// Qt's own message when no display can be opened is cryptic; say what is needed instead.
bool haveDisplay() {
#if defined(Q_OS_LINUX)
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb") && !platform.startsWith("wayland"))
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
#else
    return true;
#endif
}

} // namespace

int main(int argc, char* argv[]) {
    if (!haveDisplay()) {
        std::fputs("Tarnwick is a desktop program and needs a graphical display, but none was "
                   "found (DISPLAY and WAYLAND_DISPLAY are not set).\n"
                   "Start it from a desktop session, or without one under a virtual display:\n"
                   "    xvfb-run -a ./build/tarnwick\n",
                   stderr);
        return EXIT_FAILURE;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tarnwick"));
    QApplication::setDesktopFileName(QStringLiteral("tarnwick"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("tarnwick")));

    frmForm1 window;
    if (window.programEnded())
        return EXIT_SUCCESS;
    window.show();
    return app.exec();
}
