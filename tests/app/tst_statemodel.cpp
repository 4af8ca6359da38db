// Seeded random walks over the main window's commands, some issued while a load is still
// reading, compared after every step with a model built from the state table in
// tests/data/app_states.tsv, and checked against invariants that must always hold. A failure
// prints the seed and the shortest command list found that still fails.
//
// One longer walk: TARNWICK_WALK_SEED=7 TARNWICK_WALK_STEPS=20000 build/tests/app/tst_statemodel

#include "MainWindowFixture.h"

#include "symbols/symtable.h"
#include "text/DiskFiles.h"
#include "workspace/Workspace.h"

#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTimer>

namespace {

// clang-format off
enum Cmd { Open, ClickFile, Copy, LoadFav, LoadTrk, LoadMidway, ClickRow, SelectAll, MarkNew,
           Save, Export, Switch, KeyDown, Unpick, Ok, Cancel, Create, CmdCount };
// Each command's name, and the control or item that must be usable for it.
const char* const cmds[][2] = {{"Open", "mnuOpen"}, {"ClickFile", "File1"},
    {"Copy", "mnuCopyNuvi"}, {"LoadFavorites", "mnuSelections"}, {"LoadTracks", "mnuSelections"},
    {"LoadMidway", "mnuSelections"}, {"ClickRow", "Grid1"}, {"SelectAll", "mnuSelectAllItems"},
    {"MarkNew", "mnuMarkNewFavorites"}, {"Save", "mnuSaveFavorites"}, {"Export", "mnuExport"},
    {"Switch", "mnuSwitchDevice"}, {"KeyDown", "lstDevice"}, {"Unpick", "lstDevice"},
    {"OK", "lstDevice"}, {"CANCEL", "lstDevice"}, {"Create", ""}};
// clang-format on
const QStringList held = {"mnuSelectTracks", "mnuSelectFavorites", "mnuExport", "mnuSaveFavorites",
                          "mnuMarkNewFavorites"};
const QStringList answers = {"", "  ", " nuvi_1 ", "Nuvi_"};

struct Step {
    Cmd cmd;
    quint32 arg;
    QList<Step> inner; // run while the load of a LoadMidway reads its file
};

QString describe(const QList<Step>& steps) {
    QStringList out;
    for (const Step& s : steps)
        out.append(QStringLiteral("%1(%2)").arg(QLatin1String(cmds[s.cmd][0])).arg(s.arg) +
                   (s.inner.isEmpty() ? QString() : "[" + describe(s.inner) + "]"));
    return out.join(QStringLiteral(", "));
}

QByteArray gpx(int favorites, int points) {
    QByteArray b = "<?xml version=\"1.0\"?>\r\n<gpx>\r\n";
    for (int i = 0; i < favorites; ++i)
        b += "<wpt lat=\"1\" lon=\"2\"><name>F" + QByteArray::number(i) + "</name></wpt>\r\n";
    const QByteArray point = "<trkpt lat=\"1.5\" lon=\"2.5\"><ele>10</ele></trkpt>\r\n";
    for (int t = 0; t < 3; ++t)
        b += "<trk><name>T" + QByteArray::number(t) + "</name>\r\n" + point.repeated(points) +
             "</trk>\r\n";
    return b + "</gpx>\r\n";
}

struct Row {
    QStringList on, off;
    QString status, colour, message;
};

QMap<QString, Row> stateTable() {
    QMap<QString, Row> table;
    for (const QStringList& cells : tableRows("app_states.tsv")) {
        Row& row = table[cells[0]];
        for (const QString& change : cells.value(1).split(QLatin1Char(' '), Qt::SkipEmptyParts))
            (change.startsWith(QLatin1Char('+')) ? row.on : row.off).append(change.mid(1));
        row.status = cells.value(2);
        row.colour = cells.value(3);
        row.message = cells.value(4);
    }
    return table;
}

class Walk {
public:
    explicit Walk(quint32 seed)
        : rng(seed) {}

