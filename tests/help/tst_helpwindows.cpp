#include "help/HelpPages.h"
#include "help/HelpWindow.h"
#include "text/Copyright.h"

#include <QApplication>
#include <QListWidget>
#include <QMainWindow>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

Q_DECLARE_METATYPE(HelpPage)

namespace {

QListWidget* listOf(QWidget* window) {
    return window->findChild<QListWidget*>(QStringLiteral("lstHelp"));
}

QStringList itemsOf(QWidget* window) {
    QStringList items;
    for (int i = 0; i < listOf(window)->count(); ++i)
        items.append(listOf(window)->item(i)->text());
    return items;
}

// Lets the windows closed so far be deleted.
void flushDeletes() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

int topLevelsNamed(const QString& name) {
    int count = 0;
    for (QWidget* widget : QApplication::topLevelWidgets())
        count += widget->objectName() == name && widget->isVisible();
    return count;
}

const QList<HelpPage> allPages = {HelpPage::Description,     HelpPage::DeviceSelection,
                                  HelpPage::ExportFavorites, HelpPage::MarkNewFavorites,
                                  HelpPage::SaveFavorites,   HelpPage::SymbolTable};

QtMessageHandler testLogHandler = nullptr;

// The offscreen platform cannot raise a window and says so at every raise().
void dropRaiseWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text != QLatin1String("This plugin does not support raise()"))
        testLogHandler(type, context, text);
}

} // namespace

