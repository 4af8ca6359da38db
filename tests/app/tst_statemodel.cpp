// A seeded random walk over the main window's commands, some of them issued while a load is
// still reading, compared after every step with a small model of the window's state tables
// and checked against invariants that must always hold. A failure prints the seed and the
// shortest command list found that still fails.
//
// TARNWICK_WALK_SEED=N and TARNWICK_WALK_STEPS=N run one longer walk, for example
//   TARNWICK_WALK_STEPS=20000 build/tests/app/tst_statemodel

#include "MainWindowFixture.h"

#include "app/StatusColours.h"
#include "workspace/Workspace.h"

#include <QDirIterator>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTimer>

namespace {

enum Cmd {
    Open,
    ClickFile,
    Copy,
    LoadFav,
    LoadTrk,
    LoadMidway,
    ClickRow,
    SelectAll,
    UnselectAll,
    MarkNew,
    Save,
    Export,
    Switch,
    PickDevice,
    KeyDown,
    ClearPick,
    Ok,
    Cancel,
    Create,
    Reload,
    Conversion,
    CmdCount
};
const char* const cmdNames[] = {
    "Open",     "ClickFile",  "Copy",        "LoadFavorites", "LoadTracks", "LoadMidway",
    "ClickRow", "SelectAll",  "UnselectAll", "MarkNew",       "Save",       "Export",
    "Switch",   "PickDevice", "KeyDown",     "ClearPick",     "OK",         "CANCEL",
    "Create",   "Reload",     "Conversion"};

struct Step {
    Cmd cmd;
    quint32 arg;
    QList<Step> inner; // commands run while the load of a LoadMidway reads its file
};

QString describe(const QList<Step>& steps) {
    QStringList out;
    for (const Step& s : steps) {
        QString one = QString::fromLatin1(cmdNames[s.cmd]) + QLatin1Char('(') +
                      QString::number(s.arg) + QLatin1Char(')');
        if (!s.inner.isEmpty())
            one += QStringLiteral("[") + describe(s.inner) + QStringLiteral("]");
        out.append(one);
    }
    return out.join(QStringLiteral(", "));
}

// The window as the state tables say it must be.
struct Model {
    QString device, source, caption = QStringLiteral("Tarnwick"), heading, gridFrom;
    bool lists = false, grid = false, status = false, choice = false, loading = false;
    bool open = false, copy = false, selections = false, exportOk = false, save = false,
         markNew = false, marks = false, symbols = false, switchDev = false;
    bool tracks = false;
    QString statusText;
    QColor statusColour;
    QStringList messages;
};

QByteArray gpxFile(int favorites, int tracks, int points) {
    QByteArray b = "<?xml version=\"1.0\"?>\r\n<gpx creator=\"walk\">\r\n";
    for (int i = 0; i < favorites; ++i)
        b += "<wpt lat=\"1\" lon=\"2\"><name>Fav " + QByteArray::number(i) +
             "</name><sym>Flag, Blue</sym></wpt>\r\n";
    for (int t = 0; t < tracks; ++t) {
        b += "<trk><name>Trk " + QByteArray::number(t) + "</name>\r\n<trkseg>\r\n";
        for (int p = 0; p < points; ++p)
            b += "<trkpt lat=\"1.5\" lon=\"2.5\"><ele>10</ele></trkpt>\r\n";
        b += "</trkseg>\r\n</trk>\r\n";
    }
    return b + "</gpx>\r\n";
}

class Walk {
public:
    explicit Walk(quint32 seed)
        : rng(seed) {}