    // Runs the given steps, or random ones when generating; returns the first failure.
    QString run(QList<Step>* steps, int count, bool generate) {
        f.makeDevices({QStringLiteral("Nuvi_1")});
        addSources(QStringLiteral("Nuvi_1"));
        w = &f.start();
        w->setRepaintInterval(0);
        device = QStringLiteral("Nuvi_1");
        caption = QStringLiteral("Tarnwick - Device = Nuvi_1");
        on = {"mnuSelectTracks", "mnuSelectFavorites"};
        apply("startup");
        snapshot = f.tree(f.root(), false);
        QString error = compare();
        QList<Step> done;
        for (int i = 0; error.isEmpty() && (generate ? i < count : i < steps->size()); ++i) {
            Step s = generate ? pick() : (*steps)[i];
            if (!available(s.cmd))
                continue;
            error = execute(s, generate);
            done.append(s);
            if (error.isEmpty())
                error = compare();
            states.insert(QStringList(on.begin(), on.end()).join(' ') + caption.left(12));
        }
        *steps = done;
        return error;
    }

    QSet<QString> states;

private:
    Step pick() {
        for (;;) {
            const Cmd c = Cmd(rng.bounded(int(CmdCount)));
            if (available(c))
                return {c, rng.generate(), {}};
        }
    }

    bool has(const char* name) const { return on.contains(QLatin1String(name)); }
    bool usable(const QString& name) const {
        return on.contains(name) && !(loading && held.contains(name));
    }

    // Loads and creating a device wait while a load runs.
    bool available(Cmd c) const {
        const bool waits = !*cmds[c][1] || (c >= LoadFav && c <= LoadMidway);
        return (!*cmds[c][1] || usable(QLatin1String(cmds[c][1]))) && !(waits && loading);
    }

    void addSources(const QString& name) {
        symtable::WriteDefaultSymbolTable(f.device(name) + QStringLiteral("/symtable.txt"));
        f.writeFile(f.device(name) + QStringLiteral("/CURRENT.GPX"), gpx(4, 3));
        f.writeFile(f.device(name) + QStringLiteral("/BIG.GPX"), gpx(3000, 2000));
    }

    void apply(const char* command) {
        const Row& row = table[QLatin1String(command)];
        for (const QString& name : row.on)
            on.insert(name);
        for (const QString& name : row.off)
            on.remove(name);
        if (row.status != QLatin1String("="))
            status = row.status == QLatin1String("(file)") ? source : row.status;
        if (row.colour != QLatin1String("="))
            colour =
                row.colour == QLatin1String("cyan") ? QColor(0, 255, 255) : QColor(255, 255, 0);
        if (!row.message.isEmpty())
            messages.append(row.message);
    }

    // Open, Switch Device and OK stop a load that is still reading.
    void cancelLoad() {
        if (loading)
            apply("Load:stopped");
        loading = false;
    }

