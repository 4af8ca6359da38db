#include "cli/CommandLine.h"

#include "cli/Console.h"
#include "export/ExportWriter.h"
#include "favorites/FavoritesHistory.h"
#include "items/FlexGridModel.h"
#include "items/ItemMarks.h"
#include "items/ScratchFile.h"
#include "items/SourceLoad.h"
#include "symbols/symtable.h"
#include "text/TextHelpers.h"
#include "workspace/DatedCopy.h"
#include "workspace/Workspace.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstring>
#include <optional>

namespace CommandLine {
namespace {

enum class Action { Copy, List, Export, SaveFavorites };

struct Command {
    Action action;
    const char* name;
    const char* summary;
    bool device; // --device NAME
    bool kind;   // --favorites | --tracks
    bool choice; // --all | --new | --name NAME..., --no-symbols
};

const Command commands[] = {
    {Action::Copy, "copy",
     "Copies FILE into the device folder under a dated name and prints the copy's path.", true,
     false, false},
    {Action::List, "list",
     "Lists the favorites (name, TAB, symbol) or the tracks of FILE, one a line.", false, true,
     false},
    {Action::Export, "export",
     "Exports the chosen favorites or tracks of FILE to the device's output folder, with the "
     "device's symbol table, and prints the file written.",
     true, true, true},
    {Action::SaveFavorites, "save-favorites",
     "Saves the favorites of FILE as the device's known favorites, for a later --new.", true, false,
     false},
};

const char* const statusHelp =
    "\nSubcommands (no display needed; COMMAND --help shows the options of one):\n"
    "  copy FILE --device NAME\n"
    "  list FILE --favorites|--tracks\n"
    "  export FILE --device NAME --favorites|--tracks --all|--new|--name NAME... [--no-symbols]\n"
    "  save-favorites FILE --device NAME\n"
    "\nExit status:\n"
    "  0  done\n"
    "  1  a file could not be read or written (nothing is left half written)\n"
    "  2  wrong usage: unknown subcommand or option, missing or extra arguments\n"
    "  3  no device folder of that name in %1\n"
    "  4  the GPX file is missing or not a regular file\n"
    "  5  nothing to export: a --name no item has, --new before any save-favorites, or no item\n"
    "     marked\n";

QTextStream& out() {
    static Console::Device device(Console::Stream::Output);
    static QTextStream stream(&device);
    return stream;
}

int fail(int status, const QString& message) {
    Console::Device device(Console::Stream::Error);
    QTextStream err(&device);
    err << QCoreApplication::applicationName().toLower() << ": " << message << Qt::endl;
    return status;
}

const Command* findCommand(const QString& name) {
    for (const Command& command : commands)
        if (name == QLatin1String(command.name))
            return &command;
    return nullptr;
}

QString native(const QString& path) {
    return QDir::toNativeSeparators(path);
}

// The device folder of a name, found among the device names without regard to case.
std::optional<QString> deviceFolder(const QString& name) {
    for (const QString& device : Workspace::deviceNames())
        if (device.compare(name, Qt::CaseInsensitive) == 0)
            return QDir(Workspace::rootPath()).filePath(device);
    return std::nullopt;
}

int noDevice(const QString& name) {
    const QStringList devices = Workspace::deviceNames();
    return fail(NoDevice, QStringLiteral("there is no device \"%1\" in %2 (devices: %3)")
                              .arg(name, Workspace::displayRoot(),
                                   devices.isEmpty() ? QStringLiteral("none")
                                                     : devices.join(QStringLiteral(", "))));
}

QString noSourceMessage(const QFile& source) {
    return QStringLiteral("the file %1 can't be opened: %2")
        .arg(native(source.fileName()), sourceOpenError(source));
}

int noSource(const QFile& source) {
    return fail(NoSource, noSourceMessage(source));
}

// The items of a source as the window's loads put them into the item grid: row 0 stands for
// the heading row, then one row per item; sourceNames[r] is the track in row r as the source
// names it. The tracks' scratch data goes to scratch.
struct Items {
    FlexGridModel grid{4};
    QString header;
    QStringList sourceNames{QString()};
};

int readItems(const QString& path, bool tracks, QIODevice& scratch, Items& items,
              const QString& scratchPath = {}) {
    QFile source(path);
    if (!openSourceFile(source))
        return noSource(source);
    items.grid.AddItem(QStringLiteral(" "));
    const auto readOn = [] { return true; };
    bool read = false;
    if (tracks) {
        TracksScanner scanner(&scratch);
        read = readInBlocks(
            source, [&](QByteArrayView bytes) { return scanner.feed(bytes); }, readOn);
        const QList<TrackItem> found = scanner.takeItems();
        items.grid.appendRows(trackRows(found));
        for (const TrackItem& item : found)
            items.sourceNames.append(item.sourceName);
        items.header = scanner.header();
        if (read && !scanner.finish())
            return fail(Failed, QStringLiteral("the track scratch file %1 could not be written: %2")
                                    .arg(native(scratchPath), scanner.writeError()));
    } else {
        FavoritesScanner scanner;
        read = readInBlocks(
            source, [&](QByteArrayView bytes) { return scanner.feed(bytes); }, readOn);
        appendFavoriteRows(items.grid, scanner.takeItems());
        items.header = scanner.header();
    }
    if (!read)
        return fail(Failed, QStringLiteral("the file %1 could not be read to its end: %2")
                                .arg(native(path), source.errorString()));
    return Done;
}

// Marks the items the options choose, as the window's marking commands do.
int markItems(const QCommandLineParser& parser, const QString& device, bool tracks, Items& items) {
    if (parser.isSet(QStringLiteral("all")))
        setAllMarks(items.grid, QStringLiteral("X"));
    if (parser.isSet(QStringLiteral("new"))) {
        const QString path = favoritesPathIn(device);
        const SavedNames saved = readSavedNames(path);
        if (!saved.opened && !QFileInfo::exists(path))
            return fail(NothingMarked, QStringLiteral("no favorites were saved for this device "
                                                      "yet (%1 is missing); run save-favorites "
                                                      "first")
                                           .arg(native(path)));
        if (!saved.error.isEmpty())
            return fail(Failed, QStringLiteral("the saved favorites %1 could not be read: %2")
                                    .arg(native(path), saved.error));
        markNewFavorites(items.grid, saved.names);
    }
    for (const QString& name : parser.values(QStringLiteral("name"))) {
        bool found = false;
        for (int row = 1; row < items.grid.Rows(); ++row) {
            if (items.grid.TextMatrix(row, 1) == name) {
                items.grid.setTextMatrix(row, 0, QStringLiteral("X"));
                found = true;
            }
        }
        if (!found)
            return fail(
                NothingMarked,
                QStringLiteral("the file has no %1 named \"%2\"")
                    .arg(tracks ? QLatin1String("track") : QLatin1String("favorite"), name));
    }
    if (!markedItems(items.grid).any)
        return fail(NothingMarked,
                    QStringLiteral("none of the %1 %2 of the file is marked, so "
                                   "nothing was exported")
                        .arg(QString::number(items.grid.Rows() - 1),
                             tracks ? QLatin1String("tracks") : QLatin1String("favorites")));
    return Done;
}

int copy(const QString& path, const QString& device) {
    QFile source(path);
    if (!openSourceFile(source))
        return noSource(source);
    const DatedCopy::Result result =
        DatedCopy::copyInto(source, device, QDateTime::currentDateTime());
    if (!result.error.isEmpty())
        return fail(Failed, QStringLiteral("the copy of %1 could not be made in %2: %3")
                                .arg(native(path), native(device), result.error));
    if (result.existed)
        out() << "an identical copy of this minute exists: ";
    out() << native(result.path) << Qt::endl;
    return Done;
}

int list(const QString& path, bool tracks) {
    Items items;
    QBuffer scratch;
    scratch.open(QIODevice::WriteOnly);
    if (const int status = readItems(path, tracks, scratch, items))
        return status;
    for (int row = 1; row < items.grid.Rows(); ++row) {
        out() << items.grid.TextMatrix(row, 1);
        if (!tracks)
            out() << '\t' << items.grid.TextMatrix(row, 3);
        out() << '\n';
    }
    out().flush();
    return Done;
}

int saveFavoritesOf(const QString& path, const QString& device) {
    Items items;
    QBuffer unused;
    if (const int status = readItems(path, false, unused, items))
        return status;
    const QString target = favoritesPathIn(device);
    const QString error = saveFavorites(target, items.grid);
    if (!error.isEmpty())
        return fail(Failed, QStringLiteral("the favorites could not be saved to %1; the earlier "
                                           "file is unchanged: %2")
                                .arg(native(target), error));
    out() << native(target) << Qt::endl;
    return Done;
}

int exportItems(const QCommandLineParser& parser, const QString& path, const QString& device,
                bool tracks) {
    // As in the window, the table comes into use when the file is chosen, before the load.
    const bool convert = !tracks && !parser.isSet(QStringLiteral("no-symbols"));
    symtable::ReadResult table;
    if (convert) {
        const QString tablePath = symtable::tablePathIn(device);
        table = symtable::readOrCreate(tablePath);
        if (!table.error.isEmpty())
            return fail(Failed, QStringLiteral("the symbol table %1 can't be %2: %3")
                                    .arg(native(tablePath),
                                         table.createFailed ? QLatin1String("created")
                                                            : QLatin1String("read"),
                                         table.error));
    }
    // The tracks' scratch file replaces the earlier one only once the items are marked, so
    // that a command that ends with an error changes nothing.
    const QString scratchPath = scratchPathIn(device);
    ScratchFile scratch(scratchPath);
    QBuffer unused;
    if (const QString reason = tracks ? scratch.open() : QString(); !reason.isEmpty())
        return fail(Failed, QStringLiteral("the track scratch file %1 can't be created: %2")
                                .arg(native(scratchPath), reason));
    Items items;
    if (const int status =
            readItems(path, tracks, tracks ? static_cast<QIODevice&>(scratch.file()) : unused,
                      items, scratchPath))
        return status;
    if (const int status = markItems(parser, device, tracks, items))
        return status;
    if (const QString reason = tracks ? scratch.place() : QString(); !reason.isEmpty())
        return fail(Failed, QStringLiteral("the track scratch file %1 could not be written: %2")
                                .arg(native(scratchPath), reason));

    const QString outputFolder = outputFolderIn(device);
    Workspace::MakeFolder(outputFolder);
    const QString base = CleanName(markedItems(items.grid).firstName);
    const ExportResult result = tracks
                                    ? exportTracks(outputFolder, base, items.header, items.grid,
                                                   items.sourceNames, scratchPathIn(device))
                                    : exportFavorites(outputFolder, base, items.header, items.grid,
                                                      convert ? &table.pairs : nullptr);
    if (!result.error.isEmpty())
        return fail(Failed, QStringLiteral("the export file could not be written in %1: %2")
                                .arg(native(outputFolder), result.error));
    out() << native(result.path) << Qt::endl;
    return Done;
}

int runCommand(const Command& command, const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromUtf8(command.summary));
    parser.addHelpOption();
    parser.addPositionalArgument(QString::fromLatin1(command.name),
                                 QStringLiteral("The subcommand."));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("A unit's GPX file."));
    if (command.device)
        parser.addOption({QStringLiteral("device"),
                          QStringLiteral("The device folder in %1.").arg(Workspace::displayRoot()),
                          QStringLiteral("NAME")});
    if (command.kind)
        parser.addOptions({{QStringLiteral("favorites"), QStringLiteral("The favorites.")},
                           {QStringLiteral("tracks"), QStringLiteral("The tracks.")}});
    if (command.choice)
        parser.addOptions(
            {{QStringLiteral("all"), QStringLiteral("Every item.")},
             {QStringLiteral("new"), QStringLiteral("The favorites not among the saved ones.")},
             {QStringLiteral("name"),
              QStringLiteral("The items of this name, as list shows it; may be repeated."),
              QStringLiteral("NAME")},
             {QStringLiteral("no-symbols"),
              QStringLiteral("Keep the favorites' symbols as the unit wrote them.")}});
    if (!parser.parse(arguments))
        return fail(Usage, parser.errorText());
    if (parser.isSet(QStringLiteral("help"))) {
        out() << parser.helpText();
        return Done;
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 2)
        return fail(Usage, QStringLiteral("%1 takes one FILE; see %1 --help").arg(command.name));
    const QString& path = positional.at(1);
    const bool tracks = command.kind && parser.isSet(QStringLiteral("tracks"));
    if (command.kind && tracks == parser.isSet(QStringLiteral("favorites")))
        return fail(Usage, QStringLiteral("choose either --favorites or --tracks"));
    if (command.choice) {
        const int chosen = int(parser.isSet(QStringLiteral("all"))) +
                           int(parser.isSet(QStringLiteral("new"))) +
                           int(parser.isSet(QStringLiteral("name")));
        if (chosen != 1)
            return fail(Usage, QStringLiteral("choose the items with one of --all, --new or "
                                              "--name"));
        if (tracks && parser.isSet(QStringLiteral("new")))
            return fail(Usage, QStringLiteral("--new marks favorites, not tracks"));
    }
    if (command.action == Action::List)
        return list(path, tracks);
    if (!parser.isSet(QStringLiteral("device")))
        return fail(Usage, QStringLiteral("%1 needs --device NAME").arg(command.name));
    const QString name = parser.value(QStringLiteral("device"));
    const std::optional<QString> device = deviceFolder(name);
    if (!device)
        return noDevice(name);
    if (command.action == Action::Copy)
        return copy(path, *device);
    if (command.action == Action::Export)
        return exportItems(parser, path, *device, tracks);
    return saveFavoritesOf(path, *device);
}

