#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QWidget;

// Lets the user drop a GPX file on a window: a drag that carries a local file whose name
// ends in ".gpx" (in any case) is accepted, and its drop hands the file's path on.
class FileDrop : public QObject {
    Q_OBJECT
public:
    FileDrop(QWidget* target, std::function<void(const QString&)> dropped);

    // The first GPX file among the dragged URLs, or empty.
    static QString gpxFileIn(const QList<class QUrl>& urls);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void(const QString&)> m_dropped;
};
