#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <random>

#include "StoreTestSupport.h"
#include "support/ForkedChild.h"

/// Full disks and sudden ends, for the tests of what is written.
namespace storetests {

/// Lets no file of this process grow beyond a size, as on a full disk, without a signal.
class ScopedFileSizeLimit {
public:
    explicit ScopedFileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit limit{bytes, old_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~ScopedFileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }

    ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
    ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;

private:
    void (*handler_)(int);
    rlimit old_{};
};

/// Persists the values of one round.
using PersistRound = std::function<void(int round)>;

/// Persists round after round and acknowledges each one, until it is killed.
inline int persistForEver(const PersistRound& persist, int acknowledgements) {
    for (int round = 0;; ++round) {
        persist(round);
        if (::write(acknowledgements, &round, sizeof round) != sizeof round) {
            return 1;
        }
    }
}

/// Lets a child persist the given number of rounds and kills it. @return the last acknowledged round.
inline int persistAndKill(const PersistRound& persist, int rounds, std::mt19937& random) {
    support::ForkedChild child([&](int channel) { return persistForEver(persist, channel); });
    int acknowledged = -1;
    while (acknowledged + 1 < rounds && ::read(child.channel(), &acknowledged, sizeof acknowledged) > 0) {
    }
    // Work of random length lets the kill fall at different places of the next write.
    random.discard(std::uniform_int_distribution(0u, 200000u)(random));
    child.end();
    for (int late = 0; ::read(child.channel(), &late, sizeof late) == sizeof late;) {
        acknowledged = late;
    }
    return acknowledged;
}

constexpr int keysPerState = 40;

/// One state: every key holds the round's number, and a text whose length depends on it.
inline void storeState(ConfigStore& store, int round) {
    for (int number = 0; number < keysPerState; ++number) {
        store.storeValue(L"key" + std::to_wstring(number), std::to_wstring(round));
    }
    store.storeValue(L"padding", std::wstring(static_cast<std::size_t>(round % 7) * 3000, L'p'));
}

/// The round of a store that holds one whole state; -1 for any other.
inline int roundOf(ConfigStore& store) {
    const std::wstring first = valueOf(store, L"key0");
    for (int number = 0; number < keysPerState; ++number) {
        if (valueOf(store, L"key" + std::to_wstring(number)) != first) {
            return -1;
        }
    }
    const int round = std::stoi(first);
    const bool padded = valueOf(store, L"padding").size() == static_cast<std::size_t>(round % 7) * 3000;
    return padded ? round : -1;
}

}  // namespace storetests
