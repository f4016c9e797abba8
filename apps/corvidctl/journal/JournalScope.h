#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "journal/Cause.h"
#include "journal/ChangeRecorder.h"
#include "session/LiveWatcher.h"

namespace corvidctl {

class ChangeJournal;
class Session;

/// Keeps a journal of a session, from construction, which is its start, to stop() or the end of the scope. Not on the
/// dispatcher thread.
///
/// A batch is what one piece of work brought: a store that comes, goes or is replaced with all that is worked out from
/// it, or one value that is set. Pieces that wait in the dispatcher's queue at the same time may count as one; none is
/// ever torn apart.
class JournalScope {
public:
    /// @param journal must outlive this. @param listener called for each change as it comes, on the dispatcher thread;
    ///        may be empty.
    JournalScope(Session& session, ChangeJournal& journal, LiveWatcher::Listener listener);
    ~JournalScope();

    JournalScope(const JournalScope&) = delete;
    JournalScope& operator=(const JournalScope&) = delete;

    /// Ends the batch that is still open, and records nothing more.
    void stop();

private:
    friend class CauseScope;

    std::optional<Cause> expect(std::optional<Cause> cause);

    Session& session_;
    ChangeRecorder recorder_;
    std::shared_ptr<LiveWatcher> watcher_;
};

/// While this lives, changes are of a cause that is known, and form batches of their own. For whoever starts an
/// operation and waits for its end. Any thread that holds no lock which the dispatcher thread wants; what other threads
/// change meanwhile counts as caused by it too, unless this begins and ends in one task of the dispatcher thread.
class CauseScope {
public:
    /// @param journal must outlive this.
    CauseScope(JournalScope& journal, Cause cause) : journal_(journal), before_(journal.expect(cause)) {}
    ~CauseScope() { journal_.expect(before_); }

    CauseScope(const CauseScope&) = delete;
    CauseScope& operator=(const CauseScope&) = delete;

private:
    JournalScope& journal_;
    const std::optional<Cause> before_;
};

}  // namespace corvidctl
