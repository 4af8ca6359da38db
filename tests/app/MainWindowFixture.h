#pragma once

// A private workspace for main-window tests: HOME and the workspace point at a temporary
// folder, and the message and input boxes are answered by the test instead of a person.

#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileListBox.h"
#include "app/frmForm1.h"
#include "app/WindowSettings.h"
#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"
#include "TestHome.h"
#include "TestRows.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QListWidget>
#include <QMenu>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class MainWindowFixture {
public:
    MainWindowFixture() {
        useTestHome(home.path());
        // Remembered window settings go to a place for tests, whatever XDG_CONFIG_HOME says;
        // on Windows that place is one for every test, so each starts without settings.
        QStandardPaths::setTestModeEnabled(true);
        WindowSettings::open()->clear();
        Dialogs::setMessageHandler([this](const QString& text) { messages.append(text); });
        Dialogs::setInputHandler(
            [this](const QString& prompt, const QString& title, const QString& answer) {
                prompts.append(prompt + QLatin1Char('|') + title + QLatin1Char('|') + answer);
                return answers.isEmpty() ? QString() : answers.takeFirst();
            });
    }
    ~MainWindowFixture() {
        window.reset();
        Dialogs::setMessageHandler({});
        Dialogs::setInputHandler({});
    }

    QString root() const { return home.path() + QStringLiteral("/GPX"); }
    QString device(const QString& name) const { return root() + QLatin1Char('/') + name; }

    void makeDevices(const QStringList& names) {
        QDir().mkpath(root());
        for (const QString& name : names)
            QDir().mkpath(device(name));
    }

    static void writeFile(const QString& path, const QByteArray& bytes) {
        QFile file(path);
        QVERIFY2(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
                 qPrintable(path));
    }

    static QByteArray readFile(const QString& path) { return fileBytes(path); }

    // Those of the names whose control is shown, or whose menu or item is usable.
    QStringList on(const QStringList& names) const {
        QStringList out;
        for (const QString& name : names) {
            const QWidget* widget = window->findChild<QWidget*>(name);
            if (qobject_cast<const QMenu*>(widget) ? widget->isEnabled()
                : widget                           ? widget->isVisible()
                                                   : window->findChild<QAction*>(name)->isEnabled())
                out.append(name);
        }
        return out;
    }

    static QStringList texts(const QListWidget& list) {
        QStringList names;
        for (int row = 0; row < list.count(); ++row)
            names.append(list.item(row)->text());
        return names;
    }

    // Every entry below a folder by its path from there: "/" for a folder, a file's bytes or,
    // cheaper, its size and time.
    static QMap<QString, QByteArray> tree(const QString& folder, bool bytes = true) {
        QMap<QString, QByteArray> out;
        for (QDirIterator it(folder,
                             QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                             QDirIterator::Subdirectories);
             it.hasNext();) {
            const QFileInfo info(it.next());
            out[QDir(folder).relativeFilePath(info.filePath())] =
                !info.isFile() || info.isSymLink() ? "/"
                : bytes                            ? readFile(info.filePath())
                                                   : QByteArray::number(info.size()) + ' ' +
                              QByteArray::number(info.lastModified().toMSecsSinceEpoch());
        }
        return out;
    }

    frmForm1& start() {
        window = std::make_unique<frmForm1>();
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get()))
            qWarning("the main window was not exposed");
        return *window;
    }

    // Clicks a name in the file list, or a cell of the item grid, as the user would.
    void clickFile(const QString& name) {
        const QList<QListWidgetItem*> found = window->File1->findItems(name, Qt::MatchExactly);
        QVERIFY2(found.size() == 1, qPrintable(name));
        window->File1->scrollToItem(found.first());
        const QRect rect = window->File1->visualItemRect(found.first());
        QTest::mouseClick(window->File1->viewport(), Qt::LeftButton, {}, rect.center());
    }
    void clickGrid(int row, int col = 1) {
        const QRect rect = window->Grid1->visualRect(window->Grid1->gridModel()->index(row, col));
        QTest::mouseClick(window->Grid1->viewport(), Qt::LeftButton, {}, rect.center());
    }

    // Puts a source file into a folder, opens the lists on it and clicks it.
    void chooseSource(const QString& folder, const QString& name, const QByteArray& bytes) {
        writeFile(folder + QLatin1Char('/') + name, bytes);
        window->CurrentFolder = folder;
        window->mnuOpen_Click();
        clickFile(name);
    }

    // A first run that creates «Nuvi_1», with bytes chosen as the CURRENT.GPX in its folder.
    frmForm1& startWithSource(const QByteArray& bytes) {
        answers = {QStringLiteral("Nuvi_1")};
        frmForm1& w = start();
        chooseSource(device(QStringLiteral("Nuvi_1")), QStringLiteral("CURRENT.GPX"), bytes);
        return w;
    }

    QStringList column(int col) const {
        QStringList cells;
        for (int row = 1; row < window->Grid1->Rows(); ++row)
            cells.append(window->Grid1->TextMatrix(row, col));
        return cells;
    }

    QTemporaryDir home;
    QStringList messages;
    QStringList prompts;
    QStringList answers;
    std::unique_ptr<frmForm1> window;
};