    QString execute(Step& s, bool generate) {
        const QStringList devices = Workspace::deviceNames();
        const QString dev = f.device(device) + QLatin1Char('/');
        QStringList allowed; // what the command may write, as wildcards
        switch (s.cmd) {
        case Open:
            w->mnuOpen->trigger();
            cancelLoad();
            apply("Open");
            break;
        case ClickFile:
            if (const QStringList names = f.texts(*w->File1); !names.isEmpty()) {
                source = names[s.arg % names.size()];
                f.clickFile(source);
                apply("ClickFile");
            }
            break;
        case Copy:
            allowed.append(dev + QStringLiteral("2*_CURRENT.GPX"));
            w->mnuCopyNuvi->trigger();
            apply(source.isEmpty() ? "Copy:no file" : "Copy");
            break;
        case LoadFav:
        case LoadTrk:
        case LoadMidway: {
            const bool tracks = s.cmd == LoadTrk || (s.cmd == LoadMidway && (s.arg & 1));
            const char* command = tracks ? "LoadTracks" : "LoadFavorites";
            QAction* load = tracks ? w->mnuSelectTracks : w->mnuSelectFavorites;
            if (source.isEmpty()) {
                load->trigger();
                apply("Load:no file");
                break;
            }
            allowed.append(dev + QStringLiteral("TEMP.TMP"));
            apply(command);
            apply("Load:reading");
            caption =
                tracks ? QStringLiteral("Tracks Selected") : QStringLiteral("Favorites Selected");
            QString innerError;
            loading = s.cmd == LoadMidway;
            const bool midway = loading;
            if (midway) {
                QTimer::singleShot(0, w, [&] {
                    if (!w->findChild<QProgressBar*>("loadProgress")->isVisible())
                        innerError = QStringLiteral("no progress shows while loading");
                    QList<Step> inner;
                    const int n = generate ? 1 + int(s.arg % 4) : int(s.inner.size());
                    for (int i = 0; i < n && innerError.isEmpty(); ++i) {
                        Step one = generate ? pick() : s.inner[i];
                        if (available(one.cmd) && one.cmd != LoadMidway) {
                            innerError = execute(one, generate);
                            innerError = innerError.isEmpty() ? compare() : innerError;
                            inner.append(one);
                        }
                    }
                    s.inner = inner;
                });
            }
            insideLoad = midway;
            load->trigger();
            insideLoad = false;
            if (!innerError.isEmpty())
                return QStringLiteral("while loading: ") + innerError;
            if (!midway || loading) {
                loading = false;
                gridTracks = tracks;
                gridFrom = dev + source;
                apply(command);
            }
            break;
        }
        case ClickRow: { // the heading row is an ordinary row until a load ends, never marked
            const int first = loading ? 0 : 1;
            if (w->Grid1->Rows() > first) {
                const int row = first + int(s.arg % qMin(w->Grid1->Rows() - first, 6));
                const QString mark = w->Grid1->TextMatrix(row, 0);
                f.clickGrid(row);
                if (row > 0 && w->Grid1->TextMatrix(row, 0) == mark)
                    return QStringLiteral("a click left the mark of row %1").arg(row);
            }
            break;
        }
        case SelectAll:
            (s.arg & 1 ? w->mnuSelectAllItems : w->mnuUnselectAllItems)->trigger();
            break;
        case MarkNew:
            w->mnuMarkNewFavorites->trigger();
            apply(QFileInfo::exists(dev + "FAVORITES.TXT") ? "MarkNew" : "MarkNew:never saved");
            break;
        case Save: {
            allowed.append(dev + QStringLiteral("FAVORITES.TXT"));
            w->mnuSaveFavorites->trigger();
            apply("Save");
            QStringList saved; // exactly the rows shown
            for (const QByteArray& line : f.readFile(dev + "FAVORITES.TXT").split('\n'))
                saved.append(QString::fromLatin1(line.left(line.indexOf('\t'))));
            if (saved.mid(0, saved.size() - 1) != f.column(1))
                return QStringLiteral("FAVORITES.TXT does not hold the rows shown");
            break;
        }
        case Export: {
            allowed.append(dev + QStringLiteral("output*"));
            const qsizetype marked = f.column(0).count(QStringLiteral("X"));
            const QStringList before = QDir(dev + "output").entryList(QDir::Files);
            w->mnuExport->trigger();
            apply(marked ? "Export" : "Export:none marked");
            QStringList written = QDir(dev + "output").entryList(QDir::Files);
            for (const QString& old : before)
                written.removeOne(old);
            if (written.size() != (marked ? 1 : 0))
                return QStringLiteral("%1 export files written").arg(written.size());
            const QByteArray bytes = marked ? f.readFile(dev + "output/" + written[0]) : "";
            if (bytes.count(gridTracks ? "<trk>" : "<wpt ") != marked)
                return QStringLiteral("the export does not hold the %1 marked items").arg(marked);
            break;
        }
        case Switch:
            w->mnuSwitchDevice->trigger();
            cancelLoad();
            apply("Switch");
            heading = QStringLiteral("SELECT DEVICE");
            break;
        case KeyDown: {
            // The first arrow key selects the current name, or the first; later ones move on.
            const auto picked = w->lstDevice->selectedItems();
            const int row = picked.isEmpty() ? qMax(w->lstDevice->currentRow(), 0)
                                             : w->lstDevice->row(picked.first()) + 1;
            w->lstDevice->setFocus();
            QTest::keyClick(w->lstDevice, Qt::Key_Down);
            heading = devices[qMin(row, int(devices.size()) - 1)];
            break;
        }
        case Unpick:
            w->lstDevice->clearSelection();
            heading = QStringLiteral("SELECT DEVICE");
            break;
        case Ok:
            w->btnOK->click();
            if (heading == QLatin1String("SELECT DEVICE")) {
                apply("OK:none picked");
                break;
            }
            cancelLoad();
            apply("OK");
            status = heading == device ? status : QDir::toNativeSeparators(f.device(heading));
            device = heading;
            source.clear();
            caption = QStringLiteral("Tarnwick - Device = ") + device;
            apply("Open");
            break;
        case Cancel:
            w->btnCANCEL->click();
            apply("CANCEL");
            break;
        case Create: {
            QString answer = answers[s.arg % answers.size()];
            if (answer == QLatin1String("Nuvi_"))
                answer += QString::number(devices.size() + 1);
            allowed.append(f.device(answer.trimmed()) + QStringLiteral("*"));
            f.answers = {answer};
            w->mnuCreateNewUser->trigger();
            const bool made = answer.startsWith(QLatin1String("Nuvi_"));
            apply(made               ? "Create"
                  : answer.isEmpty() ? "Create:cancelled"
                                     : qPrintable("Create:" + answer));
            if (made && has("lstDevice")) {
                apply("Switch");
                heading = QStringLiteral("SELECT DEVICE");
            }
            if (made)
                addSources(answer);
            break;
        }
        case CmdCount:
            break;
        }
        return checkFiles(allowed);
    }

