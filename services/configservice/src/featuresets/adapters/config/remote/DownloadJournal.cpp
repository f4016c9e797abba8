#include "remote/DownloadJournal.h"

#include <algorithm>
#include <utility>

#include "tessel/Mutex.h"

struct DownloadJournal::State {
    /// A query or a transfer that has not ended.
    struct Open {
        std::uint64_t number;
        std::uint64_t cycle;  ///< counted from 1 over the journal's life
        std::size_t index;
    };

    mutable tessel::Mutex mutex;
    std::deque<Cycle> cycles;
    std::uint64_t cyclesEver = 0;
    std::uint64_t numbersEver = 0;
    std::vector<Open> openQueries;
    std::vector<Open> openAttempts;
    std::size_t work = 0;
    std::function<void()> listener;

    /// Changes the state and tells the listener, which may look at the journal.
    template <typename Change>
    void change(const Change& change) {
        std::function<void()> told;
        {
            const tessel::ScopedLock lock(mutex);
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

    static void end(Cycle& cycle, CycleEnd how) {
        cycle.end = how;
        cycle.ended = Clock::now();
    }

    /// Adds an item to one of the lists of the newest cycle, if there is one. @return its number.
    template <typename Item>
    std::uint64_t add(std::vector<Open>& open, std::vector<Item> Cycle::*list, Item item) {
        ++numbersEver;
        if (Cycle* const cycle = newest()) {
            open.push_back({numbersEver, cyclesEver, (cycle->*list).size()});
            (cycle->*list).push_back(std::move(item));
        }
        return numbersEver;
    }

    /// Closes an item. @return it, or null if it has fallen out of the record or was never in it.
    template <typename Item>
    Item* close(std::vector<Open>& open, std::vector<Item> Cycle::*list, std::uint64_t number) {
        const auto found = std::find_if(open.begin(), open.end(),
                                        [number](const Open& candidate) { return candidate.number == number; });
        if (found == open.end()) {
            return nullptr;
        }
        Cycle* const cycle = find(found->cycle);
        Item* const item = cycle == nullptr ? nullptr : &(cycle->*list)[found->index];
        open.erase(found);
        return item;
    }
};

DownloadJournal::DownloadJournal() : state_(std::make_shared<State>()) {}

DownloadJournal::Snapshot DownloadJournal::snapshot() const {
    const tessel::ScopedLock lock(state_->mutex);
    return {state_->cycles, state_->cyclesEver, state_->work == 0};
}

void DownloadJournal::setListener(std::function<void()> listener) {
    const tessel::ScopedLock lock(state_->mutex);
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

std::uint64_t DownloadJournal::beginVersionQuery(const std::string& address) {
    std::uint64_t number = 0;
    state_->change([&](State& state) {
        number = state.add(state.openQueries, &Cycle::versionQueries, VersionQuery{address, false, {}});
    });
    return number;
}

void DownloadJournal::endVersionQuery(std::uint64_t query, const std::string& version) {
    state_->change([&](State& state) {
        if (VersionQuery* const ended = state.close(state.openQueries, &Cycle::versionQueries, query)) {
            ended->answered = true;
            ended->version = version;
        }
    });
}

std::uint64_t DownloadJournal::beginAttempt(Attempt attempt) {
    std::uint64_t number = 0;
    state_->change([&](State& state) {
        if (Cycle* const cycle = state.newest()) {
            cycle->end = CycleEnd::Running;
        }
        number = state.add(state.openAttempts, &Cycle::attempts, std::move(attempt));
    });
    return number;
}

void DownloadJournal::endAttempt(std::uint64_t attempt, AttemptEnd end, Result result) {
    state_->change([&](State& state) {
        if (Attempt* const ended = state.close(state.openAttempts, &Cycle::attempts, attempt)) {
            ended->end = end;
            ended->result = result;
        }
    });
}

void DownloadJournal::endCycle(CycleEnd end, std::size_t keys) {
    state_->change([=](State& state) {
        if (Cycle* const cycle = state.newest()) {
            state.end(*cycle, end);
            cycle->keys = keys;
        }
    });
}
