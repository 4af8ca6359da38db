#include "app/Copyright.h"
#include "app/Workspace.h"
#include "help/HelpPages.h"
#include "help/HelpWindow.h"

#include <QApplication>
#include <QDir>
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
    QListWidget* list = listOf(window);
    for (int i = 0; i < list->count(); ++i)
        items.append(list->item(i)->text());
    return items;
}

// Lets the windows closed so far be deleted.
void flushDeletes() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

int topLevelsNamed(const QString& name) {
    int count = 0;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->objectName() == name && widget->isVisible())
            ++count;
    }
    return count;
}

const QList<HelpPage> allPages = {HelpPage::Description,     HelpPage::DeviceSelection,
                                  HelpPage::ExportFavorites, HelpPage::MarkNewFavorites,
                                  HelpPage::SaveFavorites,   HelpPage::SymbolTable};

QtMessageHandler testLogHandler = nullptr;

// The offscreen platform cannot raise a window and says so at every raise().
void dropRaiseWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text == QLatin1String("This plugin does not support raise()"))
        return;
    testLogHandler(type, context, text);
}

} // namespace

class TestHelpWindows : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { testLogHandler = qInstallMessageHandler(dropRaiseWarnings); }
    void init();
    void cleanup();

    void pagesHaveTheirLines_data();
    void pagesHaveTheirLines();
    void linesAreKeptExactly_data();
    void linesAreKeptExactly();
    void windowsHaveTheirNamesAndGeometry_data();
    void windowsHaveTheirNamesAndGeometry();
    void longestLineCanBeScrolledIntoView_data();
    void longestLineCanBeScrolledIntoView();
    void showingTwiceKeepsOneWindow();
    void exitUnloadsAndReopeningFillsAfresh_data();
    void exitUnloadsAndReopeningFillsAfresh();
    void closeBoxUnloadsLikeExit();
    void pagesOpenSideBySide();
    void programEndsWithItsLastWindow();
};

void TestHelpWindows::init() {
    for (HelpPage page : allPages)
        QVERIFY(!openHelpWindow(page));
}

void TestHelpWindows::cleanup() {
    for (HelpPage page : allPages) {
        if (QWidget* window = openHelpWindow(page))
            window->close();
    }
    flushDeletes();
}

void TestHelpWindows::pagesHaveTheirLines_data() {
    QTest::addColumn<HelpPage>("page");
    QTest::addColumn<int>("count");
    QTest::newRow("Description") << HelpPage::Description << 13;
    QTest::newRow("Device Selection") << HelpPage::DeviceSelection << 12;
    QTest::newRow("Export") << HelpPage::ExportFavorites << 21;
    QTest::newRow("Mark New Favorites") << HelpPage::MarkNewFavorites << 22;
    QTest::newRow("Save Favorites") << HelpPage::SaveFavorites << 17;
    QTest::newRow("Symbol Table") << HelpPage::SymbolTable << 31;
}

void TestHelpWindows::pagesHaveTheirLines() {
    QFETCH(HelpPage, page);
    QFETCH(int, count);
    const QStringList lines = helpPageLines(page);
    QCOMPARE(lines.size(), count);
    // The last item is the copyright notice behind some spaces; the one before is blank.
    const QString last = lines.last();
    QVERIFY(last.startsWith(QLatin1Char(' ')));
    QCOMPARE(last.trimmed(), Copyright::notice());
    QVERIFY(last.contains(QChar(169)));
    QCOMPARE(lines.at(count - 2), QStringLiteral(" "));
    // A blank line is one space, never an empty item; every other line is indented.
    for (const QString& line : lines) {
        QVERIFY2(!line.isEmpty(), "empty item");
        QVERIFY2(line.startsWith(QLatin1Char(' ')), qPrintable(line));
        if (line.trimmed().isEmpty())
            QCOMPARE(line, QStringLiteral(" "));
    }
}

