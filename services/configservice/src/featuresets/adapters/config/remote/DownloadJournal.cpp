#include "remote/DownloadJournal.h"

#include <algorithm>
#include <utility>

struct DownloadJournal::State {
    struct NumberedAttempt {
        std::uint64_t number;
        std::uint64_t cycle;  ///< counted from 1 over the journal's life
        std::size_t index;
    };

    mutable std::mutex mutex;
    std::deque<Cycle> cycles;
    std::uint64_t cyclesEver = 0;
    std::uint64_t attemptsEver = 0;
    std::vector<NumberedAttempt> runningAttempts;
    std::size_t work = 0;
    std::function<void()> listener;

    /// Changes the state and tells the listener, which may look at the journal.
    template <typename Change>
    void change(const Change& change) {
        std::function<void()> told;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            change(*this);
            told = listener;
        }
        if (told) {
            told();
        }
    }

    Cycle* newest() { return cycles.empty() ? nullptr : &cycles.back(); }

    Cycle* find(std::uint64_t cycle) {
        const std::uint64_t oldest = cyclesEver - cycles.size() + 1;
        return cycle < oldest || cycle > cyclesEver ? nullptr : &cycles[static_cast<std::size_t>(cycle - oldest)];
    }

    void end(Cycle& cycle, CycleEnd how) {
        cycle.end = how;
        cycle.ended = Clock::now();
    }
};

DownloadJournal::DownloadJournal() : state_(std::make_shared<State>()) {}

DownloadJournal::Snapshot DownloadJournal::snapshot() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return {state_->cycles, state_->cyclesEver, state_->work == 0};
}

void DownloadJournal::setListener(std::function<void()> listener) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    std::swap(state_->listener, listener);
}

DownloadJournal::Work DownloadJournal::beginWork() {
    state_->change([](State& state) { ++state.work; });
    // Whoever holds the work decides when it ends: a task that is dropped without a run ends it, too.
    return {nullptr, [state = state_](void*) { state->change([](State& changed) { --changed.work; }); }};
}

void DownloadJournal::beginCycle(bool forced) {
    state_->change([forced](State& state) {
        Cycle* const running = state.newest();
        if (running != nullptr && running->end == CycleEnd::Running) {
            state.end(*running, CycleEnd::Superseded);
        }
        Cycle cycle;
        cycle.began = Clock::now();
        cycle.forced = forced;
        state.cycles.push_back(std::move(cycle));
        ++state.cyclesEver;
        if (state.cycles.size() > MAX_CYCLES) {
            state.cycles.pop_front();
        }
    });
}

void DownloadJournal::beginVersionQuery(const std::string& address) {
    state_->change([&address](State& state) {
        if (Cycle* const cycle = state.newest()) {
            cycle->versionQueries.push_back({address, false, {}});
        }
    });
}

void DownloadJournal::endVersionQuery(const std::string& version) {
    state_->change([&version](State& state) {
        Cycle* const cycle = state.newest();
        if (cycle != nullptr && !cycle->versionQueries.empty()) {
            cycle->versionQueries.back().answered = true;
            cycle->versionQueries.back().version = version;
        }
    });
}

std::uint64_t DownloadJournal::beginAttempt(Attempt attempt) {
    std::uint64_t number = 0;
    state_->change([&](State& state) {
        number = ++state.attemptsEver;
        Cycle* const cycle = state.newest();
        if (cycle != nullptr) {
            state.runningAttempts.push_back({number, state.cyclesEver, cycle->attempts.size()});
            cycle->attempts.push_back(std::move(attempt));
        }
    });
    return number;
}

void DownloadJournal::endAttempt(std::uint64_t attempt, AttemptEnd end, Result result) {
    state_->change([=](State& state) {
        const auto found = std::find_if(state.runningAttempts.begin(), state.runningAttempts.end(),
                                        [attempt](const auto& running) { return running.number == attempt; });
        if (found == state.runningAttempts.end()) {
            return;
        }
        if (Cycle* const cycle = state.find(found->cycle)) {
            cycle->attempts[found->index].end = end;
            cycle->attempts[found->index].result = result;
        }
        state.runningAttempts.erase(found);
    });
}

void DownloadJournal::endCycle(CycleEnd end, std::size_t keys) {
    state_->change([=](State& state) {
        Cycle* const cycle = state.newest();
        if (cycle != nullptr && cycle->end == CycleEnd::Running) {
            state.end(*cycle, end);
            cycle->keys = keys;
        }
    });
}
