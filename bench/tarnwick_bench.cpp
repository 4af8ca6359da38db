// Times the program's own commands through the main window, offscreen, on generated nüvi-style
// files, next to GPSBabel converting the same file and `wc -l` reading it, so that the ratios
// hold on a busy machine, and `dd` writing and syncing the tracks export's bytes. See
// PERFORMANCE.md for the figures and bench/run for the command.
//
//   tarnwick_bench [--quick] [--keep DIR]       the whole benchmark
//   tarnwick_bench --startup                    one start-up, printed as "startup_ms N"
//   tarnwick_bench --tracks-peak FILE           load and export the tracks of FILE, print peaks
//   tarnwick_bench --favorites-loads N          Load Favorites of 20,000, N times in one
//                                               window (for a profiler), print each time
//   tarnwick_bench --tracks-exports N FILE      Load Tracks of FILE once and export all of
//                                               them N times (for a profiler), print each time

#include "GpxGenerator.h"

#include "app/FileListBox.h"
#include "app/frmForm1.h"
#include "app/ItemDetailsPane.h"
#include "dialogs/Dialogs.h"
#include "items/FlexGrid.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr double megabyte = 1024.0 * 1024.0;

// Peak and current resident memory of this process, from /proc/self/status, in kB.
qint64 procStatus(const char* key) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(qstrlen(key)).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

// The processor time of the calling thread, which other work on the machine hardly moves.
double threadCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[values.size() / 2];
}

// One run of the program: a home of its own with one device, the window shown offscreen,
// message boxes recorded instead of shown.
class Session {
public:
    Session() {
        qputenv("HOME", m_home.path().toLocal8Bit());
        qputenv("TARNWICK_WORKSPACE", QFile::encodeName(m_home.path() + "/GPX"));
        QDir().mkpath(device());
        Dialogs::setMessageHandler([this](const QString& text) { messages.append(text); });
        Dialogs::setInputHandler(
            [](const QString&, const QString&, const QString&) { return QString(); });
    }
    ~Session() {
        window.reset();
        Dialogs::setMessageHandler({});
        Dialogs::setInputHandler({});
    }

    QString device() const { return m_home.path() + QStringLiteral("/GPX/Nuvi_1"); }

    void start() {
        window = std::make_unique<frmForm1>();
        window->show();
        QElapsedTimer waited;
        waited.start();
        while ((!window->windowHandle() || !window->windowHandle()->isExposed()) &&
               waited.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }

    // Opens the lists on the file's folder and chooses the file, as a click does.
    bool choose(const QString& path) {
        const QFileInfo info(path);
        window->CurrentFolder = info.absolutePath();
        window->mnuOpen_Click();
        const QList<QListWidgetItem*> found =
            window->File1->findItems(info.fileName(), Qt::MatchExactly);
        if (found.size() != 1)
            return false;
        window->File1->setCurrentItem(found.first());
        found.first()->setSelected(true);
        window->File1_Click();
        return window->SourceFileName == info.fileName();
    }

    // Runs a command and returns its time in milliseconds; a message box is a failure.
    double time(const char* what, const std::function<void()>& command) {
        messages.clear();
        QElapsedTimer timer;
        timer.start();
        command();
        const double ms = double(timer.nsecsElapsed()) / 1e6;
        if (!messages.isEmpty()) {
            std::fprintf(stderr, "%s showed: %s\n", what, qPrintable(messages.join(" / ")));
            failed = true;
        }
        return ms;
    }

    int items() const { return window->Grid1->Rows() - 1; }

    std::unique_ptr<frmForm1> window;
    QStringList messages;
    bool failed = false;

private:
    QTemporaryDir m_home;
};

double runProcess(const QString& program, const QStringList& arguments,
                  QByteArray* output = nullptr) {
    QProcess process;
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        std::fprintf(stderr, "%s failed: %s\n", qPrintable(program),
                     process.readAllStandardError().constData());
        return -1;
    }
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    if (output)
        *output = process.readAllStandardOutput();
    return ms;
}

