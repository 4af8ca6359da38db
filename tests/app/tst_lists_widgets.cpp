// The drive, folder and file lists the user chooses a source file with.

#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileListBox.h"
#include "dialogs/Dialogs.h"
#include "workspace/Volumes.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

void touch(const QString& path) {
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
}

QStringList texts(const QListWidget& list) {
    QStringList result;
    for (int row = 0; row < list.count(); ++row)
        result.append(list.item(row)->text());
    return result;
}

// The lines above the sub-folders: the volume's root, then each folder down to the path.
QStringList branchTexts(const QString& path) {
    const QString root = volumeOf(path, mountedRoots()).rootPath;
    return QStringList{QDir::toNativeSeparators(root)} +
           path.mid(root.size()).split('/', Qt::SkipEmptyParts);
}

void showAndWait(QWidget& widget) {
    widget.resize(300, 400);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
}

QPoint centreOf(const QListWidget& list, int row) {
    return list.visualItemRect(list.item(row)).center();
}

const Volume systemRoot{"/", "/", {}, {}};

} // namespace

class ListsTest : public QObject {
    Q_OBJECT
private slots:
    void cleanup() { Dialogs::setMessageHandler({}); }
    void fileListMatchesPatternWithoutRegardToCase_data();
    void fileListMatchesPatternWithoutRegardToCase();
    void fileListClickAndKeysChooseAName();
    void folderListShowsBranchThenSubFolders();
    void openingAFolderChangesPathOnce();
    void setDriveEmitsChangeOnlyForAnotherVolume();
    void garminVolumeOpensOnItsGpxFolder();
    void unreadableDriveKeepsThePreviousOne();
};

void ListsTest::fileListMatchesPatternWithoutRegardToCase_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("listed");
    // Sorted without regard to case; names differing only in case by their exact text.
    const QStringList gpx{"b.Gpx", "CURRENT.gpx", "current.GPX", "link.gpx", "x.gpx"};
    QTest::newRow("*.gpx") << "*.gpx" << gpx;
    QTest::newRow("*.GPX") << "*.GPX" << gpx;
    QTest::newRow("two patterns") << "*.gpx; *.TXT"
                                  << QStringList{"b.Gpx",    "CURRENT.gpx", "current.GPX",
                                                 "link.gpx", "notes.txt",   "x.gpx"};
    QTest::newRow("question mark") << "?.gpx" << QStringList{"b.Gpx", "x.gpx"};
}

// Only regular files (or links to them) are listed: a unit's file replaced by a link to an
// endless device must never be offered, nor a pipe or a folder.
void ListsTest::fileListMatchesPatternWithoutRegardToCase() {
    QFETCH(QString, pattern);
    QFETCH(QStringList, listed);
    QTemporaryDir dir;
    const QString d = dir.path() + '/';
    for (const char* name :
         {"x.gpx", "current.GPX", "notes.txt", "CURRENT.gpx", "b.Gpx", "x.gpx.bak", ".hidden.gpx"})
        touch(d + name);
    QVERIFY(QDir().mkdir(d + "folder.gpx"));
    QCOMPARE(::mkfifo(QFile::encodeName(d + "pipe.gpx").constData(), 0600), 0);
    QVERIFY(QFile::link("/dev/zero", d + "Current.gpx"));
    QVERIFY(QFile::link(d + "x.gpx", d + "link.gpx"));
    QVERIFY(QFile::link(d + "gone.gpx", d + "dangling.gpx"));
    QVERIFY(QFile::link(d + "folder.gpx", d + "folderlink.gpx"));
    FileListBox list;
    list.setPattern(pattern);
    list.setPath(dir.path());
    QCOMPARE(texts(list), listed);
}

// A click, Space or Enter chooses a name; moving with the arrow keys does not.
void ListsTest::fileListClickAndKeysChooseAName() {
    QTemporaryDir dir;
    for (const char* name : {"a.gpx", "b.gpx", "c.gpx"})
        touch(dir.path() + '/' + name);
    FileListBox list;
    list.setPath(dir.path());
    showAndWait(list);
    QSignalSpy clicks(&list, &FileListBox::Click);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, centreOf(list, 1));
    QCOMPARE(list.FileName(), "b.gpx");
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(clicks.size(), 1);
    QTest::keyClick(&list, Qt::Key_Space);
    QCOMPARE(list.FileName(), "c.gpx");
    QTest::keyClick(&list, Qt::Key_Up);
    QTest::keyClick(&list, Qt::Key_Return);
    QCOMPARE(list.FileName(), "b.gpx");
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, QPoint(10, 390)); // below the names
    QCOMPARE(clicks.size(), 3);

    // setPath reads the folder again even when it shows it already.
    touch(dir.path() + "/d.gpx");
    list.setPath(dir.path());
    QCOMPARE(list.count(), 4);
    list.setPath(dir.path() + "/unplugged");
    QCOMPARE(list.count(), 0);
}
void ListsTest::folderListShowsBranchThenSubFolders() {
    QTemporaryDir dir;
    for (const char* name : {"b", "A", "c", ".hidden"})
        QVERIFY(QDir(dir.path()).mkdir(name));
    touch(dir.path() + "/file.gpx");
    DirListBox list;
    list.setPath(dir.path());
    const QStringList branch = branchTexts(dir.path());
    QCOMPARE(texts(list), branch + (QStringList{"A", "b", "c"}));
    QCOMPARE(list.subFolders(),
             (QStringList{dir.path() + "/A", dir.path() + "/b", dir.path() + "/c"}));
    QCOMPARE(list.currentRow(), branch.size() - 1);

    // A folder that is gone (or can't be read) still shows its branch, to go back up by.
    const QString missing = dir.path() + "/unplugged/GPX";
    list.setPath(missing);
    QCOMPARE(texts(list), branchTexts(missing));
    QVERIFY(list.subFolders().isEmpty());
}

