// The drive, folder and file lists the user chooses a source file with.

#include "MainWindowFixture.h"

#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileListBox.h"
#include "dialogs/Dialogs.h"
#include "workspace/Volumes.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#ifndef Q_OS_WIN
#include <sys/stat.h>
#endif

namespace {

void click(QListWidget& list, int row, bool twice = false) {
    const QPoint at = list.visualItemRect(list.item(row)).center();
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, at);
    if (twice)
        QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, at);
}

const Volume systemRoot{"/", "/", {}, {}};

} // namespace

class ListsTest : public QObject {
    Q_OBJECT
private slots:
    void fileListShowsRegularFilesMatchingWithoutRegardToCase_data();
    void fileListShowsRegularFilesMatchingWithoutRegardToCase();
    void fileListChoosesByClickSpaceOrEnter();
    void folderListShowsBranchAndOpensFolders();
    void aDriveThatDoesNotAnswerHoldsUpNothing();
    void driveListFollowsVolumes();
};

void ListsTest::fileListShowsRegularFilesMatchingWithoutRegardToCase_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("listed");
#ifdef Q_OS_WIN
    // Names that differ only in case are one file there: "CURRENT.gpx" opens "current.GPX".
    const QStringList gpx{"b.Gpx", "current.GPX", "link.gpx", "x.gpx"};
#else
    const QStringList gpx{"b.Gpx", "CURRENT.gpx", "current.GPX", "link.gpx", "x.gpx"};
#endif
    QTest::newRow("*.gpx") << "*.gpx" << gpx;
    QTest::newRow("*.GPX") << "*.GPX" << gpx;
    QTest::newRow("two patterns") << "*.gpx; *.TXT" << QStringList(gpx + QStringList{"notes.txt"});
    QTest::newRow("question mark") << "?.gpx" << QStringList{"b.Gpx", "x.gpx"};
}

// Only regular files (or links to them) are offered: never a pipe, a folder or a link to an
// endless device.
void ListsTest::fileListShowsRegularFilesMatchingWithoutRegardToCase() {
    QFETCH(QString, pattern);
    QFETCH(QStringList, listed);
    QTemporaryDir dir;
    const QString d = dir.path() + '/';
    for (const char* name :
         {"x.gpx", "current.GPX", "notes.txt", "CURRENT.gpx", "b.Gpx", "x.gpx.bak", ".h.gpx"})
        QFile(d + name).open(QIODevice::WriteOnly);
    QVERIFY(QDir().mkdir(d + "folder.gpx"));
#ifdef Q_OS_WIN
    // Windows has no FIFOs and no symbolic links that a user makes without rights; a copy
    // stands in for the link to a file.
    QVERIFY(QFile::copy(d + "x.gpx", d + "link.gpx"));
#else
    QCOMPARE(::mkfifo(QFile::encodeName(d + "pipe.gpx").constData(), 0600), 0);
    QVERIFY(QFile::link("/dev/zero", d + "Current.gpx") &&
            QFile::link(d + "x.gpx", d + "link.gpx"));
    QVERIFY(QFile::link(d + "gone.gpx", d + "dangling.gpx"));
#endif
    FileListBox list;
    list.setPattern(pattern);
    list.setPath(dir.path());
    listed.sort(Qt::CaseInsensitive);
    QCOMPARE(MainWindowFixture::texts(list), listed);
    QVERIFY(list.updatesEnabled()); // a list filled in one go is painted again
}

void ListsTest::fileListChoosesByClickSpaceOrEnter() {
    QTemporaryDir dir;
    for (const char* name : {"a.gpx", "b.gpx", "c.gpx"})
        QFile(dir.path() + '/' + name).open(QIODevice::WriteOnly);
    FileListBox list;
    list.setPath(dir.path());
    list.show();
    QVERIFY(QTest::qWaitForWindowExposed(&list));
    QSignalSpy clicks(&list, &FileListBox::Click);
    click(list, 1);
    QCOMPARE(list.FileName(), "b.gpx");
    QTest::keyClick(&list, Qt::Key_Down); // moving does not choose
    QCOMPARE(clicks.size(), 1);
    QTest::keyClick(&list, Qt::Key_Space);
    QCOMPARE(list.FileName(), "c.gpx");
    QTest::keyClick(&list, Qt::Key_Up);
    QTest::keyClick(&list, Qt::Key_Return);
    QCOMPARE(list.FileName(), "b.gpx");
    QCOMPARE(clicks.size(), 3);
    // setPath reads the folder again; a folder that is gone lists nothing.
    QFile(dir.path() + "/d.gpx").open(QIODevice::WriteOnly);
    list.setPath(dir.path());
    QCOMPARE(list.count(), 4);
    QCOMPARE(list.FileName(), "b.gpx"); // the chosen file stays chosen
    list.setPath(dir.path() + "/unplugged");
    QCOMPARE(list.count(), 0);
}

