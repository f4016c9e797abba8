#pragma once

#include <memory>
#include <string>
#include <vector>

#include "session/LiveWatcher.h"

namespace corvidctl {

class Session;

/// A watcher on the live objects of a session, from construction to stop() or the end of the scope. Not on the
/// dispatcher thread.
class WatchScope {
public:
    /// @param globs the keys to watch; none: all. @param listener called on the dispatcher thread.
    WatchScope(Session& session, const std::vector<std::string>& globs, LiveWatcher::Listener listener);
    ~WatchScope();

    WatchScope(const WatchScope&) = delete;
    WatchScope& operator=(const WatchScope&) = delete;

    /// Tells what is still waiting, and nothing more.
    void stop();

private:
    Session& session_;
    std::shared_ptr<LiveWatcher> watcher_;
};

}  // namespace corvidctl
