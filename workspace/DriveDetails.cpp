#include "workspace/DriveDetails.h"

#include <mutex>
#include <system_error>
#include <thread>

// Where a drive's thread leaves its answer: with the DriveDetails while it exists, nowhere once
// it has gone.
struct DriveDetails::Mailbox {
    std::mutex mutex;
    DriveDetails* owner = nullptr;
};

DriveDetails::DriveDetails(Describe describe, QObject* parent)
    : QObject(parent)
    , m_describe(std::move(describe))
    , m_mailbox(std::make_shared<Mailbox>()) {
    m_mailbox->owner = this;
}

DriveDetails::~DriveDetails() {
    const std::lock_guard lock(m_mailbox->mutex);
    m_mailbox->owner = nullptr;
}

void DriveDetails::request(const QString& rootPath) {
    if (m_waiting.contains(rootPath))
        return;
    m_waiting.insert(rootPath);
    // The thread is detached, not joined: a drive that never answers must not hold up the
    // program's end either.
    auto ask = [mailbox = m_mailbox, describe = m_describe, rootPath] {
        const Volume volume = describe(rootPath);
        const std::lock_guard lock(mailbox->mutex);
        if (DriveDetails* owner = mailbox->owner) {
            // Queued to the owner: the call is dropped if the owner goes before it is made.
            QMetaObject::invokeMethod(
                owner, [owner, rootPath, volume] { owner->deliver(rootPath, volume); },
                Qt::QueuedConnection);
        }
    };
    try {
        std::thread(std::move(ask)).detach();
    } catch (const std::system_error&) {
        // No thread to be had: the drive is asked here and now, as it was before threads.
        m_waiting.remove(rootPath);
        emit described(m_describe(rootPath));
    }
}

void DriveDetails::deliver(const QString& rootPath, const Volume& volume) {
    m_waiting.remove(rootPath);
    emit described(volume);
}
