#include "symbols/symtable.h"

#include "text/CodePage.h"
#include "text/DiskFiles.h"
#include "text/WriteError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

const QByteArray byteOrderMark("\xEF\xBB\xBF");

} // namespace

namespace symtable {

QString SymbolTablePath;

QString tablePathIn(const QString& deviceFolder) {
    const QDir folder(deviceFolder);
    const QString wanted = QString::fromLatin1(fileName);
    const QStringList entries = folder.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& entry : entries) {
        if (entry.compare(wanted, Qt::CaseInsensitive) == 0)
            return folder.filePath(entry);
    }
    return folder.filePath(wanted);
}

const QList<SymbolPair>& defaultTable() {
    static const QList<SymbolPair> table = {
        {QStringLiteral("Waypoint"), QStringLiteral("QVN_WAYPOINT")},
        {QStringLiteral("Geocache"), QStringLiteral("GEOCACHE")},
        {QStringLiteral("Geocache Found"), QStringLiteral("GEOCACHEFOUND")},
        {QStringLiteral("Restroom"), QStringLiteral("RESTROOM")},
        {QStringLiteral("Telephone"), QStringLiteral("TELEPHONE")},
        {QStringLiteral("Trail Head"), QStringLiteral("HIKER")},
        {QStringLiteral("Residence"), QStringLiteral("HOUSE")},
        {QStringLiteral("Gas Station"), QStringLiteral("GAS STATION")},
        {QStringLiteral("Bike Trail"), QStringLiteral("BIKE")},
        {QStringLiteral("Car Repair"), QStringLiteral("TOW TRUCK")},
        {QStringLiteral("Car Rental"), QStringLiteral("CAR")},
        {QStringLiteral("Fitness Center"), QStringLiteral("QVN_FITNESS")},
        {QStringLiteral("Lodging"), QStringLiteral("LODGING")},
        {QStringLiteral("Picnic Area"), QStringLiteral("PICNIC TABLE")},
        {QStringLiteral("Bank"), QStringLiteral("MONEY")},
        {QStringLiteral("Post Office"), QStringLiteral("POST OFFICE")},
        {QStringLiteral("Medical Facility"), QStringLiteral("QVN_MEDICAL_FACILITY")},
        {QStringLiteral("Flag, Blue"), QStringLiteral("BLUE FLAG")},
        {QStringLiteral("Flag, Green"), QStringLiteral("GREEN FLAG")},
        {QStringLiteral("Flag, Red"), QStringLiteral("RED FLAG")},
        {QStringLiteral("Shopping Center"), QStringLiteral("QVN_SHOPPING")},
        {QStringLiteral("Skiing Area"), QStringLiteral("DOWNHILL SKIING")},
        {QStringLiteral("Bridge"), QStringLiteral("BRIDGE")},
        {QStringLiteral("Amusement Park"), QStringLiteral("QVN_AMUSEMENT_PARK")},
        {QStringLiteral("Department Store"), QStringLiteral("QVN_DEPARTMENT_STORE")},
        {QStringLiteral("Live Theater"), QStringLiteral("QVN_LIVE_THEATER")},
        {QStringLiteral("Pin, Blue"), QStringLiteral("MAP PIN")},
        {QStringLiteral("Pin, Green"), QStringLiteral("GREEN MAP PIN")},
        {QStringLiteral("Pin, Red"), QStringLiteral("RED MAP PIN")},
        {QStringLiteral("Restaurant"), QStringLiteral("DINING")},
        {QStringLiteral("Shower"), QStringLiteral("SHOWER")},
        {QStringLiteral("Swimming Area"), QStringLiteral("SWIMMING")},
        {QStringLiteral("Bowling"), QStringLiteral("QVN_BOWLING")},
        {QStringLiteral("Ball Park"), QStringLiteral("BALLPARK")},
        {QStringLiteral("Golf Course"), QStringLiteral("GOLF COURSE")},
        {QStringLiteral("Block, Blue"), QStringLiteral("QVN_BLUE_SQUARE")},
        {QStringLiteral("Block, Green"), QStringLiteral("QVN_GREEN_SQUARE")},
        {QStringLiteral("Block, Red"), QStringLiteral("QVN_RED_SQUARE")},
        {QStringLiteral("Skull and Crossbones"), QStringLiteral("DANGER")},
        {QStringLiteral("Boat Ramp"), QStringLiteral("BOAT LAUNCH")},
        {QStringLiteral("Dam"), QStringLiteral("DAM")},
        {QStringLiteral("Stadium"), QStringLiteral("QVN_STADIUM")},
        {QStringLiteral("Zoo"), QStringLiteral("BEAR")},
        {QStringLiteral("Information"), QStringLiteral("INFORMATION")},
        {QStringLiteral("Truck Stop"), QStringLiteral("TRUCK")},
        {QStringLiteral("Scales"), QStringLiteral("QVN_SCALES")},
        {QStringLiteral("Toll Booth"), QStringLiteral("TOLL BOOTH")},
        {QStringLiteral("RV Park"), QStringLiteral("CAMPER")},
        {QStringLiteral("Parking Area"), QStringLiteral("PARKING")},
        {QStringLiteral("Parachute Area"), QStringLiteral("QVN_PARACHUTE")},
        {QStringLiteral("Glider Area"), QStringLiteral("GLIDER AREA")},
        {QStringLiteral("Ultralight Area"), QStringLiteral("PRIVATE AIRPORT")},
        {QStringLiteral("Airport"), QStringLiteral("PUBLIC AIRPORT")},
        {QStringLiteral("City (Large)"), QStringLiteral("RED DOT")},
        {QStringLiteral("City (Medium)"), QStringLiteral("DARK RED DOT")},
        {QStringLiteral("City (Small)"), QStringLiteral("SMALL RED DOT")},
        {QStringLiteral("Crossing"), QStringLiteral("QVN_CROSSING")},
        {QStringLiteral("Building"), QStringLiteral("BUILDING")},
        {QStringLiteral("Campground"), QStringLiteral("CAMPGROUND")},
        {QStringLiteral("Church"), QStringLiteral("CHURCH")},
        {QStringLiteral("Temple"), QStringLiteral("TEMPLE")},
        {QStringLiteral("Synagogue"), QStringLiteral("SYNAGOGUE")},
        {QStringLiteral("House of Worship"), QStringLiteral("HOUSE OF WORSHIP")},
        {QStringLiteral("Danger Area"), QStringLiteral("QVN_DANGER")},
        {QStringLiteral("Bar"), QStringLiteral("QVN_BAR")},
        {QStringLiteral("Movie Theater"), QStringLiteral("QVN_MOVIE_THEATER")},
        {QStringLiteral("Oil Field"), QStringLiteral("QVN_OIL_FIELD")},
        {QStringLiteral("Fast Food"), QStringLiteral("QVN_FAST_FOOD")},
        {QStringLiteral("Cemetery"), QStringLiteral("CEMETERY")},
        {QStringLiteral("Mine"), QStringLiteral("MINING")},
        {QStringLiteral("Drinking Water"), QStringLiteral("DRINKING WATER")},
        {QStringLiteral("Fishing Area"), QStringLiteral("FISHING")},
        {QStringLiteral("Hunting Area"), QStringLiteral("HUNTING GAME PRESERVE")},
        {QStringLiteral("Museum"), QStringLiteral("QVN_MUSEUM")},
        {QStringLiteral("Tunnel"), QStringLiteral("TUNNEL")},
        {QStringLiteral("Pharmacy"), QStringLiteral("QVN_PHARMACY")},
        {QStringLiteral("Pizza"), QStringLiteral("QVN_PIZZA")},
        {QStringLiteral("Scenic Area"), QStringLiteral("CAMERA")},
        {QStringLiteral("School"), QStringLiteral("SCHOOL BUS")},
        {QStringLiteral("Summit"), QStringLiteral("MOUNTAIN")},
        {QStringLiteral("Park"), QStringLiteral("TREEDECIDUOUS")},
        {QStringLiteral("Forest"), QStringLiteral("TREEEVERGREEN")},
        {QStringLiteral("Short Tower"), QStringLiteral("RADIO TOWER")},
        {QStringLiteral("Tall Tower"), QStringLiteral("RADIO TOWER")},
        {QStringLiteral("Anchor"), QStringLiteral("ANCHOR")},
        {QStringLiteral("Man Overboard"), QStringLiteral("QVN_MAN_OVERBOARD")},
        {QStringLiteral("Shipwreck"), QStringLiteral("SHIPWRECK")},
    };
    return table;
}

