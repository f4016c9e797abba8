#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "cli/Invocation.h"
#include "fetching/RemoteSource.h"
#include "inspecting/SourceFiles.h"
#include "journal/ChangeJournal.h"
#include "journal/JournalScope.h"
#include "session/Session.h"

namespace corvidctl {

class Interruption;

/// A client that has just been started, and the files that it has read: what a RunningClient is made of.
struct StartedClient {
    /// Reads the files and puts the module in. @throws std::runtime_error with one line if that fails.
    explicit StartedClient(const Invocation& invocation);

    SourceFiles files;
    Session session;
};

/// A client on the configuration directory, which keeps a journal of what changes. Any thread between construction and
/// finish(), unless said otherwise.
class RunningClient {
public:
    /// Begins the journal. The remote source is off.
    /// @param interruption nudged at each step of a download; it and the journal must outlive this.
    /// @param onChange called after each change, even one behind a key's answer, on the dispatcher thread.
    RunningClient(std::unique_ptr<StartedClient> started, std::string configDirectory, Interruption& interruption,
                  ChangeJournal& journal, std::function<void()> onChange);

    /// Turns the remote source on, which asks the servers for their file; waits for nobody.
    void startRemote();

    /// Asks the servers once more, unless they are just being asked; waits for nobody.
    /// @return false if no server is known that could be asked.
    bool fetchAgain();

    bool isSettled() const { return remote_.isSettled(); }
    DownloadJournal::Snapshot downloads() const { return remote_.downloads(); }

    /// The key with the server's version as it was before anything was fetched.
    const ValueView& versionBefore() const { return versionBefore_; }

    /// Looks whether the next start will find what was delivered, and notes beside the copy where it came from. Once
    /// something has been fetched and nothing is under way.
    void noteDelivered();

    /// Path of the copy for the next start, if that could not be written.
    std::string lostCopy() const;

    const std::string& configDirectory() const { return configDirectory_; }
    Session& session() { return started_->session; }
    JournalScope& scope() { return scope_; }
    const ChangeJournal& journal() const { return journal_; }
    const SourceFiles& files() const { return started_->files; }

    /// Ends when everything is on disk and everything is down; on the thread that made this, when no other one asks
    /// any more. @return false if something could not be written.
    bool finish();

private:
    const std::string configDirectory_;
    const ChangeJournal& journal_;
    const std::unique_ptr<StartedClient> started_;
    const ValueView versionBefore_;
    JournalScope scope_;
    RemoteSource remote_;
    mutable std::mutex mutex_;
    bool hasStarted_ = false;  // this and below: under mutex_
    std::string lostCopy_;
};

}  // namespace corvidctl
