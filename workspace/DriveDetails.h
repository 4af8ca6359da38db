#pragma once

#include "workspace/Volumes.h"

#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>

// Reads what each drive holds (its label, a Garmin unit on it) on a thread of the drive's own,
// so that a drive that does not answer for seconds (a network drive that was disconnected, a
// DVD spinning up) holds up neither the window nor the other drives. The answers arrive on
// the thread this object lives on.
class DriveDetails : public QObject {
    Q_OBJECT
public:
    using Describe = std::function<Volume(const QString& rootPath)>;

    explicit DriveDetails(Describe describe = describeVolume, QObject* parent = nullptr);
    // A drive that has still not answered is left to its thread, whose answer goes nowhere.
    ~DriveDetails() override;
    DriveDetails(const DriveDetails&) = delete;
    DriveDetails& operator=(const DriveDetails&) = delete;

    // Asks the drive at rootPath for its details, unless it has yet to answer the last time it
    // was asked.
    void request(const QString& rootPath);
    // Whether the drive has yet to answer.
    bool waitingFor(const QString& rootPath) const { return m_waiting.contains(rootPath); }

signals:
    void described(const Volume& volume);

private:
    struct Mailbox;
    void deliver(const QString& rootPath, const Volume& volume);

    Describe m_describe;
    std::shared_ptr<Mailbox> m_mailbox;
    QSet<QString> m_waiting;
};
