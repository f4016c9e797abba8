#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "remote/DownloadJournal.h"

namespace corvidctl {

class Interruption;
class ProgressLine;
class Session;

/// The remote source of a session, worked beside the thread that owns this: what turns it on may wait for servers, and
/// an interruption must not. Once a power down is called off it is turned off and on again, since it has missed what
/// came meanwhile.
class RemoteSource {
public:
    /// Does nothing yet. @param interruption nudged at each step of a download; must outlive the session.
    RemoteSource(Session& session, Interruption& interruption);

    /// Stops.
    ~RemoteSource();

    RemoteSource(const RemoteSource&) = delete;
    RemoteSource& operator=(const RemoteSource&) = delete;

    /// Turns the source on, which fetches the file if a server is known.
    void start();

    /// Fetches once more from the servers last seen. After start() has settled.
    /// @return false if no server has been seen: nothing is done.
    bool fetchAgain();

    /// Waits until all that was begun has ended, whatever came of it, and what followed from it, too.
    /// @param progress shown meanwhile, gone afterwards.
    /// @return false if an interruption came first.
    bool waitUntilSettled(ProgressLine& progress);

    bool isSettled() const;

    /// What has been fetched so far.
    DownloadJournal::Snapshot downloads() const { return journal_->snapshot(); }

    /// Turns the source off. Requests that wait for a server end at once. Nothing can be begun afterwards.
    void stop();

private:
    class PowerObserver;

    void workBeside(std::function<void()> work);

    Session& session_;
    Interruption& interruption_;
    const std::shared_ptr<DownloadJournal> journal_;
    const std::shared_ptr<PowerObserver> powerObserver_;
    std::atomic<bool> busy_ = false;
    std::thread worker_;
};

}  // namespace corvidctl
