#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "chain/ConfigMap.h"
#include "journal/JournalBatch.h"
#include "reading/Views.h"

namespace corvidctl {

/// What changed, when and why: the last batches of changes of a running session, in memory.
///
/// Old values come from the journal itself, which knows the answers it began with and each change since. Unless they
/// are to be shown, sensitive texts are masked before they enter, and all that is held of a key as soon as the key is
/// called sensitive. Any thread; no operation calls out with the lock held.
class ChangeJournal {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    struct Limits {
        std::size_t batches = 1000;
        std::size_t changes = 20000;  ///< of all batches together; the newest batch stays whatever its size
    };

    struct Snapshot {
        std::vector<JournalBatch> batches;  ///< oldest first
        std::uint64_t lastNumber = 0;       ///< of the newest batch ever; 0: there was none
        std::uint64_t droppedBatches = 0;   ///< ever, to stay within the limits
        std::uint64_t droppedChanges = 0;   ///< those that were in them
    };

    /// @param reveal keep sensitive texts as they come. @param clock asked once for each batch.
    ChangeJournal(bool reveal, Limits limits, Clock clock);
    explicit ChangeJournal(bool reveal);

    ChangeJournal(const ChangeJournal&) = delete;
    ChangeJournal& operator=(const ChangeJournal&) = delete;

    /// Begins, or begins anew, with all that is defined: a batch of Cause::Start.
    void start(const std::vector<ValueView>& defined);

    /// Adds a batch, unless nothing is left of it: what changes only behind the answer, or changes back, is no change.
    /// @param changes in the order in which they were told; a key may come more than once.
    /// @param cause none: worked out from the stores.
    void record(const std::vector<ChangeView>& changes, std::optional<Cause> cause);

    /// The key is sensitive, with every text that it ever had. For whoever learns it without a change.
    void hide(const std::wstring& key);

    /// The batches with a higher number, as far as they are kept. @param number 0: all.
    Snapshot since(std::uint64_t number) const;

    /// The number of the newest batch ever; 0: there was none.
    std::uint64_t lastNumber() const;

    /// A batch of Cause::Start with all that is defined now, numbered and dated as the newest batch.
    JournalBatch picture() const;

    /// @param listener called after each batch, on the thread that added it. Empty: none. A call that is under way on
    ///        another thread may still end later.
    void setListener(std::function<void()> listener);

private:
    struct Answer {
        std::string key;
        std::string value;
        std::string store;
        bool isSensitive = false;
    };
    using Answers = std::map<std::wstring, Answer, caseInsensitiveMapComparator>;

    Answer answerOf(const ValueView& view);
    void hideTexts(const std::wstring& key);
    std::vector<JournalChange> apply(const std::vector<ChangeView>& changes);
    JournalChange changeOf(const Answer& before, const Answer& after) const;
    std::vector<JournalChange> allAnswers() const;
    void add(Cause cause, std::vector<JournalChange> changes);
    void dropOldest();

    const bool reveal_;
    const Limits limits_;
    const Clock clock_;
    mutable std::mutex mutex_;
    std::function<void()> listener_;  // this and all below: under mutex_
    Answers answers_;
    SensitiveKeySet hidden_;  ///< whose texts are masked wherever they stand
    std::deque<JournalBatch> batches_;
    std::size_t changes_ = 0;  ///< in batches_
    Snapshot totals_;          ///< its batches stay empty
    std::chrono::system_clock::time_point lastTime_;
};

}  // namespace corvidctl
