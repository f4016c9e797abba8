#pragma once

#include <limits>

namespace tessel {

/// A lock's place in the order in which one thread may take locks: a thread that may have to wait for a lock holds none
/// of the same or a greater place, but for that very lock. Threads that keep to that never wait for one another in a
/// circle.
struct LockRank {
    int place;         ///< the smaller one is taken first
    const char* name;  ///< of the lock, for the line that tells of a mistake; outlives the lock
};

/// The last place, and what a lock has that is given no other: it is held for a copy, and across no call that takes a
/// lock with a place in the order.
inline constexpr LockRank LEAF_LOCK{std::numeric_limits<int>::max(), "a leaf lock"};

#ifdef TESSEL_CHECKS_LOCK_ORDER

/// What each thread holds, kept by each lock of itself: a lock that is taken against the order ends the process, with a
/// line that names it and the one that is held. Only in builds for development and those with sanitizers.
class LockOrder {
public:
    explicit LockOrder(LockRank rank) : rank_(rank) {}

    /// Before the calling thread may have to wait for the lock.
    /// @param reentrant true: a lock that the thread holds already may be taken again.
    void check(bool reentrant) const;

    /// The calling thread has it now. A lock that was had without a wait may stand against the order.
    void taken() const;

    /// The calling thread has given it back once.
    void released() const;

private:
    const LockRank rank_;
};

#else

/// Keeps nothing and checks nothing: users' builds are not held to the order.
class LockOrder {
public:
    explicit LockOrder(LockRank) {}  ///< nothing
    void check(bool) const {}        ///< nothing
    void taken() const {}            ///< nothing
    void released() const {}         ///< nothing
};

#endif

}  // namespace tessel
