#include "app/FileListBox.h"

#include "workspace/NameOrder.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QKeyEvent>
#include <QRegularExpression>

#include <algorithm>

namespace {

// Names on a unit's FAT volume come in any case, so "*.gpx" matches "CURRENT.GPX".
QList<QRegularExpression> compilePattern(const QString& pattern) {
    QList<QRegularExpression> expressions;
    for (const QString& part : pattern.split(QLatin1Char(';'))) {
        const QString trimmed = part.trimmed();
        if (!trimmed.isEmpty())
            expressions.append(
                QRegularExpression(QRegularExpression::wildcardToRegularExpression(trimmed),
                                   QRegularExpression::CaseInsensitiveOption));
    }
    if (expressions.isEmpty())
        expressions.append(QRegularExpression(QStringLiteral(".*")));
    return expressions;
}

bool matchesAny(const QString& fileName, const QList<QRegularExpression>& expressions) {
    return std::any_of(expressions.begin(), expressions.end(),
                       [&](const QRegularExpression& re) { return re.match(fileName).hasMatch(); });
}

} // namespace

FileListBox::FileListBox(QWidget* parent)
    : QListWidget(parent) {
    connect(this, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        setCurrentItem(item);
        emit Click();
    });
}

QString FileListBox::Path() const {
    return m_path;
}

void FileListBox::setPath(const QString& path) {
    const QString folder = path.isEmpty() ? QString() : QDir::cleanPath(QDir(path).absolutePath());
    const bool same = folder == m_path;
    m_path = folder;
    reread(same ? FileName() : QString());
}

QString FileListBox::Pattern() const {
    return m_pattern;
}

void FileListBox::setPattern(const QString& pattern) {
    m_pattern = pattern;
    reread(FileName());
}

QString FileListBox::FileName() const {
    const QList<QListWidgetItem*> selected = selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->text();
}

void FileListBox::refresh() {
    reread(FileName());
}

bool FileListBox::matches(const QString& fileName, const QString& pattern) {
    return matchesAny(fileName, compilePattern(pattern));
}

void FileListBox::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (QListWidgetItem* item = currentItem()) {
            setCurrentItem(item);
            item->setSelected(true);
            emit Click();
            event->accept();
            return;
        }
        break;
    default:
        break;
    }
    QListWidget::keyPressEvent(event);
}

void FileListBox::reread(const QString& keepName) {
    QStringList names;
    if (!m_path.isEmpty()) {
        // Only regular files: a name that matches could be a FIFO, a socket, a device, or a
        // link to one (CURRENT.GPX -> /dev/zero), and reading such a thing as a GPX file
        // would block or never end. Without QDir::System the iterator leaves these out, and
        // isFile() (which follows links) checks each name that is left.
        const QList<QRegularExpression> expressions = compilePattern(m_pattern);
        QDirIterator it(m_path, QDir::Files | QDir::NoDotAndDotDot);
        while (it.hasNext()) {
            it.next();
            if (!matchesAny(it.fileName(), expressions))
                continue;
            const QFileInfo info = it.fileInfo();
            if (info.isFile() && !info.isHidden())
                names.append(info.fileName());
        }
    }
    NameOrder::sortNames(names);

    setUpdatesEnabled(false);
    clear();
    addItems(names);
    if (!keepName.isEmpty()) {
        const qsizetype row = names.indexOf(keepName);
        if (row >= 0)
            setCurrentRow(int(row));
    }
    if (FileName().isEmpty())
        setCurrentItem(nullptr);
    setUpdatesEnabled(true);
}
