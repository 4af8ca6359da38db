#include "app/FileDrop.h"

#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>
#include <QWidget>

FileDrop::FileDrop(QWidget* target, std::function<void(const QString&)> dropped)
    : QObject(target)
    , m_dropped(std::move(dropped)) {
    target->setAcceptDrops(true);
    target->installEventFilter(this);
}

QString FileDrop::gpxFileIn(const QList<QUrl>& urls) {
    for (const QUrl& url : urls) {
        const QFileInfo file(url.toLocalFile());
        if (url.isLocalFile() &&
            file.suffix().compare(QLatin1String("gpx"), Qt::CaseInsensitive) == 0)
            return file.absoluteFilePath();
    }
    return QString();
}

bool FileDrop::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove) {
        auto* drag = static_cast<QDragMoveEvent*>(event);
        if (!gpxFileIn(drag->mimeData()->urls()).isEmpty()) {
            drag->acceptProposedAction();
            return true;
        }
    } else if (event->type() == QEvent::Drop) {
        auto* drop = static_cast<QDropEvent*>(event);
        const QString path = gpxFileIn(drop->mimeData()->urls());
        if (!path.isEmpty()) {
            drop->acceptProposedAction();
            m_dropped(path);
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}
