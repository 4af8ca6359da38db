#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

class QIODevice;

// One row of a device's symbol cross-reference: the symbol name a nüvi writes into a
// favorite's <sym> element, and the name the DeLorme map programs know it by.
struct SymbolPair {
    QString nuvi;
    QString delorme;
    bool operator==(const SymbolPair&) const = default;
};

// The symbol table file: one pair a line, the nüvi symbol, one TAB, the DeLorme symbol, and
// CR LF; bytes in Windows-1252. The first TAB ends the nüvi symbol; everything after it up
// to the line end, further TABs included, is the DeLorme symbol.
namespace symtable {

// Path of the current device's table; set by File > Open and by every table load.
extern QString SymbolTablePath;

// The name the program gives a new table file.
inline constexpr char fileName[] = "symtable.txt";

// The file of a device's table: an existing one is found whatever the letter case of its
// name (a folder copied from Windows holds "SymTable.txt"); otherwise the folder plus
// "symtable.txt".
QString tablePathIn(const QString& deviceFolder);

// The 87 rows that every new device starts with.
const QList<SymbolPair>& defaultTable();

// The file bytes of a table.
QByteArray serialize(const QList<SymbolPair>& pairs);

// The pairs of a file's bytes. Lines end at CR LF, a lone CR or a lone LF; the last line needs
// no line end. A line without a TAB (blank lines among them) holds no pair and is skipped.
QList<SymbolPair> parse(QByteArrayView bytes);

struct ReadResult {
    QList<SymbolPair> pairs;
    QString error;              // empty when the file was read
    bool createFailed = false;  // readOrCreate: the missing file could not be written
    bool byteOrderMark = false; // the file began with a UTF-8 byte-order mark (Notepad's)
};

// Reads and parses a table file. A missing file is an error like any other. A UTF-8
// byte-order mark at its start, which Notepad may write, is not part of the first name.
ReadResult readFile(const QString& path);

// Reads a device's table as the program takes it into use: a missing file (a device folder
// made by hand, or its table deleted) is first written with the table a new device starts with.
ReadResult readOrCreate(const QString& path);

// Replaces the file with the pairs, whole or not at all, after a byte-order mark when asked
// (a file read with one keeps it); returns the reason of a failure, or an empty text.
QString writeFile(const QString& path, const QList<SymbolPair>& pairs, bool byteOrderMark = false);

// Writes the default table to the path, replacing any content. Returns the reason of a
// failure, or an empty text.
QString WriteDefaultSymbolTable(const QString& path);

} // namespace symtable
