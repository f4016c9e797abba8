#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "comparing/UserWrite.h"
#include "inspecting/RunningClient.h"

namespace corvidctl {

/// Stores and erases the user's values of a client that runs, one after the other. Each is a batch of its own, with its
/// cause. Any thread but the dispatcher's.
class UserWrites {
public:
    /// @param client must outlive this.
    explicit UserWrites(RunningClient& client) : client_(client) {}

    /// Returns when the value is on disk, or is known not to be; so does erase().
    UserWriteView store(const std::string& key, const std::string& value);
    UserWriteView erase(const std::string& key);

private:
    UserWriteView write(Cause cause, const std::function<UserWriteView(Session::Inside&)>& write);

    RunningClient& client_;
    std::mutex mutex_;  ///< for the length of a write: what is not on disk is this one's
};

}  // namespace corvidctl