QByteArray serialize(const QList<SymbolPair>& pairs) {
    QByteArray bytes;
    for (const SymbolPair& pair : pairs) {
        bytes += CodePage::fromUnicode(pair.nuvi);
        bytes += '\t';
        bytes += CodePage::fromUnicode(pair.delorme);
        bytes += "\r\n";
    }
    return bytes;
}

QList<SymbolPair> parse(QByteArrayView bytes) {
    QList<SymbolPair> pairs;
    qsizetype start = 0;
    const qsizetype size = bytes.size();
    while (start < size) {
        qsizetype end = start;
        while (end < size && bytes[end] != '\r' && bytes[end] != '\n')
            ++end;
        const QByteArrayView line = bytes.sliced(start, end - start);
        const qsizetype tab = line.indexOf('\t');
        if (tab >= 0)
            pairs.append(
                {CodePage::toUnicode(line.first(tab)), CodePage::toUnicode(line.sliced(tab + 1))});
        // CR LF, a lone CR or a lone LF ends the line.
        start = end;
        if (start < size && bytes[start] == '\r')
            ++start;
        if (start < size && bytes[start] == '\n')
            ++start;
    }
    return pairs;
}

ReadResult readFile(const QString& path) {
    ReadResult result;
    QFile file(path);
    if (!QFileInfo(path).isFile() && QFileInfo::exists(path)) {
        result.error = QStringLiteral("It is not a regular file.");
        return result;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = file.errorString();
        return result;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        result.error = file.errorString();
        return result;
    }
    result.byteOrderMark = bytes.startsWith(byteOrderMark);
    result.pairs = parse(QByteArrayView(bytes).sliced(result.byteOrderMark ? 3 : 0));
    return result;
}

ReadResult readOrCreate(const QString& path) {
    if (!QFileInfo::exists(path)) {
        ReadResult result;
        result.error = WriteDefaultSymbolTable(path);
        result.createFailed = !result.error.isEmpty();
        if (result.createFailed)
            return result;
    }
    return readFile(path);
}

QString writeFile(const QString& path, const QList<SymbolPair>& pairs, bool withMark) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    const QByteArray bytes = (withMark ? byteOrderMark : QByteArray()) + serialize(pairs);
    // commit() does not notice when writing out the last buffered bytes fails (a full disk)
    // and would then replace the table with a cut one, so those bytes are flushed here.
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        const QString reason = writeErrorOf(file);
        file.cancelWriting();
        return reason;
    }
    if (!file.commit())
        return DiskFiles::whyNotReplaced(path, file.errorString());
    return {};
}

QString WriteDefaultSymbolTable(const QString& path) {
    return writeFile(path, defaultTable());
}

} // namespace symtable
