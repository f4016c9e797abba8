#include "tessel/LockRank.h"

#ifdef TESSEL_CHECKS_LOCK_ORDER

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace tessel {

namespace {

struct HeldLock {
    const LockOrder* lock;
    LockRank rank;
    unsigned times;
};

/// What the calling thread holds. Without a destructor: locks are taken in those of a thread's other objects.
struct HeldLocks {
    std::array<HeldLock, 32> locks;
    std::size_t count;

    HeldLock* begin() { return locks.data(); }
    HeldLock* end() { return locks.data() + count; }
    HeldLock* find(const LockOrder* lock) {
        return std::find_if(begin(), end(), [lock](const HeldLock& held) { return held.lock == lock; });
    }
};

thread_local HeldLocks heldLocks{};

[[noreturn]] void stop(const char* what, const LockRank& taken, const LockRank& held) {
    std::fprintf(stderr, "lock order: %s (%d) is %s while %s (%d) is held\n", taken.name, taken.place, what, held.name,
                 held.place);
    std::abort();
}

}  // namespace

void LockOrder::check(bool reentrant) const {
    const HeldLock* const held = heldLocks.find(this);
    if (held != heldLocks.end()) {
        if (reentrant) {
            return;
        }
        stop("taken again", rank_, held->rank);
    }
    for (const HeldLock& other : heldLocks) {
        if (other.rank.place >= rank_.place) {
            stop("taken", rank_, other.rank);
        }
    }
}

void LockOrder::taken() const {
    HeldLock* const held = heldLocks.find(this);
    if (held != heldLocks.end()) {
        ++held->times;
        return;
    }
    if (heldLocks.count == heldLocks.locks.size()) {
        stop("one lock too many", rank_, heldLocks.locks.back().rank);
    }
    heldLocks.locks[heldLocks.count++] = {this, rank_, 1};
}

void LockOrder::released() const {
    HeldLock* const held = heldLocks.find(this);
    if (held == heldLocks.end()) {
        stop("given back by another thread", rank_, rank_);
    }
    if (--held->times == 0) {
        *held = heldLocks.locks[--heldLocks.count];
    }
}

}  // namespace tessel

#endif
