#include "EdgeWatch.h"

#include <algorithm>
#include <utility>

#include "DisconnectProperty.h"

EdgeWatch::Wait EdgeWatch::begin() {
    Connections former;
    Wait begun = NO_WAIT;
    {
        const tessel::ScopedLock lock(mutex_);
        former = std::exchange(connections_, {});
        begun = wait_ = ++lastWait_;
    }
    endAll(former);
    return begun;
}

EdgeWatch::Wait EdgeWatch::current() const {
    const tessel::ScopedLock lock(mutex_);
    return wait_;
}

void EdgeWatch::end() { end(current()); }

void EdgeWatch::end(Wait wait) {
    Connections ended;
    {
        const tessel::ScopedLock lock(mutex_);
        if (wait != wait_) {
            return;
        }
        ended = std::exchange(connections_, {});
        wait_ = NO_WAIT;
    }
    endAll(ended);
}

void EdgeWatch::endAll(const Connections& connections) {
    disconnectProperty(connections.list);
    disconnectProperty(connections.status[SOFTPHONE]);
    disconnectProperty(connections.status[SECOND_TELEPHONY]);
}

bool EdgeWatch::answer(Wait wait) {
    const tessel::ScopedLock lock(mutex_);
    if (wait != NO_WAIT && wait <= answeredWait_) {
        return false;
    }
    answeredWait_ = std::max(answeredWait_, wait);
    return true;
}

void EdgeWatch::putEntry(Wait wait, Telephony which, Entry entry) {
    const tessel::ScopedLock lock(mutex_);
    if (wait == wait_) {
        // The former entry goes with the argument, after the lock.
        entries_[which].swap(entry);
    }
}

bool EdgeWatch::putMissingEntry(Wait wait, Telephony which, Entry entry) {
    const tessel::ScopedLock lock(mutex_);
    if (wait != wait_ || wait == NO_WAIT || entries_[which] != nullptr) {
        return false;
    }
    entries_[which] = std::move(entry);
    return true;
}

EdgeWatch::Entry EdgeWatch::entry(Telephony which) const {
    const tessel::ScopedLock lock(mutex_);
    return entries_[which];
}

bool EdgeWatch::hasBothEntries() const {
    const tessel::ScopedLock lock(mutex_);
    return entries_[SOFTPHONE] != nullptr && entries_[SECOND_TELEPHONY] != nullptr;
}

void EdgeWatch::clearEntries() {
    Entries cleared;
    const tessel::ScopedLock lock(mutex_);
    entries_.swap(cleared);
}

void EdgeWatch::exchange(Wait wait, Connection& kept, Connection& connection) {
    if (wait == wait_ && wait != NO_WAIT) {
        kept.swap(connection);
    }
}

void EdgeWatch::keepListConnection(Wait wait, Connection connection) {
    {
        const tessel::ScopedLock lock(mutex_);
        exchange(wait, connections_.list, connection);
    }
    disconnectProperty(connection);
}

void EdgeWatch::keepStatusConnection(Wait wait, Telephony which, Connection connection) {
    {
        const tessel::ScopedLock lock(mutex_);
        exchange(wait, connections_.status[which], connection);
    }
    disconnectProperty(connection);
}

void EdgeWatch::endListConnection(Wait wait) { keepListConnection(wait, {}); }
