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

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

namespace {

void writeFile(const QString& path, const QByteArray& bytes = "<gpx/>") {
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    QCOMPARE(file.write(bytes), bytes.size());
}

QStringList texts(const QListWidget& list) {
    QStringList result;
    for (int row = 0; row < list.count(); ++row)
        result.append(list.item(row)->text());
    return result;
}

// The lines a folder list shows above the sub-folders: the volume's root, then one name per
// folder down to the current one.
QStringList branchTexts(const QString& path) {
    const QString root = volumeOf(path, mountedRoots()).rootPath;
    QStringList lines{QDir::toNativeSeparators(root)};
    const QString rest = path.mid(root.size());
    lines.append(rest.split('/', Qt::SkipEmptyParts));
    return lines;
}

bool canReadAnyway(const QString& folder) {
    return ::access(QFile::encodeName(folder).constData(), R_OK | X_OK) == 0;
}

void clickItem(QListWidget& list, int row, bool twice) {
    const QRect rect = list.visualItemRect(list.item(row));
    if (twice) {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, rect.center());
        QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, rect.center());
    } else {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, rect.center());
    }
}

} // namespace

class ListsTest : public QObject {
    Q_OBJECT
private slots:
    void cleanup() { Dialogs::setMessageHandler({}); }

    void fileListMatchesPatternWithoutRegardToCase_data();
    void fileListMatchesPatternWithoutRegardToCase();
    void fileListListsOnlyRegularFiles();
    void fileListClickAndKeysChooseAName();
    void fileListRereadsOnEverySetPath();
    void fileListOnMissingFolderIsEmpty();
    void fileListShowsCorpusGpxFiles();

    void folderListShowsBranchThenSubFolders();
    void openingAFolderChangesPathOnce();
    void settingTheSamePathEmitsNothing();
    void folderListSurvivesMissingAndUnreadableFolders();
    void folderListKeepsUpWithThousandsOfFolders();

    void setDriveEmitsChangeOnlyForAnotherVolume();
    void garminVolumeOpensOnItsGpxFolder();
    void unreadableDriveKeepsThePreviousOne();
    void vanishedDriveMovesToTheVolumeLeft();
};

void ListsTest::fileListMatchesPatternWithoutRegardToCase_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("listed");
    // Listed names are sorted without regard to case, names differing only in case by their
    // exact text.
    QTest::newRow("*.gpx") << "*.gpx"
                           << QStringList{"b.Gpx", "CURRENT.gpx", "current.GPX", "x.gpx"};
    QTest::newRow("*.GPX") << "*.GPX"
                           << QStringList{"b.Gpx", "CURRENT.gpx", "current.GPX", "x.gpx"};
    QTest::newRow("two patterns") << "*.gpx; *.TXT"
                                  << QStringList{"b.Gpx", "CURRENT.gpx", "current.GPX", "notes.txt",
                                                 "x.gpx"};
    QTest::newRow("name pattern") << "current.*" << QStringList{"CURRENT.gpx", "current.GPX"};
    QTest::newRow("question mark") << "?.gpx" << QStringList{"b.Gpx", "x.gpx"};
    QTest::newRow("empty lists all") << "" << QStringList{"b.Gpx",     "CURRENT.gpx", "current.GPX",
                                                          "notes.txt", "x.gpx",       "x.gpx.bak"};
}

void ListsTest::fileListMatchesPatternWithoutRegardToCase() {
    QFETCH(QString, pattern);
    QFETCH(QStringList, listed);
    QTemporaryDir dir;
    for (const char* name :
         {"x.gpx", "current.GPX", "notes.txt", "CURRENT.gpx", "b.Gpx", "x.gpx.bak", ".hidden.gpx"})
        writeFile(dir.path() + '/' + name);
    FileListBox list;
    list.setPattern(pattern);
    list.setPath(dir.path());
    QCOMPARE(texts(list), listed);
    QCOMPARE(list.Pattern(), pattern);
    QVERIFY(list.FileName().isEmpty());
}