// The parser of the program itself: help, version and the file for the window.
void describeProgram(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        QStringLiteral("Exports favorites and tracks of a Garmin nuvi to DeLorme map programs."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("A GPX file to choose as the source in the "
                                                "window."),
                                 QStringLiteral("[FILE]"));
}

bool isHelpOrVersion(const char* argument) {
    for (const char* option : {"-h", "--help", "--help-all", "-?", "-v", "--version"})
        if (std::strcmp(argument, option) == 0)
            return true;
    return false;
}

} // namespace

bool runsWithoutWindow(int argc, char* argv[]) {
    if (argc > 1 && findCommand(QString::fromLocal8Bit(argv[1])))
        return true;
    for (int i = 1; i < argc; ++i)
        if (isHelpOrVersion(argv[i]))
            return true;
    return false;
}

void describeApplication() {
    QCoreApplication::setApplicationName(QStringLiteral("Tarnwick"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TARNWICK_VERSION));
}

int run(const QStringList& arguments) {
    if (arguments.size() > 1)
        if (const Command* command = findCommand(arguments.at(1)))
            return runCommand(*command, arguments);
    QCommandLineParser parser;
    describeProgram(parser);
    if (!parser.parse(arguments))
        return fail(Usage, parser.errorText());
    if (parser.isSet(QStringLiteral("version"))) {
        out() << "tarnwick " << QCoreApplication::applicationVersion() << Qt::endl;
        return Done;
    }
    out() << parser.helpText() << QString::fromLatin1(statusHelp).arg(Workspace::displayRoot());
    out().flush();
    return Done;
}

WindowStart windowStart(const QStringList& arguments) {
    QCommandLineParser parser;
    describeProgram(parser);
    WindowStart start;
    if (!parser.parse(arguments) || parser.positionalArguments().size() > 1) {
        start.message = parser.errorText().isEmpty() ? QStringLiteral("give at most one FILE")
                                                     : parser.errorText();
        start.exitStatus = fail(Usage, start.message);
        return start;
    }
    if (parser.positionalArguments().isEmpty())
        return start;
    QFile file(parser.positionalArguments().first());
    if (!QFileInfo(file.fileName()).isFile()) {
        start.message = noSourceMessage(file);
        start.exitStatus = fail(NoSource, start.message);
        return start;
    }
    start.file = QFileInfo(file.fileName()).absoluteFilePath();
    return start;
}

} // namespace CommandLine
