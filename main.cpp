#include "app/frmForm1.h"
#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "dialogs/Dialogs.h"
#include "workspace/Volumes.h"

#include <QApplication>
#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char* argv[]) {
    quietNoDiskErrors();
    // Help, version and the subcommands answer without a display, so no window system is
    // touched for them.
    if (CommandLine::runsWithoutWindow(argc, argv)) {
        QCoreApplication app(argc, argv);
        CommandLine::describeApplication();
        return CommandLine::run(QCoreApplication::arguments());
    }
    // Qt's own message when no display can be opened is cryptic; say what is needed instead.
    if (!Console::hasDisplay()) {
        std::fputs("Tarnwick is a desktop program and needs a graphical display, but none was "
                   "found (DISPLAY and WAYLAND_DISPLAY are not set).\n"
                   "Start it from a desktop session, or without one under a virtual display:\n"
                   "    xvfb-run -a ./build/tarnwick\n"
                   "The subcommands need none: tarnwick --help lists them.\n",
                   stderr);
        return EXIT_FAILURE;
    }
    QApplication app(argc, argv);
    CommandLine::describeApplication();
    const CommandLine::WindowStart start = CommandLine::windowStart(QApplication::arguments());
    if (start.exitStatus >= 0) {
        if (!Console::hasStandardError()) // started from Explorer or a shortcut
            Dialogs::MsgBox(nullptr, QStringLiteral("Tarnwick can't start: ") + start.message);
        return start.exitStatus;
    }
    QApplication::setDesktopFileName(QStringLiteral("tarnwick"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("tarnwick")));

    frmForm1 window;
    if (window.programEnded())
        return EXIT_SUCCESS;
    if (!start.file.isEmpty())
        window.chooseSourceFile(start.file);
    window.show();
    return app.exec();
}