void ListsTest::fileListListsOnlyRegularFiles() {
    QTemporaryDir dir;
    const QString d = dir.path() + '/';
    writeFile(d + "real.gpx");
    QVERIFY(QDir().mkdir(d + "x.gpx"));
    QCOMPARE(::mkfifo(QFile::encodeName(d + "pipe.gpx").constData(), 0600), 0);
    // A unit's file replaced by a link to an endless device must not be offered for reading.
    QVERIFY(QFile::link("/dev/zero", d + "CURRENT.GPX"));
    QVERIFY(QFile::link(d + "real.gpx", d + "link.gpx"));
    QVERIFY(QFile::link(d + "gone.gpx", d + "dangling.gpx"));
    QVERIFY(QFile::link(d + "x.gpx", d + "dirlink.gpx"));

    const QByteArray socketPath = QFile::encodeName(d + "sock.gpx");
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    QVERIFY(fd >= 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const bool socketMade =
        socketPath.size() < qsizetype(sizeof(address.sun_path)) &&
        (std::memcpy(address.sun_path, socketPath.constData(), socketPath.size()),
         ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0);
    ::close(fd);

    FileListBox list;
    list.setPattern("*.gpx");
    list.setPath(dir.path());
    QCOMPARE(texts(list), (QStringList{"link.gpx", "real.gpx"}));
    if (!socketMade)
        qInfo("no socket could be made in %s; sockets not checked", qPrintable(d));
}

void ListsTest::fileListClickAndKeysChooseAName() {
    QTemporaryDir dir;
    for (const char* name : {"a.gpx", "b.gpx", "c.gpx"})
        writeFile(dir.path() + '/' + name);
    FileListBox list;
    list.resize(200, 200);
    list.setPattern("*.gpx");
    list.setPath(dir.path());
    list.show();
    QVERIFY(QTest::qWaitForWindowExposed(&list));
    QSignalSpy clicks(&list, &FileListBox::Click);

    clickItem(list, 1, false);
    QCOMPARE(clicks.size(), 1);
    QCOMPARE(list.FileName(), "b.gpx");

    // Moving with the arrow keys is not a choice; Space and Enter are.
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(clicks.size(), 1);
    QTest::keyClick(&list, Qt::Key_Space);
    QCOMPARE(clicks.size(), 2);
    QCOMPARE(list.FileName(), "c.gpx");
    QTest::keyClick(&list, Qt::Key_Up);
    QTest::keyClick(&list, Qt::Key_Return);
    QCOMPARE(clicks.size(), 3);
    QCOMPARE(list.FileName(), "b.gpx");

    // A click below the last name chooses nothing.
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, QPoint(10, 190));
    QCOMPARE(clicks.size(), 3);
}

void ListsTest::fileListRereadsOnEverySetPath() {
    QTemporaryDir dir;
    QTemporaryDir other;
    writeFile(dir.path() + "/a.gpx");
    writeFile(other.path() + "/a.gpx");
    FileListBox list;
    list.setPattern("*.gpx");
    list.setPath(dir.path());
    list.setCurrentRow(0);
    QCOMPARE(list.FileName(), "a.gpx");

    // The same folder again: a file written since shows, the chosen name stays chosen.
    writeFile(dir.path() + "/b.GPX");
    list.setPath(dir.path());
    QCOMPARE(texts(list), (QStringList{"a.gpx", "b.GPX"}));
    QCOMPARE(list.FileName(), "a.gpx");

    // Another folder: nothing is chosen there, even under the same name.
    list.setPath(other.path());
    QCOMPARE(list.Path(), other.path());
    QCOMPARE(texts(list), QStringList{"a.gpx"});
    QVERIFY(list.FileName().isEmpty());

    list.setPattern("*.txt");
    QVERIFY(texts(list).isEmpty());
}

void ListsTest::fileListOnMissingFolderIsEmpty() {
    QTemporaryDir dir;
    FileListBox list;
    list.setPath(dir.path() + "/unplugged");
    QCOMPARE(list.count(), 0);
    QVERIFY(list.FileName().isEmpty());
}

void ListsTest::fileListShowsCorpusGpxFiles() {
    const QDir corpus(QStringLiteral(TARNWICK_CORPUS));
    if (!corpus.exists())
        QSKIP("the shared GPX corpus is not present");
    int gpxFiles = 0;
    for (const QString& name : corpus.entryList(QDir::Files))
        gpxFiles += name.endsWith(".gpx", Qt::CaseInsensitive) ? 1 : 0;
    FileListBox list;
    list.setPattern("*.GPX");
    list.setPath(corpus.path());
    const QStringList listed = texts(list);
    QCOMPARE(listed.size(), gpxFiles);
    QVERIFY(!listed.contains("SOURCES.tsv") && !listed.contains("README.md"));
    QVERIFY(std::is_sorted(listed.begin(), listed.end(), [](const QString& a, const QString& b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    }));
}

