#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "remote/DownloadJournal.h"

namespace fakes {

/// Waits for what a journal records. Takes the place of the journal's listener for its own length. One thread.
class JournalWatch {
public:
    explicit JournalWatch(std::shared_ptr<DownloadJournal> journal) : journal_(std::move(journal)) {
        journal_->setListener([state = state_] {
            const std::lock_guard<std::mutex> lock(state->mutex);
            ++state->changes;
            state->changed.notify_all();
        });
    }
    ~JournalWatch() { journal_->setListener({}); }

    JournalWatch(const JournalWatch&) = delete;
    JournalWatch& operator=(const JournalWatch&) = delete;

    /// Waits until nothing is under way. @param step runs after each change, before the look at the journal.
    void waitUntilSettled(const std::function<void()>& step = [] {}) {
        for (;;) {
            const std::uint64_t seen = changes();
            step();
            if (journal_->snapshot().settled) {
                return;
            }
            std::unique_lock<std::mutex> lock(state_->mutex);
            state_->changed.wait(lock, [&] { return state_->changes != seen; });
        }
    }

private:
    /// The journal may call its listener a little longer than this object lives.
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        std::uint64_t changes = 0;
    };

    std::uint64_t changes() const {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        return state_->changes;
    }

    const std::shared_ptr<DownloadJournal> journal_;
    const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace fakes