// Change() arrives once per new path, with the path already in place.
void ListsTest::openingAFolderChangesPathOnce() {
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath("A/inner"));
    DirListBox list;
    list.setPath(dir.path());
    showAndWait(list);
    QStringList seen;
    connect(&list, &DirListBox::Change, &list, [&] { seen.append(list.Path()); });
    const int firstSub = int(branchTexts(dir.path()).size());
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, centreOf(list, firstSub));
    QCOMPARE(seen, QStringList());
    QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, centreOf(list, firstSub));
    QCOMPARE(seen, QStringList{dir.path() + "/A"});
    QCOMPARE(list.subFolders(), QStringList{dir.path() + "/A/inner"});
    // Enter on the parent's line goes back up; Enter on the current folder changes nothing.
    for (int i = 0; i < 2; ++i) {
        list.setCurrentRow(firstSub - 1);
        QTest::keyClick(&list, Qt::Key_Return);
    }
    for (const QString& same : {dir.path(), dir.path() + "/", dir.path() + "/A/.."})
        list.setPath(same);
    QCOMPARE(seen, (QStringList{dir.path() + "/A", dir.path()}));
}

void ListsTest::setDriveEmitsChangeOnlyForAnotherVolume() {
    QTemporaryDir unit;
    QVERIFY(QDir(unit.path()).mkpath("a/b"));
    DriveListBox drives;
    drives.setVolumes({systemRoot, volumeAt(unit.path(), "GARMIN")});
    QCOMPARE(drives.Drive(), "/");
    QStringList seen;
    connect(&drives, &DriveListBox::Change, &drives, [&] { seen.append(drives.Drive()); });
    drives.setDrive(unit.path() + "/a/b");
    drives.setDrive(unit.path() + "/a");
    QCOMPARE(seen, QStringList{unit.path()});
    QCOMPARE(drives.currentIndex(), 1);
    // The unit unplugged: the list moves to the volume that now holds its path.
    drives.setVolumes({systemRoot});
    QCOMPARE(seen, (QStringList{unit.path(), "/"}));
}
void ListsTest::garminVolumeOpensOnItsGpxFolder() {
    QTemporaryDir unit;
    QTemporaryDir stick;
    QVERIFY(QDir(unit.path()).mkpath("Garmin/GPX"));
    QVERIFY(QDir(unit.path()).mkpath("Other/deep"));
    DriveListBox drives;
    drives.setVolumes({systemRoot, volumeAt(unit.path(), "GARMIN"), volumeAt(stick.path(), "")});
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Garmin/GPX");
    QCOMPARE(drives.currentFolderOf(stick.path()), stick.path());

    // The folder last shown wins; once removed, its nearest remaining ancestor stands in.
    drives.rememberFolder(unit.path() + "/Other/deep");
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Other/deep");
    QVERIFY(QDir(unit.path()).rmdir("Other/deep"));
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Other");
}

void ListsTest::unreadableDriveKeepsThePreviousOne() {
    QTemporaryDir dir;
    const QString gone = dir.path() + "/GARMIN";
    DriveListBox drives;
    drives.setVolumes(
        {systemRoot, {gone, "GARMIN (" + gone + ")", {}, {}}, {dir.path(), "USB", {}, {}}});
    QStringList messages;
    Dialogs::setMessageHandler([&](const QString& text) { messages.append(text); });
    QSignalSpy changes(&drives, &DriveListBox::Change);
    QTest::keyClick(&drives, Qt::Key_Down);
    QCOMPARE(messages.size(), 1);
    QVERIFY2(messages.first().contains("GARMIN (" + gone + ")"), qPrintable(messages.first()));
    QCOMPARE(changes.size(), 0);
    QCOMPARE(drives.currentIndex(), 0);
    // Down from the unreadable drive's line takes the next drive.
    drives.setCurrentIndex(1);
    QTest::keyClick(&drives, Qt::Key_Down);
    QCOMPARE(changes.size(), 1);
    QCOMPARE(drives.Drive(), dir.path());
}
QTEST_MAIN(ListsTest)
#include "tst_lists_widgets.moc"