void ListsTest::folderListShowsBranchThenSubFolders() {
    QTemporaryDir dir;
    for (const char* name : {"b", "A", "c", ".hidden"})
        QVERIFY(QDir(dir.path()).mkdir(name));
    writeFile(dir.path() + "/file.gpx");
    DirListBox list;
    list.setPath(dir.path());

    const QStringList branch = branchTexts(dir.path());
    QCOMPARE(texts(list), branch + (QStringList{"A", "b", "c"}));
    QCOMPARE(list.subFolders(),
             (QStringList{dir.path() + "/A", dir.path() + "/b", dir.path() + "/c"}));
    // The current folder is the selected line.
    QCOMPARE(list.currentRow(), branch.size() - 1);

    // A folder made since shows after refresh().
    QVERIFY(QDir(dir.path()).mkdir("d"));
    list.refresh();
    QCOMPARE(list.subFolders().last(), dir.path() + "/d");
}

void ListsTest::openingAFolderChangesPathOnce() {
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath("A/inner"));
    QVERIFY(QDir(dir.path()).mkdir("B"));
    DirListBox list;
    list.resize(300, 600);
    list.setPath(dir.path());
    list.show();
    QVERIFY(QTest::qWaitForWindowExposed(&list));
    QSignalSpy changes(&list, &DirListBox::Change);

    const int firstSub = int(branchTexts(dir.path()).size());
    clickItem(list, firstSub, true);
    QCOMPARE(changes.size(), 1);
    QCOMPARE(list.Path(), dir.path() + "/A");
    QCOMPARE(list.subFolders(), QStringList{dir.path() + "/A/inner"});

    // Enter on the line of the parent goes back up.
    list.setCurrentRow(firstSub - 1);
    QTest::keyClick(&list, Qt::Key_Return);
    QCOMPARE(changes.size(), 2);
    QCOMPARE(list.Path(), dir.path());

    // Opening the current folder changes nothing.
    list.setCurrentRow(firstSub - 1);
    QTest::keyClick(&list, Qt::Key_Return);
    QCOMPARE(changes.size(), 2);
}

void ListsTest::settingTheSamePathEmitsNothing() {
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir("sub"));
    DirListBox list;
    QSignalSpy changes(&list, &DirListBox::Change);
    list.setPath(dir.path());
    QCOMPARE(changes.size(), 1);
    list.setPath(dir.path());
    list.setPath(dir.path() + "/");
    list.setPath(dir.path() + "/sub/..");
    QCOMPARE(changes.size(), 0 + 1);

    // The signal comes inside the call, with the new path already in place.
    QString seen;
    connect(&list, &DirListBox::Change, &list, [&] { seen = list.Path(); });
    list.setPath(dir.path() + "/sub");
    QCOMPARE(changes.size(), 2);
    QCOMPARE(seen, dir.path() + "/sub");
}