class TestHelpWindows : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { testLogHandler = qInstallMessageHandler(dropRaiseWarnings); }

    void init() {
        for (HelpPage page : allPages)
            QVERIFY(!openHelpWindow(page));
    }

    void cleanup() {
        for (HelpPage page : allPages) {
            if (QWidget* window = openHelpWindow(page))
                window->close();
        }
        flushDeletes();
    }

    void eachPageShowsItsLinesInOneWindow_data() {
        QTest::addColumn<HelpPage>("page");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QStringList>("exact"); // spelling, quotes and spaces as written
        const QString output =
            QStringLiteral("   The exported file will be located in ~/GPX/devicename/output");
        QTest::newRow("Description") << HelpPage::Description << 13 << "frmHelp"
                                     << "Tarnwick Help" << QStringList{output};
        QTest::newRow("Device Selection")
            << HelpPage::DeviceSelection << 12 << "frmHelpDevice"
            << "How to select new favorites to be exported"
            << QStringList{
                   "   In order to work with more than one Nuvi GPS unit, it is neccissary"};
        QTest::newRow("Export") << HelpPage::ExportFavorites << 21 << "frmHelpExportFavorites"
                                << "How to select items to be exported"
                                << QStringList{output,
                                               "   Then click on \"Load Favorites\" or \"Load "
                                               "Tracks\".",
                                               "   Click it again to remove the X. "};
        QTest::newRow("Mark New Favorites")
            << HelpPage::MarkNewFavorites << 22 << "frmHelpMarkNewFavorites"
            << "How mark new favorites to be exported" << QStringList{output};
        QTest::newRow("Save Favorites")
            << HelpPage::SaveFavorites << 17 << "frmHelpSaveFavorites"
            << "Form1"
            << QStringList{"   This will save the favorites into the FAVORITES.TXT file."};
        QTest::newRow("Symbol Table")
            << HelpPage::SymbolTable << 31 << "frmHelpSymbolTable"
            << "The Symbol Table"
            << QStringList{"  created when a new device is added.  This cross reference table",
                           "    Delorme Earthmate PN-20 (or simular) GPS unit option.",
                           "  \\delorme docs\\symbols"};
    }

    void eachPageShowsItsLinesInOneWindow() {
        QFETCH(HelpPage, page);
        QFETCH(int, count);
        QFETCH(QString, name);
        QFETCH(QString, caption);
        QFETCH(QStringList, exact);
        const QStringList lines = helpPageLines(page);
        QCOMPARE(lines.size(), count);
        for (const QString& line : exact)
            QVERIFY2(lines.contains(line), qPrintable(line));
        // The copyright notice ends every page, indented, after a blank line.
        QVERIFY(lines.last().startsWith(QLatin1Char(' ')));
        QCOMPARE(lines.last().trimmed(), Copyright::notice());
        QVERIFY(lines.last().contains(QChar(169)));
        // A blank line is one space, never an empty item; every other line is indented.
        QCOMPARE(lines.at(count - 2), QStringLiteral(" "));
        for (const QString& line : lines) {
            QVERIFY2(line.startsWith(QLatin1Char(' ')), qPrintable(line));
            QVERIFY(!line.trimmed().isEmpty() || line == QLatin1String(" "));
        }

        QPointer<QWidget> window = showHelpWindow(page);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(!window->parentWidget());
        QVERIFY(!window->isModal());
        QCOMPARE(window->objectName(), name);
        QCOMPARE(window->windowTitle(), caption);
        QCOMPARE(itemsOf(window), lines);
        // Whatever does not fit the box is reachable with the scroll bar, never cut short.
        QListWidget* list = listOf(window);
        QCOMPARE(list->textElideMode(), Qt::ElideNone);
        int widest = 0;
        for (const QString& line : lines)
            widest = qMax(widest, list->fontMetrics().horizontalAdvance(line));
        QApplication::processEvents();
        const int reach = list->horizontalScrollBar()->maximum() + list->viewport()->width();
        QVERIFY2(reach >= widest, qPrintable(QStringLiteral("%1 < %2").arg(reach).arg(widest)));

        // Chosen again: the same window, no lines added.
        QCOMPARE(showHelpWindow(page), window.data());
        QCOMPARE(list->count(), count);
        QCOMPARE(topLevelsNamed(name), 1);

        // Exit unloads it: gone for the menu at once, deleted once events run.
        auto* exit = window->findChild<QPushButton*>(QStringLiteral("cmdExit"));
        QCOMPARE(exit->text(), QStringLiteral("Exit"));
        QTest::mouseClick(exit, Qt::LeftButton);
        QVERIFY(!openHelpWindow(page));
        flushDeletes();
        QVERIFY(window.isNull());
        QCOMPARE(itemsOf(showHelpWindow(page)), lines);
    }

    void closeBoxUnloadsLikeExit() {
        QPointer<QWidget> first = showHelpWindow(HelpPage::Description);
        QVERIFY(first->close());
        // Chosen again before the closed window is deleted: a new, full window.
        QWidget* again = showHelpWindow(HelpPage::Description);
        QVERIFY(again != first.data());
        QCOMPARE(listOf(again)->count(), 13);
        flushDeletes();
        QVERIFY(first.isNull());
        QCOMPARE(openHelpWindow(HelpPage::Description), again);
        QCOMPARE(topLevelsNamed(QStringLiteral("frmHelp")), 1);
    }

    void pagesOpenSideBySide() {
        for (HelpPage page : allPages)
            showHelpWindow(page);
        for (HelpPage page : allPages)
            QVERIFY(openHelpWindow(page) && openHelpWindow(page)->isVisible());
        openHelpWindow(HelpPage::SaveFavorites)->close();
        QVERIFY(!openHelpWindow(HelpPage::SaveFavorites));
        QVERIFY(openHelpWindow(HelpPage::MarkNewFavorites));
    }

    void programEndsWithItsLastWindow() {
        // Help windows stay open when the main window closes; the program ends with the last
        // window, whichever it is. The application only quits from a running event loop.
        QVERIFY(QApplication::quitOnLastWindowClosed());
        QSignalSpy lastClosed(qApp, &QGuiApplication::lastWindowClosed);
        auto* mainWindow = new QMainWindow;
        mainWindow->setAttribute(Qt::WA_DeleteOnClose);
        mainWindow->show();
        QPointer<QWidget> help = showHelpWindow(HelpPage::SymbolTable);
        QPointer<QWidget> other = showHelpWindow(HelpPage::Description);
        QVERIFY(QTest::qWaitForWindowExposed(help));

        bool helpOutlivedMain = false;
        bool lastClosing = false;
        QTimer::singleShot(0, mainWindow, &QWidget::close);
        QTimer::singleShot(20, help, [&] {
            helpOutlivedMain = help && help->isVisible() && other && other->isVisible();
            other->close();
        });
        QTimer::singleShot(40, help, [&] {
            lastClosing = true;
            help->close();
        });
        QTimer giveUp;
        connect(&giveUp, &QTimer::timeout, qApp, [] { QCoreApplication::exit(2); });
        giveUp.start(5000);

        QCOMPARE(QCoreApplication::exec(), 0);
        QVERIFY2(lastClosing, "the program ended before its last window closed");
        QVERIFY(helpOutlivedMain);
        QCOMPARE(lastClosed.count(), 1);
    }
};

QTEST_MAIN(TestHelpWindows)
#include "tst_helpwindows.moc"
