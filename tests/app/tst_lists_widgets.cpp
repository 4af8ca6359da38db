// The drive, folder and file lists the user chooses a source file with.

#include "app/Dialogs.h"
#include "app/DirListBox.h"
#include "app/DriveListBox.h"
#include "app/FileListBox.h"
#include "app/Volumes.h"

#include <QDir>
#include <QElapsedTimer>
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
    void fileListListsOnlyRegularFiles();
    void fileListClickAndKeysChooseAName();
    void fileListShowsCorpusGpxFiles();
    void folderListShowsBranchThenSubFolders();
    void openingAFolderChangesPathOnce();
    void listsKeepUpWithThousandsOfEntries();
    void setDriveEmitsChangeOnlyForAnotherVolume();
    void garminVolumeOpensOnItsGpxFolder();
    void unreadableDriveKeepsThePreviousOne();
};

void ListsTest::fileListMatchesPatternWithoutRegardToCase_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("listed");
    // Sorted without regard to case; names differing only in case by their exact text.
    const QStringList gpx{"b.Gpx", "CURRENT.gpx", "current.GPX", "x.gpx"};
    QTest::newRow("*.gpx") << "*.gpx" << gpx;
    QTest::newRow("*.GPX") << "*.GPX" << gpx;
    QTest::newRow("two patterns") << "*.gpx; *.TXT"
                                  << QStringList{"b.Gpx", "CURRENT.gpx", "current.GPX", "notes.txt",
                                                 "x.gpx"};
    QTest::newRow("question mark") << "?.gpx" << QStringList{"b.Gpx", "x.gpx"};
}

void ListsTest::fileListMatchesPatternWithoutRegardToCase() {
    QFETCH(QString, pattern);
    QFETCH(QStringList, listed);
    QTemporaryDir dir;
    for (const char* name :
         {"x.gpx", "current.GPX", "notes.txt", "CURRENT.gpx", "b.Gpx", "x.gpx.bak", ".hidden.gpx"})
        touch(dir.path() + '/' + name);
    FileListBox list;
    list.setPattern(pattern);
    list.setPath(dir.path());
    QCOMPARE(texts(list), listed);

    // setPath re-reads even the folder it shows; another folder shows its own files.
    touch(dir.path() + "/new.gpx");
    list.setPath(dir.path());
    QCOMPARE(list.count(), listed.size() + (FileListBox::matches("new.gpx", pattern) ? 1 : 0));
    list.setPath(dir.path() + "/unplugged");
    QCOMPARE(list.count(), 0);
}

void ListsTest::fileListListsOnlyRegularFiles() {
    QTemporaryDir dir;
    const QString d = dir.path() + '/';
    touch(d + "real.gpx");
    QVERIFY(QDir().mkdir(d + "x.gpx"));
    QCOMPARE(::mkfifo(QFile::encodeName(d + "pipe.gpx").constData(), 0600), 0);
    // A unit's file replaced by a link to an endless device must never be offered.
    QVERIFY(QFile::link("/dev/zero", d + "CURRENT.GPX"));
    QVERIFY(QFile::link(d + "real.gpx", d + "link.gpx"));
    QVERIFY(QFile::link(d + "gone.gpx", d + "dangling.gpx"));
    QVERIFY(QFile::link(d + "x.gpx", d + "folderlink.gpx"));
    FileListBox list;
    list.setPattern("*.gpx");
    list.setPath(dir.path());
    QCOMPARE(texts(list), (QStringList{"link.gpx", "real.gpx"}));
}

void ListsTest::fileListClickAndKeysChooseAName() {
    QTemporaryDir dir;
    for (const char* name : {"a.gpx", "b.gpx", "c.gpx"})
        touch(dir.path() + '/' + name);
    FileListBox list;
    list.setPath(dir.path());
    showAndWait(list);
    QSignalSpy clicks(&list, &FileListBox::Click);
    QVERIFY(list.FileName().isEmpty());

    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, centreOf(list, 1));
    QCOMPARE(clicks.size(), 1);
    QCOMPARE(list.FileName(), "b.gpx");
    // Moving with the arrow keys is no choice; Space and Enter are.
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(clicks.size(), 1);
    QTest::keyClick(&list, Qt::Key_Space);
    QCOMPARE(clicks.size(), 2);
    QCOMPARE(list.FileName(), "c.gpx");
    QTest::keyClick(&list, Qt::Key_Up);
    QTest::keyClick(&list, Qt::Key_Return);
    QCOMPARE(clicks.size(), 3);
    QCOMPARE(list.FileName(), "b.gpx");
    // Below the last name there is nothing to choose.
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, QPoint(10, 390));
    QCOMPARE(clicks.size(), 3);
}

