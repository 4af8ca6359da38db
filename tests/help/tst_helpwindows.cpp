#include "help/HelpWindow.h"
#include "symbols/frmSymbolTableManagement.h"
#include "symbols/symtable.h"

#include <QtTest>
#include <QtWidgets>

namespace {

QStringList itemsOf(QWidget* window) {
    const auto* list = window->findChild<QListWidget*>();
    QStringList items;
    for (int i = 0; i < list->count(); ++i)
        items.append(list->item(i)->text());
    return items;
}

// The lines of a UTF-8 data file, each ended by LF.
QStringList dataLines(const QString& name) {
    QFile file(QStringLiteral(TARNWICK_TEST_DATA "/") + name);
    QStringList lines = QString::fromUtf8(file.open(QIODevice::ReadOnly) ? file.readAll() : "")
                            .split(QLatin1Char('\n'));
    return lines.mid(0, lines.size() - 1);
}

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

constexpr int pageCount = 6;

} // namespace

class TestHelpWindows : public QObject {
    Q_OBJECT

private slots:
    void cleanup() {
        for (QWidget* window : QApplication::topLevelWidgets())
            window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // Every help window and the symbol table editor, open side by side: captions, places,
    // sizes and texts of the windows and their controls.
    void everyWindowHasItsLayout() {
        QTemporaryDir home;
        qputenv("HOME", QFile::encodeName(home.path()));
        QHash<QString, QWidget*> windows;
        for (int page = 0; page < pageCount; ++page) {
            QWidget* window = showHelpWindow(HelpPage(page));
            windows.insert(window->objectName(), window);
        }
        QWidget* editor = showSymbolTableEditor(home.filePath(QStringLiteral("symtable.txt")));
        windows.insert(QStringLiteral("frmSymbolTableManagement"), editor);
        const QStringList rows = dataLines(QStringLiteral("help_and_editor_layout.tsv"));
        QCOMPARE(rows.size(), 46);
        for (const QString& row : rows.mid(1)) {
            const QStringList f = row.split(QLatin1Char('\t'));
            QWidget* window = windows.value(f[0]);
            QVERIFY2(window && window->isVisible() && !window->parentWidget(), qPrintable(row));
            QObject* object =
                f[1] == QLatin1String("-") ? window : window->findChild<QObject*>(f[1]);
            QVERIFY2(object, qPrintable(row));
            QCOMPARE(valueOf(object->property(qPrintable(f[2]))), f[3]);
        }
    }

    void eachPageShowsItsLinesInOneWindow_data() {
        QTest::addColumn<int>("number");
        for (int number = 0; number < pageCount; ++number)
            QTest::addRow("%d", number) << number;
    }

    void eachPageShowsItsLinesInOneWindow() {
        QFETCH(int, number);
        const HelpPage page = HelpPage(number);
        QPointer<QWidget> window = showHelpWindow(page);
        const QStringList lines =
            dataLines(QStringLiteral("help_%1.txt").arg(window->objectName()));
        QVERIFY(!window->isModal());
        QCOMPARE(itemsOf(window), lines);
        // A larger window shows more of the page: the list keeps its margins.
        QListWidget* list = window->findChild<QListWidget*>();
        const QSize listSize = list->size();
        window->resize(window->size() + QSize(30, 20));
        QTRY_COMPARE(list->size(), listSize + QSize(30, 20));

        // Chosen again, even while minimized: the same window, restored, no lines added.
        window->setWindowState(Qt::WindowMinimized);
        QCOMPARE(showHelpWindow(page), window.data());
        QVERIFY(!window->isMinimized());
        QCOMPARE(itemsOf(window), lines);

        // Exit unloads it at once: chosen again before the old window is deleted, a new one
        // comes with the page once.
        QTest::mouseClick(window->findChild<QPushButton*>(), Qt::LeftButton);
        QVERIFY(!openHelpWindow(page));
        QWidget* again = showHelpWindow(page);
        QVERIFY(again != window.data());
        QCOMPARE(itemsOf(again), lines);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window.isNull());
        QCOMPARE(openHelpWindow(page), again);
    }
};

QTEST_MAIN(TestHelpWindows)
#include "tst_helpwindows.moc"