void ListsTest::folderListSurvivesMissingAndUnreadableFolders() {
    QTemporaryDir dir;
    DirListBox list;
    const QString missing = dir.path() + "/unplugged/GPX";
    list.setPath(missing);
    QCOMPARE(list.Path(), missing);
    QCOMPARE(texts(list), branchTexts(missing));
    QVERIFY(list.subFolders().isEmpty());

    const QString locked = dir.path() + "/locked";
    QVERIFY(QDir().mkpath(locked + "/inside"));
    QVERIFY(QFile::setPermissions(locked, QFileDevice::WriteOwner));
    list.setPath(locked);
    QCOMPARE(list.Path(), locked);
    QCOMPARE(texts(list).mid(0, branchTexts(locked).size()), branchTexts(locked));
    const bool readable = canReadAnyway(locked);
    QFile::setPermissions(locked,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (readable)
        QSKIP("running with rights that read any folder; the locked folder was readable");
    QVERIFY(list.subFolders().isEmpty());
}

void ListsTest::folderListKeepsUpWithThousandsOfFolders() {
    QTemporaryDir dir;
    constexpr int folders = 3000;
    QDir base(dir.path());
    for (int i = 0; i < folders; ++i)
        QVERIFY(base.mkdir(QStringLiteral("f%1").arg(i, 5, 10, QLatin1Char('0'))));
    for (int i = 0; i < folders; ++i)
        writeFile(dir.path() + QStringLiteral("/n%1.gpx").arg(i));

    QElapsedTimer timer;
    timer.start();
    DirListBox folderList;
    folderList.setPath(dir.path());
    FileListBox fileList;
    fileList.setPattern("*.gpx");
    fileList.setPath(dir.path());
    // Generous: a list that does quadratic work on a folder like this takes far longer.
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(folderList.subFolders().size(), folders);
    QCOMPARE(fileList.count(), folders);
}

void ListsTest::setDriveEmitsChangeOnlyForAnotherVolume() {
    QTemporaryDir unit;
    QVERIFY(QDir(unit.path()).mkpath("a/b"));
    DriveListBox drives;
    drives.setVolumes({{"/", "system (/)", {}, {}}, volumeAt(unit.path(), "GARMIN")});
    QCOMPARE(drives.Drive(), "/");
    QCOMPARE(drives.count(), 2);

    QSignalSpy changes(&drives, &DriveListBox::Change);
    QString seen;
    connect(&drives, &DriveListBox::Change, &drives, [&] { seen = drives.Drive(); });
    drives.setDrive(unit.path() + "/a/b");
    QCOMPARE(changes.size(), 1);
    QCOMPARE(seen, unit.path());
    QCOMPARE(drives.currentIndex(), 1);
    drives.setDrive(unit.path() + "/a");
    drives.setDrive(unit.path());
    QCOMPARE(changes.size(), 1);
    drives.setDrive("/usr");
    QCOMPARE(changes.size(), 2);
    QCOMPARE(drives.Drive(), "/");
    QCOMPARE(drives.currentIndex(), 0);
}

void ListsTest::garminVolumeOpensOnItsGpxFolder() {
    QTemporaryDir unit;
    QTemporaryDir stick;
    QVERIFY(QDir(unit.path()).mkpath("Garmin/GPX"));
    QVERIFY(QDir(unit.path()).mkpath("Other/deep/er"));
    DriveListBox drives;
    drives.setVolumes({{"/", "system (/)", {}, {}},
                       volumeAt(unit.path(), "GARMIN"),
                       volumeAt(stick.path(), "STICK")});

    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Garmin/GPX");
    QCOMPARE(drives.currentFolderOf(stick.path()), stick.path());

    // The folder last shown on the drive wins over the GPX folder; when it is removed its
    // nearest remaining ancestor stands in for it.
    drives.rememberFolder(unit.path() + "/Other/deep/er");
    drives.rememberFolder(stick.path());
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Other/deep/er");
    QVERIFY(QDir(unit.path()).rmdir("Other/deep/er"));
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Other/deep");
    QVERIFY(QDir(unit.path()).rmpath("Other/deep"));
    QCOMPARE(drives.currentFolderOf(unit.path()), unit.path() + "/Garmin/GPX");
    QCOMPARE(drives.currentFolderOf(stick.path()), stick.path());
}

void ListsTest::unreadableDriveKeepsThePreviousOne() {
    QTemporaryDir dir;
    const QString gone = dir.path() + "/GARMIN";
    const QString usb = dir.path() + "/USB";
    QVERIFY(QDir().mkdir(usb));
    DriveListBox drives;
    drives.setVolumes({{"/", "system (/)", {}, {}},
                       {gone, "GARMIN (" + gone + ")", {}, {}},
                       {usb, "USB (" + usb + ")", {}, {}}});
    QStringList messages;
    Dialogs::setMessageHandler([&](const QString& text) { messages.append(text); });
    QSignalSpy changes(&drives, &DriveListBox::Change);

    // The user moves down onto a volume whose folder is gone.
    QTest::keyClick(&drives, Qt::Key_Down);
    QCOMPARE(messages.size(), 1);
    QVERIFY2(messages.first().contains("GARMIN (" + gone + ")"), qPrintable(messages.first()));
    QCOMPARE(changes.size(), 0);
    QCOMPARE(drives.Drive(), "/");
    QCOMPARE(drives.currentIndex(), 0);

    // A readable one is taken.
    drives.setCurrentIndex(1);
    QTest::keyClick(&drives, Qt::Key_Down);
    QCOMPARE(changes.size(), 1);
    QCOMPARE(drives.Drive(), usb);
    QCOMPARE(messages.size(), 1);
}

void ListsTest::vanishedDriveMovesToTheVolumeLeft() {
    QTemporaryDir unit;
    DriveListBox drives;
    drives.setVolumes({{"/", "system (/)", {}, {}}, volumeAt(unit.path(), "GARMIN")});
    drives.setDrive(unit.path());
    QSignalSpy changes(&drives, &DriveListBox::Change);
    drives.setVolumes({{"/", "system (/)", {}, {}}});
    QCOMPARE(changes.size(), 1);
    QCOMPARE(drives.Drive(), "/");
    // Still mounted: the selection stays and nothing is emitted.
    drives.setVolumes({{"/", "system (/)", {}, {}}, volumeAt(unit.path(), "GARMIN")});
    QCOMPARE(changes.size(), 1);
    QCOMPARE(drives.Drive(), "/");
}

QTEST_MAIN(ListsTest)
#include "tst_lists_widgets.moc"