void TestHelpWindows::linesAreKeptExactly_data() {
    QTest::addColumn<HelpPage>("page");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("text");
    const QString output =
        QStringLiteral("   The exported file will be located in ") +
        QDir::toNativeSeparators(Workspace::displayRoot() + QStringLiteral("/devicename/output"));
    QTest::newRow("Description output folder") << HelpPage::Description << 6 << output;
    QTest::newRow("Export output folder") << HelpPage::ExportFavorites << 14 << output;
    QTest::newRow("Mark New output folder") << HelpPage::MarkNewFavorites << 13 << output;
    QTest::newRow("neccissary")
        << HelpPage::DeviceSelection << 2
        << QStringLiteral("   In order to work with more than one Nuvi GPS unit, it is neccissary");
    QTest::newRow("quotes") << HelpPage::ExportFavorites << 4
                            << QStringLiteral("   Then click on \"Load Favorites\" or \"Load "
                                              "Tracks\".");
    QTest::newRow("trailing space")
        << HelpPage::ExportFavorites << 10 << QStringLiteral("   Click it again to remove the X. ");
    QTest::newRow("two spaces in line 6")
        << HelpPage::SymbolTable << 6
        << QStringLiteral("  created when a new device is added.  This cross reference table");
    QTest::newRow("closing quote ends line 7")
        << HelpPage::SymbolTable << 7
        << QStringLiteral("  can be edited by selecting the \"Edit Symbol Table\"");
    QTest::newRow("two spaces in line 14")
        << HelpPage::SymbolTable << 14
        << QStringLiteral(
               "  map programs.  It has been tested with Street Atlas 2008 and Topo 7.0");
    QTest::newRow("simular, four spaces")
        << HelpPage::SymbolTable << 19
        << QStringLiteral("    Delorme Earthmate PN-20 (or simular) GPS unit option.");
    QTest::newRow("backslash folder")
        << HelpPage::SymbolTable << 24 << QStringLiteral("  \\delorme docs\\symbols");
    QTest::newRow("opening quote starts line 27")
        << HelpPage::SymbolTable << 27 << QStringLiteral("  \"Save\" option under \"File\".");
}

void TestHelpWindows::linesAreKeptExactly() {
    QFETCH(HelpPage, page);
    QFETCH(int, line);
    QFETCH(QString, text);
    QCOMPARE(helpPageLines(page).at(line - 1), text);
}

void TestHelpWindows::windowsHaveTheirNamesAndGeometry_data() {
    QTest::addColumn<HelpPage>("page");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QSize>("client");
    QTest::addColumn<QRect>("list");
    QTest::newRow("frmHelp") << HelpPage::Description << "frmHelp"
                             << "Tarnwick Help" << QSize(378, 286) << QRect(8, 40, 361, 238);
    QTest::newRow("frmHelpDevice") << HelpPage::DeviceSelection << "frmHelpDevice"
                                   << "How to select new favorites to be exported"
                                   << QSize(378, 313) << QRect(8, 40, 361, 264);
    QTest::newRow("frmHelpExportFavorites")
        << HelpPage::ExportFavorites << "frmHelpExportFavorites"
        << "How to select items to be exported" << QSize(378, 367) << QRect(8, 40, 361, 316);
    QTest::newRow("frmHelpMarkNewFavorites")
        << HelpPage::MarkNewFavorites << "frmHelpMarkNewFavorites"
        << "How mark new favorites to be exported" << QSize(378, 352) << QRect(8, 40, 361, 303);
    QTest::newRow("frmHelpSaveFavorites") << HelpPage::SaveFavorites << "frmHelpSaveFavorites"
                                          << "Form1" << QSize(377, 346) << QRect(8, 40, 361, 290);
    QTest::newRow("frmHelpSymbolTable")
        << HelpPage::SymbolTable << "frmHelpSymbolTable"
        << "The Symbol Table" << QSize(387, 402) << QRect(8, 40, 369, 355);
}

void TestHelpWindows::windowsHaveTheirNamesAndGeometry() {
    QFETCH(HelpPage, page);
    QFETCH(QString, name);
    QFETCH(QString, caption);
    QFETCH(QSize, client);
    QFETCH(QRect, list);
    QWidget* window = showHelpWindow(page);
    QVERIFY(window);
    QVERIFY(window->isWindow());
    QVERIFY(!window->parentWidget());
    QVERIFY(window->testAttribute(Qt::WA_DeleteOnClose));
    QVERIFY(!window->isModal());
    QCOMPARE(window->objectName(), name);
    QCOMPARE(window->windowTitle(), caption);
    QCOMPARE(window->size(), client);
    auto* exit = window->findChild<QPushButton*>(QStringLiteral("cmdExit"));
    QVERIFY(exit);
    QCOMPARE(exit->text(), QStringLiteral("Exit"));
    QCOMPARE(exit->geometry(), QRect(16, 8, 81, 25));
    QCOMPARE(listOf(window)->geometry(), list);
    QCOMPARE(itemsOf(window), helpPageLines(page));
}