    // Runs the given steps, or random ones when generating; returns the first failure.
    QString run(QList<Step>* steps, int count, bool generate) {
        f.answers = {QStringLiteral("Nuvi_1")};
        w = &f.start();
        w->setRepaintInterval(0);
        addSources(QStringLiteral("Nuvi_1"));
        m.device = QStringLiteral("Nuvi_1");
        m.caption = QStringLiteral("Tarnwick - Device = Nuvi_1");
        m.lists = m.status = m.symbols = true;
        m.statusText = QStringLiteral("Select drive, folder and file.");
        m.statusColour = StatusColours::yellow();
        snapshot = files();
        if (QString e = compare(); !e.isEmpty())
            return QStringLiteral("after start-up: ") + e;
        QList<Step> done;
        for (int i = 0; generate ? i < count : i < steps->size(); ++i) {
            Step s = generate ? pick() : (*steps)[i];
            if (!available(s.cmd))
                continue;
            QString error = execute(s, generate);
            done.append(s);
            if (error.isEmpty())
                error = compare();
            if (!error.isEmpty()) {
                *steps = done;
                return QStringLiteral("%1: %2").arg(QString::fromLatin1(cmdNames[s.cmd]), error);
            }
            states.insert(stateKey());
        }
        *steps = done;
        return {};
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

    bool available(Cmd c) const {
        const bool idle = !m.loading;
        switch (c) {
        case Open:
            return m.open;
        case ClickFile:
            return m.lists;
        case Copy:
            return m.copy;
        case LoadFav:
        case LoadTrk:
        case LoadMidway:
            return m.selections && idle;
        case ClickRow:
            return m.grid;
        case SelectAll:
        case UnselectAll:
            return m.marks;
        case MarkNew:
            return m.markNew && idle;
        case Save:
            return m.save && idle;
        case Export:
            return m.exportOk && idle;
        case Switch:
            return m.switchDev;
        case PickDevice:
        case KeyDown:
        case ClearPick:
        case Ok:
            return m.choice;
        case Cancel:
            return m.choice && !m.device.isEmpty();
        case Create:
            return !m.loading || !m.choice;
        case Reload:
        case Conversion:
            return m.symbols;
        case CmdCount:
            break;
        }
        return false;
    }

    QString deviceFolder() const { return f.device(m.device); }

    void addSources(const QString& device) {
        f.writeFile(f.device(device) + QStringLiteral("/CURRENT.GPX"), gpxFile(4, 3, 3));
        f.writeFile(f.device(device) + QStringLiteral("/BIG.GPX"), gpxFile(3000, 3, 2000));
    }

    void setStatus(const QString& text, const QColor& colour) {
        m.statusText = text;
        m.statusColour = colour;
    }

    void cancelLoad() {
        if (!m.loading)
            return;
        m.loading = false;
        setStatus(QStringLiteral("Loading stopped."), StatusColours::cyan());
    }

    void openLists() {
        cancelLoad();
        m.lists = m.status = m.symbols = true;
        m.grid = m.exportOk = m.save = m.markNew = m.marks = false;
    }

    void switchDevice() {
        cancelLoad();
        m.grid = m.lists = m.exportOk = m.save = m.markNew = m.marks = false;
        m.choice = true;
        m.heading = QStringLiteral("SELECT DEVICE");
    }

    void startLoad(bool tracks) {
        m.tracks = tracks;
        m.exportOk = m.marks = true;
        m.save = m.markNew = !tracks;
        m.caption =
            tracks ? QStringLiteral("Tracks Selected") : QStringLiteral("Favorites Selected");
        m.grid = true;
        m.lists = false;
        setStatus(QStringLiteral("Reading...."), StatusColours::yellow());
    }

    void endLoad(bool tracks) {
        m.gridFrom = m.device + QLatin1Char('/') + m.source;
        setStatus(tracks ? QStringLiteral("Finished loading tracks")
                         : QStringLiteral("Finished Loading Favorites"),
                  StatusColours::cyan());
    }

    QStringList listedFiles() const {
        QStringList names;
        for (int i = 0; i < w->File1->count(); ++i)
            names.append(w->File1->item(i)->text());
        return names;
    }

    QStringList marked(int col) const {
        QStringList names;
        for (int row = 1; row < w->Grid1->Rows(); ++row) {
            if (w->Grid1->TextMatrix(row, 0) == QLatin1String("X"))
                names.append(w->Grid1->TextMatrix(row, col));
        }
        return names;
    }

    QString execute(Step& s, bool generate) {
        const QStringList devices = Workspace::deviceNames();
        QSet<QString> allowed; // files the command may write, as patterns
        const QString dev = deviceFolder() + QLatin1Char('/');
        switch (s.cmd) {
        case Open:
            w->mnuOpen->trigger();
            openLists();
            break;
        case ClickFile: {
            const QStringList names = listedFiles();
            if (names.isEmpty())
                return {};
            const QString name = names[s.arg % names.size()];
            f.clickFile(name);
            m.source = name;
            m.lists = false;
            m.open = m.copy = m.selections = true;
            setStatus(name, StatusColours::cyan());
            break;
        }
        case Copy:
            allowed.insert(dev + QStringLiteral("2*_CURRENT.GPX"));
            w->mnuCopyNuvi->trigger();
            if (m.source.isEmpty())
                m.statusText = QStringLiteral("  Please open a file first.");
            else
                setStatus(QStringLiteral("Copying is Done"), StatusColours::cyan());
            break;
        case LoadFav:
        case LoadTrk:
        case LoadMidway: {
            const bool tracks = s.cmd == LoadTrk || (s.cmd == LoadMidway && (s.arg & 1));
            if (m.source.isEmpty()) {
                (tracks ? w->mnuSelectTracks : w->mnuSelectFavorites)->trigger();
                m.statusText = QStringLiteral("  Please open a file first.");
                break;
            }
            if (tracks)
                allowed.insert(dev + QStringLiteral("TEMP.TMP"));
            startLoad(tracks);
            QString innerError;
            if (s.cmd == LoadMidway) {
                m.loading = true;
                QTimer::singleShot(0, w, [&] {
                    QList<Step> inner;
                    const int n = generate ? 1 + int(s.arg % 4) : s.inner.size();
                    for (int i = 0; i < n && innerError.isEmpty(); ++i) {
                        Step one = generate ? pick() : s.inner[i];
                        if (!available(one.cmd) || one.cmd == LoadMidway)
                            continue;
                        innerError = execute(one, generate);
                        if (innerError.isEmpty())
                            innerError = compare();
                        inner.append(one);
                    }
                    s.inner = inner;
                });
            }
            const bool wasLoading = m.loading;
            (tracks ? w->mnuSelectTracks : w->mnuSelectFavorites)->trigger();
            if (!innerError.isEmpty())
                return QStringLiteral("while loading: ") + innerError;
            if (!wasLoading || m.loading) {
                m.loading = false;
                endLoad(tracks);
            }
            break;
        }
        case ClickRow: {
            const int rows = qMin(w->Grid1->Rows(), 8);
            if (rows > 1)
                f.clickGrid(1 + int(s.arg % (rows - 1)));
            break;
        }
        case SelectAll:
            w->mnuSelectAllItems->trigger();
            break;
        case UnselectAll:
            w->mnuUnselectAllItems->trigger();
            break;
        case MarkNew:
            w->mnuMarkNewFavorites->trigger();
            if (QFileInfo::exists(dev + QStringLiteral("FAVORITES.TXT"))) {
                setStatus(QStringLiteral("New favorites marked with an X"), StatusColours::cyan());
            } else {
                m.messages.append(QStringLiteral("Favorites must have been saved at some point\r\n"
                                                 "before this option will work."));
                setStatus(QStringLiteral("Marking New Favorites."), StatusColours::yellow());
            }
            break;
        case Save: {
            allowed.insert(dev + QStringLiteral("FAVORITES.TXT"));
            w->mnuSaveFavorites->trigger();
            setStatus(QStringLiteral("Favorites Saved"), StatusColours::cyan());
            // The saved list holds exactly the rows of the grid on screen.
            QStringList saved;
            for (const QByteArray& line :
                 f.readFile(dev + QStringLiteral("FAVORITES.TXT")).split('\n'))
                if (!line.isEmpty())
                    saved.append(QString::fromLatin1(line.left(line.indexOf('\t'))));
            if (saved != f.column(1))
                return QStringLiteral("FAVORITES.TXT does not hold the rows shown");
            break;
        }
        case Export: {
            allowed.insert(dev + QStringLiteral("output"));
            allowed.insert(dev + QStringLiteral("output/*.gpx"));
            const QStringList names = marked(1);
            const QStringList before = QDir(dev + QStringLiteral("output")).entryList(QDir::Files);
            w->mnuExport->trigger();
            if (names.isEmpty()) {
                m.messages.append(QStringLiteral("Please select an item first."));
                break;
            }
            setStatus(QStringLiteral("EXPORT IS DONE"), StatusColours::cyan());
            QStringList written = QDir(dev + QStringLiteral("output")).entryList(QDir::Files);
            for (const QString& old : before)
                written.removeOne(old);
            if (written.size() != 1)
                return QStringLiteral("no single new export file");
            const QByteArray bytes = f.readFile(dev + QStringLiteral("output/") + written.first());
            const int items = bytes.count(m.tracks ? "<trk>" : "<wpt ");
            if (items != names.size())
                return QStringLiteral("export holds %1 items, %2 marked")
                    .arg(items)
                    .arg(names.size());
            break;
        }
        case Switch:
            w->mnuSwitchDevice->trigger();
            switchDevice();
            break;
        case PickDevice: {
            const int row = int(s.arg % devices.size());
            w->lstDevice->setCurrentRow(row, QItemSelectionModel::ClearAndSelect);
            m.heading = devices[row];
            break;
        }
        case KeyDown: {
            const auto picked = w->lstDevice->selectedItems();
            const int row = picked.isEmpty() ? qMax(w->lstDevice->currentRow(), 0)
                                             : qMin(w->lstDevice->row(picked.first()) + 1,
                                                    int(devices.size()) - 1);
            w->lstDevice->setFocus();
            QTest::keyClick(w->lstDevice, Qt::Key_Down);
            m.heading = devices[row];
            break;
        }
        case ClearPick:
            w->lstDevice->clearSelection();
            m.heading = QStringLiteral("SELECT DEVICE");
            break;
        case Ok: {
            const bool picked = m.heading != QLatin1String("SELECT DEVICE");
            w->btnOK->click();
            if (!picked) {
                m.messages.append(QStringLiteral(
                    "No device is selected. Click a device name in the list, then OK."));
                break;
            }
            const QString old = m.device;
            cancelLoad();
            m.device = m.heading;
            m.source.clear();
            m.choice = false;
            m.caption = QStringLiteral("Tarnwick - Device = ") + m.device;
            m.open = m.switchDev = true;
            m.copy = false;
            if (old != m.device)
                m.statusText = QDir::toNativeSeparators(deviceFolder());
            openLists();
            break;
        }
        case Cancel:
            w->btnCANCEL->click();
            m.choice = false;
            m.status = m.open = m.symbols = m.switchDev = m.copy = true;
            break;
        case Create: {
            const QStringList answers = {QString(), QStringLiteral("  "),
                                         QStringLiteral(" nuvi_1 "),
                                         QStringLiteral("Nuvi_%1").arg(devices.size() + 1)};
            const QString answer = answers[s.arg % answers.size()];
            f.answers = {answer};
            const QString name = answer.trimmed();
            allowed.insert(f.device(name));
            allowed.insert(f.device(name) + QStringLiteral("/SymTable.txt"));
            w->mnuCreateNewUser->trigger();
            if (answer.isEmpty())
                break;
            if (name.isEmpty()) {
                m.messages.append(QStringLiteral("A device name needs letters or digits; \"%1\" "
                                                 "has none, so no device was created.")
                                      .arg(answer));
            } else if (devices.contains(name, Qt::CaseInsensitive)) {
                const auto same =
                    std::find_if(devices.begin(), devices.end(), [&](const QString& d) {
                        return d.compare(name, Qt::CaseInsensitive) == 0;
                    });
                m.messages.append(
                    QStringLiteral("The device %1 exists already; it was left as it is.")
                        .arg(*same));
            } else {
                if (m.choice)
                    switchDevice();
                m.switchDev = true;
                if (!QFileInfo(f.device(name) + QStringLiteral("/symtable.txt")).isFile())
                    return QStringLiteral("the new device has no symbol table");
                addSources(name);
                allowed.insert(f.device(name) + QStringLiteral("/*.GPX"));
            }
            break;
        }
        case Reload:
            w->mnuReloadSymTable->trigger();
            break;
        case Conversion:
            (s.arg & 1 ? w->mnuWithSymbolConversion : w->mnuWithOutSymbolConversion)->trigger();
            break;
        case CmdCount:
            break;
        }
        // No command writes or removes a file that the user did not ask for. A load that is
        // still reading has its scratch file open under a temporary name.
        if (m.loading)
            allowed.insert(QStringLiteral("*/TEMP.TMP*"));
        const QMap<QString, QString> now = files();
        QStringList changed;
        for (auto it = now.begin(); it != now.end(); ++it) {
            if (snapshot.value(it.key()) != it.value())
                changed.append(it.key());
        }
        for (auto it = snapshot.begin(); it != snapshot.end(); ++it) {
            if (!now.contains(it.key()))
                changed.append(it.key());
        }
        for (const QString& path : changed) {
            const bool ok = std::any_of(allowed.begin(), allowed.end(), [&](const QString& p) {
                return QRegularExpression::fromWildcard(
                           p, Qt::CaseInsensitive, QRegularExpression::UnanchoredWildcardConversion)
                    .match(path)
                    .hasMatch();
            });
            if (!ok)
                return QStringLiteral("changed %1").arg(path);
        }
        snapshot = now;
        return {};
    }

    QMap<QString, QString> files() const {
        QMap<QString, QString> out;
        QDirIterator it(f.root(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QFileInfo info(it.next());
            out.insert(info.filePath(), info.isDir()
                                            ? QStringLiteral("folder")
                                            : QStringLiteral("%1 %2")
                                                  .arg(info.size())
                                                  .arg(info.lastModified().toMSecsSinceEpoch()));
        }
        return out;
    }

    QString compare() {
        const bool busy = m.loading;
        const QList<QPair<const char*, QPair<bool, bool>>> items = {
            {"shown lists",
             {w->File1->isVisible() && w->Dir1->isVisible() && w->Drive1->isVisible(), m.lists}},
            {"hidden lists",
             {w->File1->isVisible() || w->Dir1->isVisible() || w->Drive1->isVisible(), m.lists}},
            {"grid", {w->Grid1->isVisible(), m.grid}},
            {"status line", {w->txtStatus->isVisible(), m.status}},
            {"device choice",
             {w->lstDevice->isVisible() && w->lblDevice->isVisible() && w->btnOK->isVisible() &&
                  w->btnCANCEL->isVisible(),
              m.choice}},
            {"Open", {w->mnuOpen->isEnabled(), m.open}},
            {"Copy", {w->mnuCopyNuvi->isEnabled(), m.copy}},
            {"Selections", {w->mnuSelections->isEnabled(), m.selections}},
            {"Load Favorites", {w->mnuSelectFavorites->isEnabled(), !busy}},
            {"Load Tracks", {w->mnuSelectTracks->isEnabled(), !busy}},
            {"Export", {w->mnuExport->isEnabled(), m.exportOk && !busy}},
            {"Save Favorites", {w->mnuSaveFavorites->isEnabled(), m.save && !busy}},
            {"Mark New Favorites", {w->mnuMarkNewFavorites->isEnabled(), m.markNew && !busy}},
            {"Select All", {w->mnuSelectAllItems->isEnabled(), m.marks}},
            {"UnSelect All", {w->mnuUnselectAllItems->isEnabled(), m.marks}},
            {"Symbol Table menu", {w->mnuSymbolTableSelections->isEnabled(), m.symbols}},
            {"Switch Device", {w->mnuSwitchDevice->isEnabled(), m.switchDev}},
            {"always usable",
             {w->mnuExit->isEnabled() && w->mnuCreateNewUser->isEnabled() &&
                  w->helpMnu->isEnabled(),
              true}},
        };
        for (const auto& [what, states] : items) {
            if (states.first != states.second)
                return QStringLiteral("%1 is %2, the model says %3")
                    .arg(QLatin1String(what))
                    .arg(states.first)
                    .arg(states.second);
        }
        if (w->windowTitle() != m.caption)
            return QStringLiteral("caption %1, the model says %2").arg(w->windowTitle(), m.caption);
        if (m.choice && w->lblDevice->text() != m.heading)
            return QStringLiteral("heading %1, the model says %2")
                .arg(w->lblDevice->text(), m.heading);
        if (!w->txtStatus->text().startsWith(m.statusText) ||
            w->txtStatus->palette().color(QPalette::Base) != m.statusColour)
            return QStringLiteral("status %1, the model says %2")
                .arg(w->txtStatus->text(), m.statusText);
        if (f.messages != m.messages)
            return QStringLiteral("messages [%1], the model says [%2]")
                .arg(f.messages.join('|'), m.messages.join('|'));
        f.messages.clear();
        m.messages.clear();
        // Export usable: the grid on screen holds the rows of the current device's source.
        if (w->mnuExport->isEnabled() &&
            (!w->Grid1->isVisible() || m.gridFrom != m.device + QLatin1Char('/') + m.source))
            return QStringLiteral("Export is usable on rows of %1").arg(m.gridFrom);
        return {};
    }

    QString stateKey() const {
        return QStringLiteral("%1%2%3%4%5%6%7%8%9")
                   .arg(m.lists)
                   .arg(m.grid)
                   .arg(m.choice)
                   .arg(m.open)
                   .arg(m.copy)
                   .arg(m.exportOk)
                   .arg(m.save)
                   .arg(m.tracks)
                   .arg(m.switchDev) +
               m.caption.left(9) + m.heading.left(3);
    }

    QRandomGenerator rng;
    MainWindowFixture f;
    frmForm1* w = nullptr;
    Model m;
    QMap<QString, QString> snapshot;
};

} // namespace

class StateModelTest : public QObject {
    Q_OBJECT
private slots:
    void randomWalksKeepTheWindowTrueToItsModel();
};

void StateModelTest::randomWalksKeepTheWindowTrueToItsModel() {
    const bool one = qEnvironmentVariableIsSet("TARNWICK_WALK_SEED") ||
                     qEnvironmentVariableIsSet("TARNWICK_WALK_STEPS");
    const quint32 firstSeed = one ? quint32(qEnvironmentVariableIntValue("TARNWICK_WALK_SEED")) : 1;
    const int walks = one ? 1 : 12;
    const int steps = one && qEnvironmentVariableIntValue("TARNWICK_WALK_STEPS") > 0
                          ? qEnvironmentVariableIntValue("TARNWICK_WALK_STEPS")
                          : 200;
    QSet<QString> states;
    for (quint32 seed = firstSeed; seed < firstSeed + quint32(walks); ++seed) {
        QList<Step> trace;
        QString failure;
        {
            Walk walk(seed);
            failure = walk.run(&trace, steps, true);
            states.unite(walk.states);
        }
        if (failure.isEmpty())
            continue;
        // Shrink: drop one step at a time while the walk still fails.
        for (int i = trace.size() - 1; i >= 0; --i) {
            QList<Step> shorter = trace;
            shorter.removeAt(i);
            Walk again(seed);
            QList<Step> replayed = shorter;
            if (const QString e = again.run(&replayed, 0, false); !e.isEmpty()) {
                trace = replayed;
                failure = e;
                i = qMin(i, int(trace.size()));
            }
        }
        QFAIL(qPrintable(
            QStringLiteral("seed %1: %2\n  after: %3").arg(seed).arg(failure, describe(trace))));
    }
    qInfo("%d walks of %d steps, %lld distinct window states", walks, steps, qint64(states.size()));
}

QTEST_MAIN(StateModelTest)
#include "tst_statemodel.moc"