void line(const char* label, double ms, const QString& extra = {}) {
    std::printf("  %-44s %10.1f ms  %s\n", label, ms, qPrintable(extra));
}

QString rate(qint64 bytes, double ms) {
    return QStringLiteral("%1 MB/s").arg(double(bytes) / megabyte / (ms / 1000.0), 0, 'f', 1);
}

QString verdict(bool met, const QString& target) {
    return (met ? QStringLiteral("met: ") : QStringLiteral("MISSED: ")) + target;
}

struct Figures {
    double loadTracks = 0;
    double gpsbabel = 0;
    bool ok = true;
};

// Favorites and tracks of one 50 MB file: load, export all, save; the same file converted by
// GPSBabel and read by wc -l.
Figures benchmarkFile(const QString& path, const QString& label, int repeats, const QString& work) {
    Figures f;
    const qint64 bytes = QFileInfo(path).size();
    std::printf("\n%s: %s, %.1f MB\n", qPrintable(label), qPrintable(QFileInfo(path).fileName()),
                double(bytes) / megabyte);

    std::vector<double> loadFav, exportFav, saveFav, loadTrk, exportTrk, durable;
    int favorites = 0;
    int tracks = 0;
    bool ok = true;
    for (int r = 0; r < repeats; ++r) {
        Session s;
        s.start();
        if (!s.choose(path)) {
            std::fprintf(stderr, "the file list does not show %s\n", qPrintable(path));
            f.ok = false;
            return f;
        }
        loadFav.push_back(s.time("Load Favorites", [&] { s.window->mnuSelectFavorites_Click(); }));
        favorites = s.items();
        s.window->mnuSelectAllItems_Click();
        exportFav.push_back(s.time("Export favorites", [&] { s.window->mnuExport_Click(); }));
        saveFav.push_back(s.time("Save Favorites", [&] { s.window->mnuSaveFavorites_Click(); }));
        loadTrk.push_back(s.time("Load Tracks", [&] { s.window->mnuSelectTracks_Click(); }));
        tracks = s.items();
        s.window->mnuSelectAllItems_Click();
        exportTrk.push_back(s.time("Export tracks", [&] { s.window->mnuExport_Click(); }));
        ok = ok && !s.failed;
        // The disk's own pace for the same bytes: dd writing the export anew and syncing it.
        const QFileInfoList exports = QDir(s.device() + QStringLiteral("/output"))
                                          .entryInfoList({"*.gpx"}, QDir::Files, QDir::Time);
        const QString copy = work + QStringLiteral("/dd-out.gpx");
        QFile::remove(copy);
        if (!exports.isEmpty())
            durable.push_back(
                runProcess(QStringLiteral("dd"), {"if=" + exports.first().filePath(), "of=" + copy,
                                                  "bs=1M", "conv=fsync", "status=none"}));
        QFile::remove(copy);
    }
    f.ok = ok;
    f.loadTracks = median(loadTrk);
    line("Load Favorites", median(loadFav),
         QStringLiteral("%1 favorites; %2")
             .arg(favorites)
             .arg(verdict(median(loadFav) < 100, "< 100 ms")));
    line("Export all favorites (symbol conversion)", median(exportFav),
         verdict(median(exportFav) < 100, QStringLiteral("< 100 ms")));
    line("Save Favorites", median(saveFav));
    line("Load Tracks", f.loadTracks,
         QStringLiteral("%1 tracks, %2").arg(tracks).arg(rate(bytes, f.loadTracks)));
    line("Export all tracks", median(exportTrk),
         verdict(median(exportTrk) <= f.loadTracks, QStringLiteral("no slower than Load Tracks")));
    line("dd bs=1M conv=fsync of the tracks export", median(durable),
         QStringLiteral("the disk's pace for a synced file of those bytes"));

    std::vector<double> babel, wc;
    for (int r = 0; r < std::max(1, repeats - 1); ++r) {
        const QString out = work + QStringLiteral("/gpsbabel-out.gpx");
        QFile::remove(out);
        babel.push_back(runProcess(QStringLiteral("gpsbabel"),
                                   {"-i", "gpx", "-f", path, "-o", "gpx", "-F", out}));
        wc.push_back(runProcess(QStringLiteral("wc"), {"-l", path}));
    }
    f.gpsbabel = median(babel);
    const double wcMs = median(wc);
    line("gpsbabel -i gpx -f FILE -o gpx -F OUT", f.gpsbabel, rate(bytes, f.gpsbabel));
    line("wc -l FILE", wcMs, rate(bytes, wcMs));
    if (f.gpsbabel > 0 && f.loadTracks > 0)
        std::printf(
            "  Load Tracks is %.1fx faster than GPSBabel (%s); %.2fx the time of wc -l (%s)\n",
            f.gpsbabel / f.loadTracks, qPrintable(verdict(f.gpsbabel / f.loadTracks >= 60, "60x")),
            f.loadTracks / wcMs, qPrintable(verdict(f.loadTracks / wcMs <= 6, "6x")));
    if (!ok || favorites <= 0 || tracks <= 0) {
        std::printf("  FAILED: a command showed a message or listed nothing\n");
        f.ok = false;
    }
    return f;
}

