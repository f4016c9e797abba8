#include "DownloadWatch.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

namespace integration {

struct DownloadWatch::Changes {
    std::mutex mutex;
    std::condition_variable changed;
    std::uint64_t count = 0;

    void add() {
        const std::lock_guard<std::mutex> lock(mutex);
        ++count;
        changed.notify_all();
    }
};

DownloadWatch::DownloadWatch(std::shared_ptr<DownloadJournal> journal)
    : journal_(std::move(journal)), changes_(std::make_shared<Changes>()) {
    // A call of the listener's may still be under way when it has been taken away.
    journal_->setListener([changes = changes_] { changes->add(); });
}

DownloadWatch::~DownloadWatch() { journal_->setListener({}); }

DownloadJournal::Snapshot DownloadWatch::waitUntil(const std::function<bool(const Snapshot&)>& condition) const {
    std::unique_lock<std::mutex> lock(changes_->mutex);
    for (;;) {
        const std::uint64_t seen = changes_->count;
        lock.unlock();
        Snapshot snapshot = journal_->snapshot();
        if (condition(snapshot)) {
            return snapshot;
        }
        lock.lock();
        changes_->changed.wait(lock, [&] { return changes_->count != seen; });
    }
}

DownloadJournal::Snapshot DownloadWatch::waitUntilSettled() const {
    return waitUntil([](const Snapshot& snapshot) { return snapshot.settled; });
}

}  // namespace integration
