#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <memory>

class QMainWindow;
class QSettings;

// What the main window remembers between runs: its size, position and maximized state, and
// for each device the folder its last source file was chosen in. The settings live where the
// system keeps a user's settings (on Windows the registry, HKEY_CURRENT_USER\Software\Tarnwick;
// elsewhere the configuration folder, tarnwick/tarnwick.conf), never in the workspace.
//
// Folders are those of the previous run: choosing a source records the folder for the next
// run, while this run keeps the lists where the user left them.
class WindowSettings : public QObject {
    Q_OBJECT
public:
    // Reads the settings and gives the window its remembered geometry; the window saves its
    // geometry when it closes.
    explicit WindowSettings(QMainWindow* window);

    // The settings; under Qt's test mode, a place of the tests' own.
    static std::unique_ptr<QSettings> open();

    // The folder the last source of the device was chosen in, while it still exists; else
    // the device folder itself.
    QString folderFor(const QString& deviceFolder) const;
    void rememberFolder(const QString& deviceFolder, const QString& folder);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QMainWindow* m_window;
    QHash<QString, QString> m_folders;
};