bool benchmarkMarkNew(const QString& work, int repeats) {
    GpxShape saved;
    saved.favorites = 20000;
    GpxShape loaded = saved;
    loaded.firstFavorite = 1001;
    const QString savedPath = work + QStringLiteral("/saved20k.gpx");
    const QString loadedPath = work + QStringLiteral("/loaded20k.gpx");
    QFile::remove(savedPath);
    QFile::remove(loadedPath);
    if (writeGpxFile(savedPath, saved) < 0 || writeGpxFile(loadedPath, loaded) < 0)
        return false;
    std::printf("\nFavorites history: 20,000 saved, 20,000 loaded, 1,000 of them new\n");
    std::vector<double> save, mark, load;
    int marked = 0;
    bool ok = true;
    for (int r = 0; r < repeats; ++r) {
        Session s;
        s.start();
        ok = ok && s.choose(savedPath);
        s.window->mnuSelectFavorites_Click();
        save.push_back(s.time("Save Favorites", [&] { s.window->mnuSaveFavorites_Click(); }));
        ok = ok && s.choose(loadedPath);
        load.push_back(s.time("Load Favorites", [&] { s.window->mnuSelectFavorites_Click(); }));
        mark.push_back(
            s.time("Mark New Favorites", [&] { s.window->mnuMarkNewFavorites_Click(); }));
        marked = 0;
        for (int row = 1; row < s.window->Grid1->Rows(); ++row)
            marked += s.window->Grid1->TextMatrix(row, 0) == QLatin1String("X");
        ok = ok && !s.failed;
    }
    line("Load Favorites (20,000)", median(load),
         verdict(median(load) < 50, QStringLiteral("< 50 ms")));
    line("Save Favorites (20,000)", median(save));
    line("Mark New Favorites", median(mark),
         QStringLiteral("%1 marked; %2").arg(marked).arg(verdict(median(mark) < 100, "< 100 ms")));
    if (!ok || marked != 1000) {
        std::printf("  FAILED: expected 1000 marked\n");
        return false;
    }
    return true;
}

bool benchmarkStartup(int repeats) {
    std::vector<double> inside, whole;
    for (int r = 0; r < repeats; ++r) {
        QByteArray output;
        const double ms =
            runProcess(QCoreApplication::applicationFilePath(), {"--startup"}, &output);
        if (ms < 0 || !output.startsWith("startup_ms "))
            return false;
        whole.push_back(ms);
        inside.push_back(output.mid(11).trimmed().toDouble());
    }
    std::printf("\nStart-up (%d runs, median)\n", repeats);
    line("main() to the window shown", median(inside),
         verdict(median(inside) < 300, QStringLiteral("< 300 ms")));
    line("whole process, exec to exit", median(whole));
    return true;
}