void TestHelpWindows::longestLineCanBeScrolledIntoView_data() {
    QTest::addColumn<HelpPage>("page");
    for (HelpPage page : allPages)
        QTest::newRow(qPrintable(helpPageInfo(page).objectName)) << page;
}

void TestHelpWindows::longestLineCanBeScrolledIntoView() {
    QFETCH(HelpPage, page);
    QWidget* window = showHelpWindow(page);
    QVERIFY(QTest::qWaitForWindowExposed(window));
    QListWidget* list = listOf(window);
    QVERIFY(!list->font().fixedPitch());
    int widest = 0;
    for (const QString& line : helpPageLines(page))
        widest = qMax(widest, list->fontMetrics().horizontalAdvance(line));
    QApplication::processEvents();
    // Whatever does not fit the box must be reachable with the horizontal scroll bar, and no
    // item may be cut short with an ellipsis.
    const int reach = list->horizontalScrollBar()->maximum() + list->viewport()->width();
    QVERIFY2(reach >= widest, qPrintable(QStringLiteral("%1 < %2").arg(reach).arg(widest)));
    QCOMPARE(list->textElideMode(), Qt::ElideNone);
}

void TestHelpWindows::showingTwiceKeepsOneWindow() {
    QWidget* first = showHelpWindow(HelpPage::SymbolTable);
    QWidget* second = showHelpWindow(HelpPage::SymbolTable);
    QCOMPARE(second, first);
    QCOMPARE(openHelpWindow(HelpPage::SymbolTable), first);
    QCOMPARE(listOf(first)->count(), 31);
    QCOMPARE(topLevelsNamed(QStringLiteral("frmHelpSymbolTable")), 1);
}

void TestHelpWindows::exitUnloadsAndReopeningFillsAfresh_data() {
    pagesHaveTheirLines_data();
}

void TestHelpWindows::exitUnloadsAndReopeningFillsAfresh() {
    QFETCH(HelpPage, page);
    QFETCH(int, count);
    QPointer<QWidget> first = showHelpWindow(page);
    QCOMPARE(listOf(first)->count(), count);
    QTest::mouseClick(first->findChild<QPushButton*>(QStringLiteral("cmdExit")), Qt::LeftButton);
    // Gone for the menu at once, deleted once events run.
    QVERIFY(!openHelpWindow(page));
    flushDeletes();
    QVERIFY(first.isNull());

    QWidget* again = showHelpWindow(page);
    QVERIFY(again);
    QCOMPARE(listOf(again)->count(), count);
    QCOMPARE(itemsOf(again), helpPageLines(page));
}

void TestHelpWindows::closeBoxUnloadsLikeExit() {
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

void TestHelpWindows::pagesOpenSideBySide() {
    for (HelpPage page : allPages)
        showHelpWindow(page);
    for (HelpPage page : allPages) {
        QWidget* window = openHelpWindow(page);
        QVERIFY(window);
        QVERIFY(window->isVisible());
        QCOMPARE(listOf(window)->count(), helpPageLines(page).size());
    }
    openHelpWindow(HelpPage::SaveFavorites)->close();
    QVERIFY(!openHelpWindow(HelpPage::SaveFavorites));
    QVERIFY(openHelpWindow(HelpPage::MarkNewFavorites));
}

void TestHelpWindows::programEndsWithItsLastWindow() {
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
    giveUp.setSingleShot(true);
    connect(&giveUp, &QTimer::timeout, qApp, [] { QCoreApplication::exit(2); });
    giveUp.start(5000);

    const int exitCode = QCoreApplication::exec();
    QCOMPARE(exitCode, 0);
    QVERIFY2(lastClosing, "the program ended before its last window closed");
    QVERIFY(helpOutlivedMain);
    QCOMPARE(lastClosed.count(), 1);
}

QTEST_MAIN(TestHelpWindows)
#include "tst_helpwindows.moc"
