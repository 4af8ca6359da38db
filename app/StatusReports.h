#pragma once

#include "symbols/symtable.h"

#include <QList>
#include <QObject>
#include <QString>

class FlexGridModel;
class QLabel;
class QProgressBar;
class QStatusBar;

// The status bar under the designed window: says in plain words what the last command did,
// shows a load's progress by bytes read, and after an export offers to open the folder the
// file went to. The designed status line above keeps its own texts; this adds to it.
class StatusReports : public QObject {
    Q_OBJECT
public:
    // Watches the item grid's marks, to count them as they change.
    StatusReports(QStatusBar* bar, const FlexGridModel* items);

    // The report shown now, as plain text, and the folder its link opens (or empty).
    QString text() const { return m_text; }
    QString link() const { return m_link; }

    void say(const QString& text);
    // A command that did not get done: the progress goes, the reason stays.
    void failed(const QString& command, const QString& reason);

    void copied(const QString& path, bool existed);
    void loadStarted(const QString& path);
    void loadProgress(qint64 done, qint64 total);
    // The grid now holds the favorites (or tracks) of the source; from now on every change
    // of the marks is counted.
    void loaded(bool tracks);
    // The export wrote the marked rows to path; conversion is the symbol table it used, if
    // any, whose missing symbols are counted.
    void exported(const QString& path, const QList<SymbolPair>* conversion);
    void saved(const QString& path, int favorites);
    void markedNew(qsizetype saved);

private:
    void show(const QString& text, const QString& folder = QString());
    int markedRows() const;
    void countMarks();
    void stopCounting();

    QStatusBar* m_bar;
    QLabel* m_report;
    QProgressBar* m_progress;
    const FlexGridModel* m_items;
    // "favorites" or "tracks" while the grid holds a finished load, else empty.
    QString m_noun;
    QString m_text;
    QString m_link;
};
