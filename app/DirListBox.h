#pragma once

#include <QListWidget>
#include <QString>
#include <QStringList>

// The folder list: the path from the volume's root down to the current folder, one indented
// line per folder under an open folder icon, then the current folder's sub-folders under
// closed ones. Opening a line (double click or Enter) makes that folder the current one.
class DirListBox : public QListWidget {
    Q_OBJECT
public:
    explicit DirListBox(QWidget* parent = nullptr);

    QString Path() const;
    // Makes the folder the current one and lists it again. Emits Change() before it returns
    // when the folder is another one than before.
    void setPath(const QString& path);
    // The current folder's sub-folders as full paths, in the order the list shows them.
    QStringList subFolders() const;

signals:
    void Change();

private:
    void rebuild();
    void open(const QModelIndex& index);

    QString m_path;
    QString m_root;
    QStringList m_subFolders;
};