    // No command writes or removes a file the user did not ask for; a load still reading
    // keeps its scratch file under a temporary name, which a stopped load removes when it
    // returns (where the system has no unnamed files, as Windows has not).
    QString checkFiles(QStringList allowed) {
        if (loading || insideLoad)
            allowed.append(QStringLiteral("*/TEMP.TMP*"));
        const QMap<QString, QByteArray> now = f.tree(f.root(), false);
        QSet<QString> changed;
        for (const QMap<QString, QByteArray>* map : {&now, &std::as_const(snapshot)})
            for (auto it = map->begin(); it != map->end(); ++it)
                if (now.value(it.key()) != snapshot.value(it.key()))
                    changed.insert(f.root() + '/' + it.key());
        for (const QString& path : changed) {
            // A file the program has finished with shows in Explorer (Windows' hidden mark is
            // for temporary files only).
            if (!loading && !insideLoad && DiskFiles::isHidden(path))
                return QStringLiteral("hidden %1").arg(path);
            const auto matches = [&path](const QString& p) {
                return QRegularExpression::fromWildcard(
                           p, Qt::CaseInsensitive, QRegularExpression::UnanchoredWildcardConversion)
                    .match(path)
                    .hasMatch();
            };
            if (std::none_of(allowed.begin(), allowed.end(), matches))
                return QStringLiteral("changed %1").arg(path);
        }
        snapshot = now;
        return {};
    }

