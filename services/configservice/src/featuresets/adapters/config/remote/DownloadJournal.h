#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "http/HttpDownloadResult.h"

/// What the downloads of the server's file have done and are doing, for the people who ask: the last cycles, with every
/// version query and every transfer. The store behaves the same whether anybody looks or not.
///
/// Any thread; no operation calls out with a lock held.
class DownloadJournal {
public:
    using Clock = std::chrono::system_clock;
    using Result = HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

    struct VersionQuery {
        std::string address;
        bool answered = false;  ///< or the query failed; it is over either way
        std::string version;    ///< as the server spells it; empty if the query failed
    };

    enum class AttemptEnd {
        Running,
        Delivered,  ///< the file arrived and was taken
        Failed,
        Dropped,  ///< the file arrived, but newer server details had come meanwhile
    };

    struct Attempt {
        std::string address;
        std::string url;
        std::int32_t version = 0;  ///< the server's major version
        long timeoutSeconds = 0;
        AttemptEnd end = AttemptEnd::Running;
        Result result = Result::Success;  ///< meaningful once the attempt has ended
    };

    enum class CycleEnd {
        Running,
        Delivered,   ///< with new values
        Unreadable,  ///< a file arrived that is no configuration document; the store is empty now
        Exhausted,   ///< no address delivered, or there was none; the store is empty now
        Stalled,     ///< no version could be found, so there is no URL; waits for a forced download
        Superseded,  ///< another cycle began before this one had ended
    };

    struct Cycle {
        Clock::time_point began;
        Clock::time_point ended;  ///< meaningful once the cycle has ended
        bool forced = false;      ///< from the addresses last seen, without asking whether a download is due
        std::vector<VersionQuery> versionQueries;
        std::vector<Attempt> attempts;
        CycleEnd end = CycleEnd::Running;
        std::size_t keys = 0;  ///< of the delivered file
    };

    struct Snapshot {
        std::deque<Cycle> cycles;  ///< oldest first, at most MAX_CYCLES
        std::uint64_t cyclesEver = 0;
        bool settled = true;  ///< nothing runs, nothing waits, and everyone has been told
    };

    static constexpr std::size_t MAX_CYCLES = 50;

    /// Something that is under way, until the last copy is gone.
    using Work = std::shared_ptr<void>;

    DownloadJournal();

    Snapshot snapshot() const;

    /// @param listener called after each change, on the thread that made it, with no lock of the journal held; locks
    ///        of the store may be. Empty: none. A call that is under way on another thread may still end later.
    void setListener(std::function<void()> listener);

    /// Called by the store while it has something to do that has not ended: details that wait for the pool, a transfer,
    /// a report that waits for the dispatcher thread. The journal may end before the work does.
    Work beginWork();

    /// A newest cycle that still runs is superseded.
    void beginCycle(bool forced);

    /// Part of the newest cycle. @return the query's number, for endVersionQuery().
    std::uint64_t beginVersionQuery(const std::string& address);

    /// @param version empty if the query failed. A query that has fallen out of the record is ignored.
    void endVersionQuery(std::uint64_t query, const std::string& version);

    /// Part of the newest cycle; one that had ended runs again: a transfer of an earlier cycle may end it first, and
    /// its own go on. @return the attempt's number, for endAttempt().
    std::uint64_t beginAttempt(Attempt attempt);

    /// An attempt that has fallen out of the record is ignored, and so is the number 0.
    void endAttempt(std::uint64_t attempt, AttemptEnd end, Result result);

    /// Of the newest cycle. If that has ended before, the later word stands: it tells what the store holds now.
    /// @param keys of the delivered file, 0 otherwise.
    void endCycle(CycleEnd end, std::size_t keys);

private:
    struct State;
    const std::shared_ptr<State> state_;
};
