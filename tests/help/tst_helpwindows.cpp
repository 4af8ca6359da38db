#include "app/MainWindowFixture.h"
#include "help/HelpWindow.h"
#include "symbols/frmSymbolTableManagement.h"

#include <QtTest>
#include <QtWidgets>

namespace {

// A property as the layout table writes it: places and sizes in twips.
QString valueOf(QVariant value) {
    if (value.typeId() == QMetaType::QSize)
        value = QRect(QPoint(), value.toSize());
    const QRect r = value.toRect();
    return value.typeId() != QMetaType::QRect
               ? value.toString()
               : QString::asprintf("%d %d %d %d", r.x() * 15, r.y() * 15, r.width() * 15,
                                   r.height() * 15);
}

} // namespace

class TestHelpWindows : public QObject {
    Q_OBJECT

private slots:
    void cleanup() {
        for (QWidget* window : QApplication::topLevelWidgets())
            window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // Every help page in its one window, chosen again, closed and chosen anew; then all of them
    // and the editor, open side by side, with their controls as laid out.
    void everyWindowHasItsLinesAndLayout() {
        for (int page = 0; page <= int(HelpPage::SymbolTable); ++page) {
            QPointer<QWidget> window = showHelpWindow(HelpPage(page));
            QListWidget* list = window->findChild<QListWidget*>();
            QString text =
                QString::fromUtf8(dataBytes(qPrintable("help_" + window->objectName() + ".txt")));
#ifdef Q_OS_WIN
            text.replace("~/GPX/devicename/output", "C:\\GPX\\devicename\\output");
#endif
            const QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
            QCOMPARE(MainWindowFixture::texts(*list), lines);
            // A larger window shows more of the page: the list keeps its designed margins.
            const auto margin = [](QSize window, QRect list) {
                return window - QSize(list.right(), list.bottom());
            };
            const QSize designed = margin(window->property("design").toRect().size(),
                                          list->property("design").toRect());
            window->resize(window->size() + QSize(30, 20));
            QTRY_COMPARE(margin(window->size(), list->geometry()), designed);
            // Chosen again, even while minimized: the same window, restored, no lines added.
            window->setWindowState(Qt::WindowMinimized);
            QCOMPARE(showHelpWindow(HelpPage(page)), window.data());
            QVERIFY(!window->isMinimized() && MainWindowFixture::texts(*list) == lines);
            // Exit unloads it at once; chosen again, a new one comes with the page once.
            QTest::mouseClick(window->findChild<QPushButton*>(), Qt::LeftButton);
            QVERIFY(!openHelpWindow(HelpPage(page)));
            list = showHelpWindow(HelpPage(page))->findChild<QListWidget*>();
            QCOMPARE(MainWindowFixture::texts(*list), lines);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(window.isNull());
        }
        QTemporaryDir dir;
        showSymbolTableEditor(dir.filePath(QStringLiteral("symtable.txt")));
        for (const QStringList& f : tableRows("help_and_editor_layout.tsv")) {
            QWidget* window = nullptr;
            for (QWidget* open : QApplication::topLevelWidgets())
                window = open->objectName() == f[0] && open->isVisible() ? open : window;
            QObject* object =
                f[1] == QLatin1String("-") || !window ? window : window->findChild<QObject*>(f[1]);
            QVERIFY2(object, qPrintable(f.join(u' ')));
            QCOMPARE(valueOf(object->property(qPrintable(f[2]))), f[3]);
        }
    }
};

QTEST_MAIN(TestHelpWindows)
#include "tst_helpwindows.moc"