    QString compare() {
        const QStringList shownOrUsable = f.on(names);
        for (const QString& name : names)
            if (shownOrUsable.contains(name) != usable(name))
                return name + (usable(name) ? " is not usable or shown" : " is usable or shown");
        const QString shown =
            QStringList{w->windowTitle(), w->txtStatus->text(), f.messages.join('|'),
                        has("lblDevice") ? w->lblDevice->text() : QString()}
                .join(" / ");
        const QString model =
            QStringList{caption, status, messages.join('|'), has("lblDevice") ? heading : QString()}
                .join(" / ");
        const QColor shownColour = w->txtStatus->palette().color(QPalette::Base);
        // The tracks loader's status ends with the times of the load.
        if (!shown.startsWith(model.section(" / ", 0, 1)) ||
            shown.section(" / ", 2) != model.section(" / ", 2) || shownColour != colour ||
            !w->mnuExit->isEnabled() || !w->mnuCreateNewUser->isEnabled())
            return QStringLiteral("window [%1], the model says [%2]").arg(shown, model);
        const auto gpxFiles =
            QDir(w->CurrentFolder).entryList({"*.gpx"}, QDir::Files, QDir::Name | QDir::IgnoreCase);
        if (w->File1->isVisible() && f.texts(*w->File1) != gpxFiles)
            return QStringLiteral("the file list is not the folder's: ") +
                   f.texts(*w->File1).join(',');
        QStringList listed = w->Dir2->subFolders(), folders;
        for (const QString& name : QDir(f.root()).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            folders << f.root() + '/' + name;
        listed.sort(), folders.sort();
        if (w->Dir2->Path() != f.root() || listed != folders)
            return QStringLiteral("the hidden device list is not the workspace's folders");
        f.messages.clear();
        messages.clear();
        if (w->Grid1->Rows() > 0 && w->Grid1->TextMatrix(0, 0) == QLatin1String("X"))
            return QStringLiteral("the heading row is marked");
        // Export usable: the grid on screen holds the rows of the current device's source.
        if (w->mnuExport->isEnabled() &&
            (!w->Grid1->isVisible() || gridFrom != f.device(device) + "/" + source))
            return QStringLiteral("Export is usable on the rows of %1").arg(gridFrom);
        return {};
    }

    QRandomGenerator rng;
    MainWindowFixture f;
    frmForm1* w = nullptr;
    const QMap<QString, Row> table = stateTable();
    const QStringList names = [this] {
        QSet<QString> all(held.begin(), held.end());
        for (const Row& row : table)
            for (const QString& name : row.on + row.off)
                all.insert(name);
        return QStringList(all.begin(), all.end());
    }();
    QSet<QString> on;
    QString device, source, caption, heading, gridFrom, status;
    QColor colour;
    QStringList messages;
    QMap<QString, QByteArray> snapshot;
    bool loading = false;
    bool insideLoad = false;
    bool gridTracks = false;
};

} // namespace

class StateModelTest : public QObject {
    Q_OBJECT
private slots:
    void randomWalksKeepTheWindowTrueToItsModel();
};

void StateModelTest::randomWalksKeepTheWindowTrueToItsModel() {
    const int longSteps = qEnvironmentVariableIntValue("TARNWICK_WALK_STEPS");
    const quint32 first = quint32(qEnvironmentVariableIntValue("TARNWICK_WALK_SEED"));
    const int walks = longSteps > 0 ? 1 : 12;
    const int steps = longSteps > 0 ? longSteps : 200;
    QSet<QString> states;
    for (quint32 seed = first; seed < first + quint32(walks); ++seed) {
        QList<Step> trace;
        QString failure;
        {
            Walk walk(seed);
            failure = walk.run(&trace, steps, true);
            states.unite(walk.states);
        }
        // Shrink: drop one step at a time while the walk still fails.
        for (qsizetype i = trace.size() - 1; !failure.isEmpty() && i >= 0; --i) {
            QList<Step> shorter = trace;
            shorter.removeAt(i);
            Walk again(seed);
            if (const QString e = again.run(&shorter, 0, false); !e.isEmpty()) {
                trace = shorter;
                failure = e;
                i = qMin(i, trace.size());
            }
        }
        if (!failure.isEmpty())
            QFAIL(qPrintable(QStringLiteral("seed %1: %2\n  after: %3")
                                 .arg(seed)
                                 .arg(failure, describe(trace))));
    }
    qInfo("%d walks of %d steps, %lld distinct window states", walks, steps, qint64(states.size()));
}

QTEST_MAIN(StateModelTest)
#include "tst_statemodel.moc"
