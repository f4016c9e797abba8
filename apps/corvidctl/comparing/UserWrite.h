#pragma once

#include <string>
#include <vector>

#include "cli/Invocation.h"
#include "output/Format.h"
#include "output/MachineText.h"
#include "output/Output.h"
#include "reading/Views.h"
#include "session/Session.h"

/// Storing and erasing a user's value, and the whole truth of what came of it.
namespace corvidctl {

/// What a user's write came to, or would come to. Texts are masked where they must be.
struct UserWriteView {
    ValueView before;
    ValueView after;

    bool isErasure = false;
    bool isTaken = true;                   ///< a store took the value
    bool isUnderOldName = false;           ///< the name that was given is an old one of the key
    std::string storedIn;                  ///< the store that took it; empty if none did
    std::vector<std::string> removedFrom;  ///< the stores that held the key; empty for a value

    /// Of a value: the key reads as it now, and at the next start. Of an erasure: the key reads otherwise than before.
    bool isEffective = false;
    bool readsAsGiven = false;        ///< the chain's answer is the value that was stored
    std::string erasedBy;             ///< the policy that takes the value away at the next start, and who says so
    std::vector<std::string> erases;  ///< the user's keys that go at the next start because of the value, a policy

    std::string onDiskKey;    ///< as XML holds it
    std::string onDiskValue;  ///< as XML holds it, in clear
    bool isKeyWhole = true;   ///< the two are what was asked for
    bool isValueWhole = true;

    bool isPersisted = false;
    std::string whyNotPersisted;  ///< in the system's words; empty if that is not known
    std::string file;             ///< where it is kept; empty if the store has no file

    std::string brokenFile;  ///< why the user's file could not be read and was set aside; empty if it could
    bool dryRun = false;
};

/// Stores a value. Dispatcher thread. Nothing is said of the disk yet.
UserWriteView storeUserValue(Session::Inside& inside, const std::string& key, const std::string& value);

/// Erases a key from the writable stores. Dispatcher thread. Nothing is said of the disk yet.
UserWriteView eraseUserValue(Session::Inside& inside, const std::string& key);

/// Says where the write is kept, and why not, if it is not. @param isPersisted what the session says of its writes.
void noteDisk(bool isPersisted, const std::string& configDirectory, UserWriteView& view);

/// Stores invocation.arguments[1] under invocation.arguments[0].
UserWriteView storeUserValue(const Invocation& invocation);

/// Erases invocation.arguments[0] from the writable stores.
UserWriteView eraseUserValue(const Invocation& invocation);

/// The same on a throw-away copy of the configuration, which is gone when this returns. What it says of the disk is
/// that of the configuration itself. Makes a Rehearsal, so to be called before any session.
/// @throws std::runtime_error with one line if a copy cannot be made, or the interruption comes.
UserWriteView rehearse(UserWriteView (*write)(const Invocation&), const Invocation& invocation, Output& output);

namespace answers {

/// The value object afterwards, with what came of the write.
Json userWriteObject(const UserWriteView& view);
std::string userWrite(const UserWriteView& view, Format format);

}  // namespace answers

}  // namespace corvidctl
