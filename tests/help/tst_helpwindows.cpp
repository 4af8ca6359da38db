#include "help/HelpWindow.h"
#include "symbols/frmSymbolTableManagement.h"
#include "TestRows.h"

#include <QtTest>
#include <QtWidgets>

namespace {

QStringList itemsOf(QWidget* window) {
    QStringList items;
    for (const QListWidgetItem* item : window->findChild<QListWidget*>()->findItems(
             QStringLiteral(".*"), Qt::MatchRegularExpression))
        items.append(item->text());
    return items;
}

// The lines of a UTF-8 data file; a blank help line is one space, never empty.
QStringList dataLines(const QString& name) {
    return QString::fromUtf8(dataBytes(qPrintable(name)))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
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

} // namespace

class TestHelpWindows : public QObject {
    Q_OBJECT

private slots:
    void cleanup() {
        for (QWidget* window : QApplication::topLevelWidgets())
            window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // Every help window and the editor, open side by side, and their controls as laid out.
    void everyWindowHasItsLayout() {
        for (int page = 0; page <= int(HelpPage::SymbolTable); ++page)
            showHelpWindow(HelpPage(page));
        QTemporaryDir dir;
        showSymbolTableEditor(dir.filePath(QStringLiteral("symtable.txt")));
        const QList<QStringList> rows = tableRows("help_and_editor_layout.tsv");
        QCOMPARE(rows.size(), 45);
        for (const QStringList& f : rows) {
            QWidget* window = nullptr;
            for (QWidget* open : QApplication::topLevelWidgets())
                window = open->objectName() == f[0] && open->isVisible() ? open : window;
            QObject* object =
                f[1] == QLatin1String("-") || !window ? window : window->findChild<QObject*>(f[1]);
            QVERIFY2(object, qPrintable(f.join(u' ')));
            QCOMPARE(valueOf(object->property(qPrintable(f[2]))), f[3]);
        }
    }

    void eachPageShowsItsLinesInOneWindow_data() {
        QTest::addColumn<int>("number");
        for (int number = 0; number <= int(HelpPage::SymbolTable); ++number)
            QTest::addRow("%d", number) << number;
    }

    void eachPageShowsItsLinesInOneWindow() {
        QFETCH(int, number);
        QPointer<QWidget> window = showHelpWindow(HelpPage(number));
        const QStringList lines =
            dataLines(QStringLiteral("help_%1.txt").arg(window->objectName()));
        QCOMPARE(itemsOf(window), lines);
        // A larger window shows more of the page: the list keeps its margins.
        QListWidget* list = window->findChild<QListWidget*>();
        const QSize listSize = list->size();
        window->resize(window->size() + QSize(30, 20));
        QTRY_COMPARE(list->size(), listSize + QSize(30, 20));

        // Chosen again, even while minimized: the same window, restored, no lines added.
        window->setWindowState(Qt::WindowMinimized);
        QCOMPARE(showHelpWindow(HelpPage(number)), window.data());
        QVERIFY(!window->isMinimized());
        QCOMPARE(itemsOf(window), lines);

        // Exit unloads it at once; chosen again, a new one comes with the page once.
        QTest::mouseClick(window->findChild<QPushButton*>(), Qt::LeftButton);
        QVERIFY(!openHelpWindow(HelpPage(number)));
        QCOMPARE(itemsOf(showHelpWindow(HelpPage(number))), lines);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window.isNull());
    }
};

QTEST_MAIN(TestHelpWindows)
#include "tst_helpwindows.moc"