void ListsTest::fileListShowsCorpusGpxFiles() {
    const QDir corpus(QStringLiteral(TARNWICK_CORPUS));
    if (!corpus.exists())
        QSKIP("the shared GPX corpus is not present");
    FileListBox list;
    list.setPattern("*.GPX");
    list.setPath(corpus.path());
    const QStringList listed = texts(list);
    QCOMPARE(listed.size(), corpus.entryList({"*.gpx"}, QDir::Files).size());
    QVERIFY(!listed.isEmpty() && !listed.contains("SOURCES.tsv"));
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

void ListsTest::openingAFolderChangesPathOnce() {
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath("A/inner"));
    DirListBox list;
    list.setPath(dir.path());
    showAndWait(list);
    QSignalSpy changes(&list, &DirListBox::Change);
    // The new path is in place when Change() arrives, inside the call that set it.
    QString seen;
    connect(&list, &DirListBox::Change, &list, [&] { seen = list.Path(); });

    const int firstSub = int(branchTexts(dir.path()).size());
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, centreOf(list, firstSub));
    QCOMPARE(changes.size(), 0);
    QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, centreOf(list, firstSub));
    QCOMPARE(changes.size(), 1);
    QCOMPARE(seen, dir.path() + "/A");
    QCOMPARE(list.subFolders(), QStringList{dir.path() + "/A/inner"});

    // Enter on the parent's line goes back up; Enter on the current folder changes nothing.
    list.setCurrentRow(firstSub - 1);
    QTest::keyClick(&list, Qt::Key_Return);
    QCOMPARE(list.Path(), dir.path());
    list.setCurrentRow(firstSub - 1);
    QTest::keyClick(&list, Qt::Key_Return);
    for (const QString& same : {dir.path(), dir.path() + "/", dir.path() + "/A/.."})
        list.setPath(same);
    QCOMPARE(changes.size(), 2);
}

void ListsTest::listsKeepUpWithThousandsOfEntries() {
    QTemporaryDir dir;
    constexpr int entries = 3000;
    for (int i = 0; i < entries; ++i) {
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("f%1").arg(i)));
        touch(dir.path() + QStringLiteral("/n%1.gpx").arg(i));
    }
    QElapsedTimer timer;
    timer.start();
    DirListBox folders;
    folders.setPath(dir.path());
    FileListBox files;
    files.setPath(dir.path());
    // Generous: work that grows with the square of the entries takes far longer.
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(folders.subFolders().size(), entries);
    QCOMPARE(files.count(), entries);
}

void ListsTest::setDriveEmitsChangeOnlyForAnotherVolume() {
    QTemporaryDir unit;
    QVERIFY(QDir(unit.path()).mkpath("a/b"));
    DriveListBox drives;
    drives.setVolumes({systemRoot, volumeAt(unit.path(), "GARMIN")});
    QCOMPARE(drives.Drive(), "/");
    QSignalSpy changes(&drives, &DriveListBox::Change);
    QString seen;
    connect(&drives, &DriveListBox::Change, &drives, [&] { seen = drives.Drive(); });

    drives.setDrive(unit.path() + "/a/b");
    QCOMPARE(changes.size(), 1);
    QCOMPARE(seen, unit.path());
    QCOMPARE(drives.currentIndex(), 1);
    drives.setDrive(unit.path() + "/a");
    QCOMPARE(changes.size(), 1);

    // The unit unplugged: the list moves to the volume that now holds its path.
    drives.setVolumes({systemRoot});
    QCOMPARE(changes.size(), 2);
    QCOMPARE(drives.Drive(), "/");
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
    QCOMPARE(drives.Drive(), "/");
    QCOMPARE(drives.currentIndex(), 0);

    drives.setCurrentIndex(1);
    QTest::keyClick(&drives, Qt::Key_Down);
    QCOMPARE(changes.size(), 1);
    QCOMPARE(drives.Drive(), dir.path());
}

QTEST_MAIN(ListsTest)
#include "tst_lists_widgets.moc"
