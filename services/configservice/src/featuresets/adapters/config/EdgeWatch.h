#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "contracts/PropertyNotifierConnection.h"
#include "system/ServerHealthInformation.h"
#include "tessel/Mutex.h"

/// What a wait for telephony in edge mode holds: the two telephony entries of the host's list of server health, and the
/// connections to their notifiers and to the list's.
///
/// A wait may end on one thread while another one is at it. So every change names its wait: what comes for one that has
/// ended changes nothing, and a connection that was made for it is ended at once.
///
/// Any thread. The lock is a leaf: connections end, and references are dropped, outside it.
class EdgeWatch {
public:
    using Connection = std::weak_ptr<PropertyNotifierConnection>;
    using Entry = std::shared_ptr<ServerHealthInformation>;

    enum Telephony : std::size_t { SOFTPHONE, SECOND_TELEPHONY };
    using Entries = std::array<Entry, 2>;  ///< one of each; null where there is none

    /// Tells one wait from the others.
    using Wait = std::uint64_t;

    /// Ends a wait that is under way, and begins another one. The entries stay.
    Wait begin();

    /// The wait that is under way; NO_WAIT if there is none.
    Wait current() const;
    static constexpr Wait NO_WAIT = 0;

    /// Ends the wait and its connections: that of the list, of the softphone, of the second telephony entry, in this
    /// order. The entries stay.
    void end();

    /// The same, unless another wait has begun meanwhile.
    void end(Wait wait);

    /// Notes that telephony has connected. @return whether it is the first time in this wait, be it under way or not;
    /// without a wait always.
    bool answer(Wait wait);

    void putEntry(Wait wait, Telephony which, Entry entry);

    /// @return whether the entry was missing, and is there now.
    bool putMissingEntry(Wait wait, Telephony which, Entry entry);

    /// Null if there is none.
    Entry entry(Telephony which) const;
    bool hasBothEntries() const;
    void clearEntries();

    // A connection that is replaced ends.

    void keepListConnection(Wait wait, Connection connection);
    void keepStatusConnection(Wait wait, Telephony which, Connection connection);

    void endListConnection(Wait wait);

private:
    struct Connections {
        Connection list;
        std::array<Connection, 2> status;
    };

    /// Leaves in the argument what has to end: the one that was there before, or, if the wait has ended, itself.
    void exchange(Wait wait, Connection& kept, Connection& connection) TESSEL_REQUIRES(mutex_);

    static void endAll(const Connections& connections);

    mutable tessel::Mutex mutex_;
    Wait lastWait_ TESSEL_GUARDED_BY(mutex_) = NO_WAIT;
    Wait wait_ TESSEL_GUARDED_BY(mutex_) = NO_WAIT;
    Wait answeredWait_ TESSEL_GUARDED_BY(mutex_) = NO_WAIT;  ///< the last one
    Connections connections_ TESSEL_GUARDED_BY(mutex_);
    Entries entries_ TESSEL_GUARDED_BY(mutex_);
};