// The volume's root and each folder down to the path, then the sub-folders; a double click
// opens one, and Change() comes once per new path.
void ListsTest::folderListShowsBranchAndOpensFolders() {
    QTemporaryDir dir;
    for (const char* name : {"b", "A/inner", ".hidden"})
        QVERIFY(QDir(dir.path()).mkpath(name));
    DirListBox list;
    list.setPath(dir.path() + "/");
    const QString root = volumeOf(dir.path(), mountedRoots()).rootPath;
    const QStringList branch = QStringList{QDir::toNativeSeparators(root)} +
                               dir.path().mid(root.size()).split('/', Qt::SkipEmptyParts);
    QCOMPARE(MainWindowFixture::texts(list), (branch + QStringList{"A", "b"}));
    QVERIFY(list.updatesEnabled());
    QSignalSpy changes(&list, &DirListBox::Change);
    list.show();
    QVERIFY(QTest::qWaitForWindowExposed(&list));
    click(list, int(branch.size()), true);
    QCOMPARE(list.Path(), dir.path() + "/A");
    list.setPath(dir.path() + "/A/../A");
    QCOMPARE(changes.size(), 1);
}

void ListsTest::driveListFollowsVolumes() {
    QTemporaryDir unit;
    QTemporaryDir stick;
    QVERIFY(QDir(unit.path()).mkpath("Garmin/GPX") && QDir(unit.path()).mkpath("Other/deep"));
    DriveListBox drives;
    drives.setVolumes({systemRoot, volumeAt(unit.path(), "GARMIN"), volumeAt(stick.path(), "")});
    QCOMPARE(drives.Drive(), "/");
    QStringList seen;
    connect(&drives, &DriveListBox::Change, &drives, [&] { seen.append(drives.Drive()); });
    drives.setDrive(unit.path() + "/Garmin/GPX");
    drives.setDrive(unit.path() + "/Garmin");
    QCOMPARE(seen, QStringList{unit.path()});
    // A unit opens on its GPX folder, other volumes on their root, until a folder is shown;
    // once that folder is gone, its nearest remaining ancestor stands in.
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Garmin/GPX");
    QCOMPARE(drives.currentFolderOf(stick.path()), stick.path());
    drives.rememberFolder(unit.path() + "/Other/deep");
    QVERIFY(QDir(unit.path()).rmdir("Other/deep"));
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Other");
    // Unplugged: the list moves to the volume that now holds its path.
    QCOMPARE(drives.itemData(1, Qt::ToolTipRole),
             "GARMIN (" + QDir::toNativeSeparators(unit.path()) + ")\n" +
                 QDir::toNativeSeparators(unit.path() + "/Garmin/GPX"));
    drives.setVolumes(
        {systemRoot, {unit.path() + "/gone", "GONE", {}, {}}, {stick.path(), "USB", "nuvi", {}}});
    QCOMPARE(seen, (QStringList{unit.path(), "/"}));
    drives.rememberFolder(unit.path() + "/gone/x"); // never above the root, even a gone one
    QCOMPARE(drives.currentFolderOf(unit.path() + "/gone"), unit.path() + "/gone");
    // An unreadable drive says so and keeps the previous one; Down goes on past it.
    QStringList messages;
    Dialogs::setMessageHandler([&](const QString& text) { messages.append(text); });
    QTest::keyClick(&drives, Qt::Key_Down);
    QCOMPARE(drives.currentIndex(), 0);
    QCOMPARE(messages, QStringList{"The drive GONE can't be read: it is not there any more (was "
                                   "the unit unplugged?)."});
    drives.setCurrentIndex(1);
    QTest::keyClick(&drives, Qt::Key_Down);
    QCOMPARE(drives.Drive(), stick.path());
    QCOMPARE(drives.currentText() + '|' + drives.toolTip(), "USB - nuvi|USB - nuvi");
    Dialogs::setMessageHandler({});
}

// The drives are listed by their roots at once and named as each answers: a drive that does
// not answer (a stand-in that waits until it is let go) holds up neither the window nor the
// other drives, is asked only once however often the list drops down, and takes its label
// when it answers. A drive pulled out before it answers takes no answer.
void ListsTest::aDriveThatDoesNotAnswerHoldsUpNothing() {
    auto asked = std::make_shared<QSemaphore>(), answer = std::make_shared<QSemaphore>();
    QList<Volume> mounted = {{"C:/", "C:", {}, {}}, {"N:/", "N:", {}, {}}, {"E:/", "E:", {}, {}}};
    const auto describe = [asked, answer](const QString& root) {
        asked->release();
        // Waiting at most 10 s: if the list asked on the window's thread, the test fails on
        // the time it took rather than hanging.
        if (root != "C:/" && !answer->tryAcquire(1, 10000))
            return Volume{root, "never answered", {}, {}};
        return Volume{root, root == "E:/" ? "GARMIN (E:)" : root.left(1) + " DRIVE", {}, {}};
    };
    QElapsedTimer clock;
    clock.start();
    DriveListBox drives(
        nullptr, [&] { return mounted; }, describe);
    QVERIFY(clock.elapsed() < 5000);
    QCOMPARE(drives.count(), 3);
    QTRY_COMPARE(drives.itemText(0), "C DRIVE");
    QCOMPARE(drives.itemText(1), "N:");
    drives.showPopup();
    drives.hidePopup();
    QTRY_COMPARE(asked->available(), 4);
    QCOMPARE(drives.itemText(1) + '|' + drives.itemText(2), "N:|E:");
    QTRY_VERIFY(!drives.findChild<DriveDetails*>()->waitingFor("C:/"));
    mounted.removeAt(1);
    drives.refresh();
    answer->release(2);
    QTRY_COMPARE(drives.itemText(1), "GARMIN (E:)");
    QCOMPARE(drives.count(), 2);
    QTRY_COMPARE(asked->available(), 5);
}

QTEST_MAIN(ListsTest)
#include "tst_lists_widgets.moc"