bool benchmarkPeak(const QString& work, bool quick) {
    GpxShape shape;
    shape.favorites = 5000;
    shape.tracks = quick ? 200 : 800;
    shape.pointsPerTrack = 2500;
    const QString path = work + QStringLiteral("/tracks200.gpx");
    const qint64 bytes = writeGpxFile(path, shape);
    if (bytes < 0)
        return false;
    QByteArray output;
    if (runProcess(QCoreApplication::applicationFilePath(), {"--tracks-peak", path}, &output) < 0)
        return false;
    std::printf("\nPeak memory, separate process: load and export the tracks of %.1f MB\n%s",
                double(bytes) / megabyte, output.constData());
    QFile::remove(path);
    return !output.contains("FAILED");
}

int startupMode(const QElapsedTimer& sinceMain) {
    Session s;
    s.start();
    std::printf("startup_ms %.1f\n", double(sinceMain.nsecsElapsed()) / 1e6);
    return s.window->isVisible() ? 0 : 1;
}

int tracksPeakMode(const QString& path) {
    Session s;
    s.start();
    const qint64 before = procStatus("VmHWM:");
    if (!s.choose(path))
        return 1;
    const qint64 bytes = QFileInfo(path).size();
    const double load = s.time("Load Tracks", [&] { s.window->mnuSelectTracks_Click(); });
    const int tracks = s.items();
    const qint64 afterLoad = procStatus("VmHWM:");
    s.window->mnuSelectAllItems_Click();
    const double exported = s.time("Export tracks", [&] { s.window->mnuExport_Click(); });
    const qint64 afterExport = procStatus("VmHWM:");
    line("Load Tracks", load, QStringLiteral("%1 tracks, %2").arg(tracks).arg(rate(bytes, load)));
    line("Export all tracks", exported);
    std::printf("  peak RSS after start-up %.1f MB, after load %.1f MB, after export %.1f MB; %s\n",
                double(before) / 1024, double(afterLoad) / 1024, double(afterExport) / 1024,
                qPrintable(verdict(afterExport < 100 * 1024, QStringLiteral("< 100 MB"))));
    if (s.failed || tracks <= 0)
        std::printf("  FAILED\n");
    return s.failed ? 1 : 0;
}

// Runs a command again and again in the session's window, then prints each time, their median
// and the median processor time of the window's thread; after runs after each time.
void repeatCommand(Session& s, int repeats, const char* what, const std::function<void()>& command,
                   const std::function<void()>& after = {}) {
    std::vector<double> times, cpu;
    for (int r = 0; r < repeats; ++r) {
        const double before = threadCpuMs();
        times.push_back(s.time(what, command));
        cpu.push_back(threadCpuMs() - before);
        if (after)
            after();
    }
    for (const double ms : times)
        std::printf("%.1f ", ms);
    std::printf("\n%s, median of %d: %.1f ms (processor, window's thread %.1f ms), %d items\n",
                what, repeats, median(times), median(cpu), s.items());
}

// Load Favorites of 20,000 as the history benchmark runs it (the grid holding 20,000 others
// before), repeated in one window so that a profiler sees little else.
int favoritesLoadsMode(int loads) {
    QTemporaryDir work;
    GpxShape shape;
    shape.favorites = 20000;
    const QString first = work.path() + QStringLiteral("/saved20k.gpx");
    const QString second = work.path() + QStringLiteral("/loaded20k.gpx");
    if (writeGpxFile(first, shape) < 0 || writeGpxFile(second, shape) < 0)
        return 1;
    Session s;
    s.start();
    if (!s.choose(first))
        return 1;
    s.window->mnuSelectFavorites_Click();
    if (!s.choose(second))
        return 1;
    repeatCommand(s, loads, "Load Favorites (20,000)",
                  [&] { s.window->mnuSelectFavorites_Click(); });
    return s.failed ? 1 : 0;
}

// Load Tracks of the file once, then the export of all its tracks again and again in the same
// window, each export removed before the next, so that a profiler sees little else.
int tracksExportsMode(int exports, const QString& path) {
    Session s;
    s.start();
    if (!s.choose(path))
        return 1;
    s.window->mnuSelectTracks_Click();
    s.window->mnuSelectAllItems_Click();
    const QString output = s.device() + QStringLiteral("/output");
    repeatCommand(
        s, exports, "Export of all tracks", [&] { s.window->mnuExport_Click(); },
        [&] { QDir(output).removeRecursively(); });
    return s.failed ? 1 : 0;
}

