#pragma once

#include <QListWidget>
#include <QString>

// The file list: the regular files of one folder whose names match a pattern, such as
// "*.gpx", without regard to case. Choosing a name (a click, or Enter or Space on it)
// emits Click().
class FileListBox : public QListWidget {
    Q_OBJECT
public:
    explicit FileListBox(QWidget* parent = nullptr);

    QString Path() const;
    // Shows the folder's files, reading the folder again even when it is already shown.
    void setPath(const QString& path);
    QString Pattern() const;
    // One pattern or several separated by ";" ("*.gpx;*.xml"); reads the folder again.
    void setPattern(const QString& pattern);
    // The chosen name, without its folder; empty while none is chosen.
    QString FileName() const;
    void refresh();

    // Whether a file name matches a pattern as the list matches it.
    static bool matches(const QString& fileName, const QString& pattern);

signals:
    void Click();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void reread(const QString& keepName);

    QString m_path;
    QString m_pattern = QStringLiteral("*");
};
