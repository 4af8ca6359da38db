#include "app/DirListBox.h"

#include "workspace/NameOrder.h"
#include "workspace/Volumes.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QStyle>
#include <QStyledItemDelegate>

namespace {

constexpr int pathRole = Qt::UserRole;
constexpr int levelRole = Qt::UserRole + 1;

// Indents each line by its depth below the volume's root, so that the list reads as the
// branch of the folder tree that leads to the current folder.
class IndentDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem indented(option);
        indented.rect.setLeft(option.rect.left() + indent(option, index));
        QStyledItemDelegate::paint(painter, indented, index);
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        size.rwidth() += indent(option, index);
        return size;
    }

private:
    static int indent(const QStyleOptionViewItem& option, const QModelIndex& index) {
        return index.data(levelRole).toInt() * option.fontMetrics.averageCharWidth() * 2;
    }
};

} // namespace

DirListBox::DirListBox(QWidget* parent)
    : QListWidget(parent) {
    setItemDelegate(new IndentDelegate(this));
    connect(this, &QAbstractItemView::activated, this, &DirListBox::open);
}

QString DirListBox::Path() const {
    return m_path;
}

void DirListBox::setPath(const QString& path) {
    if (path.isEmpty())
        return;
    const QString folder = QDir::cleanPath(QDir(path).absolutePath());
    const bool changed = folder != m_path;
    if (changed) {
        m_path = folder;
        // Mount points are read again for each new folder: a unit plugged in since shows
        // from its own root.
        m_root = volumeOf(m_path, mountedRoots()).rootPath;
        if (m_root.isEmpty())
            m_root = QDir::rootPath();
    }
    rebuild();
    if (changed)
        emit Change();
}

QStringList DirListBox::subFolders() const {
    return m_subFolders;
}

void DirListBox::rebuild() {
    // The branch from the root: "/", "home", "anna", "GPX" for /home/anna/GPX.
    QStringList branch{m_path};
    const QString root = QDir::cleanPath(m_root);
    while (branch.first().size() > root.size()) {
        const QString parent = QFileInfo(branch.first()).path();
        if (parent == branch.first())
            break;
        branch.prepend(parent);
    }

    // A folder that can't be read (or no longer exists) lists no sub-folders; its branch
    // still shows, so that the user can go back up.
    QStringList names;
    QDirIterator it(m_path, QDir::Dirs | QDir::NoDotAndDotDot);
    while (it.hasNext()) {
        it.next();
        names.append(it.fileName());
    }
    NameOrder::sortNames(names);

    const QDir current(m_path);
    m_subFolders.clear();
    m_subFolders.reserve(names.size());
    for (const QString& name : std::as_const(names))
        m_subFolders.append(current.filePath(name));

    setUpdatesEnabled(false);
    clear();
    const QIcon openIcon = style()->standardIcon(QStyle::SP_DirOpenIcon);
    const QIcon closedIcon = style()->standardIcon(QStyle::SP_DirClosedIcon);
    for (qsizetype level = 0; level < branch.size(); ++level) {
        const QString& folder = branch[level];
        const QString text =
            level == 0 ? QDir::toNativeSeparators(folder) : QFileInfo(folder).fileName();
        auto* item = new QListWidgetItem(openIcon, text, this);
        item->setData(pathRole, folder);
        item->setData(levelRole, int(level));
    }
    QListWidgetItem* currentItem = item(int(branch.size()) - 1);
    const int subLevel = int(branch.size());
    for (qsizetype i = 0; i < names.size(); ++i) {
        auto* item = new QListWidgetItem(closedIcon, names[i], this);
        item->setData(pathRole, m_subFolders[i]);
        item->setData(levelRole, subLevel);
    }
    setCurrentItem(currentItem);
    setUpdatesEnabled(true);
    scrollToItem(currentItem);
}

void DirListBox::open(const QModelIndex& index) {
    const QString folder = index.data(pathRole).toString();
    if (!folder.isEmpty())
        setPath(folder);
}