// The details pane on a 100,000-point track between two others: from the row becoming current
// to the pane showing its figures, the scratch file read from the start.
bool benchmarkDetails(const QString& work, int repeats) {
    GpxShape shape;
    shape.favorites = 10;
    shape.tracks = 3;
    shape.pointsPerTrack = 100000;
    const QString path = work + QStringLiteral("/track100k.gpx");
    QFile::remove(path);
    if (writeGpxFile(path, shape) < 0)
        return false;
    Session s;
    s.start();
    s.window->mnuViewDetails->trigger();
    if (!s.choose(path))
        return false;
    s.window->mnuSelectTracks_Click();
    auto* pane = s.window->findChild<ItemDetailsPane*>();
    std::vector<double> times;
    for (int r = 0; r < std::max(repeats, 3); ++r) {
        s.window->Grid1->setRow(1);
        times.push_back(s.time("Details", [&] { s.window->Grid1->setRow(2); }));
    }
    const bool shown = pane && pane->isVisible() &&
                       pane->findChild<QLabel*>()->text().startsWith(QLocale().toString(100000) +
                                                                     QLatin1Char(' '));
    std::printf("\nDetails pane\n");
    std::printf("Details of a 100,000-point track: %.1f ms  %s\n", median(times),
                qPrintable(verdict(shown && median(times) < 100, QStringLiteral("< 100 ms"))));
    return shown && !s.failed;
}

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer sinceMain;
    sinceMain.start();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.contains(QStringLiteral("--startup")))
        return startupMode(sinceMain);
    if (const qsizetype at = args.indexOf(QStringLiteral("--tracks-peak"));
        at > 0 && at + 1 < args.size())
        return tracksPeakMode(args[at + 1]);
    if (const qsizetype at = args.indexOf(QStringLiteral("--favorites-loads"));
        at > 0 && at + 1 < args.size())
        return favoritesLoadsMode(std::max(args[at + 1].toInt(), 1));
    if (const qsizetype at = args.indexOf(QStringLiteral("--tracks-exports"));
        at > 0 && at + 2 < args.size())
        return tracksExportsMode(std::max(args[at + 1].toInt(), 1), args[at + 2]);

    const bool quick = args.contains(QStringLiteral("--quick"));
    const int repeats = quick ? 1 : 5;
    QTemporaryDir temp;
    QString work = temp.path();
    if (const qsizetype at = args.indexOf(QStringLiteral("--keep"));
        at > 0 && at + 1 < args.size()) {
        work = args[at + 1];
        QDir().mkpath(work);
    }

    GpxShape shape;
    shape.favorites = 5000;
    shape.tracks = 200;
    shape.pointsPerTrack = 2500;
    const QString withBreaks = work + QStringLiteral("/nuvi50-lines.gpx");
    GpxShape single = shape;
    single.oneLine = true;
    const QString oneLine = work + QStringLiteral("/nuvi50-oneline.gpx");
    QFile::remove(withBreaks);
    QFile::remove(oneLine);
    if (writeGpxFile(withBreaks, shape) < 0 || writeGpxFile(oneLine, single) < 0) {
        std::fprintf(stderr, "cannot write the generated files into %s\n", qPrintable(work));
        return 1;
    }

    bool ok = benchmarkStartup(quick ? 3 : 7);
    const Figures a = benchmarkFile(withBreaks, QStringLiteral("With line breaks"), repeats, work);
    const Figures b = benchmarkFile(oneLine, QStringLiteral("On one line"), repeats, work);
    ok = ok && a.ok && b.ok;
    ok = benchmarkMarkNew(work, repeats) && ok;
    ok = benchmarkDetails(work, repeats) && ok;
    ok = benchmarkPeak(work, quick) && ok;
    std::printf("\n%s\n", ok ? "Benchmark complete." : "Benchmark FAILED.");
    return ok ? 0 : 1;
}
