#include "journal/ChangeJournal.h"

#include <algorithm>
#include <utility>

#include "journal/Masking.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

bool concernsTheAnswer(const ChangeView& change) {
    return std::any_of(change.changed.begin(), change.changed.end(), [](const std::string& property) {
        return property == "value" || property == "valueStoreName" || property == "isDefined";
    });
}

}  // namespace

ChangeJournal::ChangeJournal(bool reveal, Limits limits, Clock clock)
    : reveal_(reveal), limits_(limits), clock_(std::move(clock)) {}

ChangeJournal::ChangeJournal(bool reveal) : ChangeJournal(reveal, Limits(), std::chrono::system_clock::now) {}

void ChangeJournal::start(const std::vector<ValueView>& defined) {
    std::function<void()> listener;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        answers_.clear();
        for (const ValueView& view : defined) {
            answers_[QuillCoreUtils::toWideString(view.key)] = answerOf(view);
        }
        add(Cause::Start, allAnswers());
        listener = listener_;
    }
    if (listener) {
        listener();
    }
}

void ChangeJournal::hide(const std::wstring& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    hideTexts(key);
}

void ChangeJournal::record(const std::vector<ChangeView>& changes, std::optional<Cause> cause) {
    std::function<void()> listener;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::vector<JournalChange> applied = apply(changes);
        if (applied.empty()) {
            return;
        }
        const Cause why = cause ? *cause : workedOutCause(applied);
        add(why, std::move(applied));
        listener = listener_;
    }
    if (listener) {
        listener();
    }
}

ChangeJournal::Snapshot ChangeJournal::since(std::uint64_t number) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    Snapshot snapshot = totals_;
    const auto first = std::find_if(batches_.begin(), batches_.end(),
                                    [number](const JournalBatch& batch) { return batch.number > number; });
    snapshot.batches.assign(first, batches_.end());
    return snapshot;
}

std::uint64_t ChangeJournal::lastNumber() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return totals_.lastNumber;
}

JournalBatch ChangeJournal::picture() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return {totals_.lastNumber, lastTime_, Cause::Start, allAnswers()};
}

void ChangeJournal::setListener(std::function<void()> listener) {
    const std::lock_guard<std::mutex> lock(mutex_);
    listener_ = std::move(listener);
}

ChangeJournal::Answer ChangeJournal::answerOf(const ValueView& view) {
    const std::wstring key = QuillCoreUtils::toWideString(view.key);
    if (view.isSensitive) {
        hideTexts(key);
    }
    // It may have been called sensitive since the view was taken.
    const bool isHidden = hidden_.count(key) != 0;
    Answer answer{view.key, view.value, view.valueStoreName, view.isSensitive || isHidden};
    if (answer.store.empty()) {
        answer.value.clear();  // a live object may keep what it held last
    } else if (isHidden) {
        answer.value = mask();
    }
    return answer;
}

void ChangeJournal::hideTexts(const std::wstring& key) {
    if (reveal_ || !hidden_.insert(key).second) {
        return;
    }
    for (JournalBatch& batch : batches_) {
        for (JournalChange& change : batch.changes) {
            if (QuillCoreUtils::caseInsensitiveStringEquals(QuillCoreUtils::toWideString(change.key), key)) {
                maskTexts(change);
            }
        }
    }
    if (const auto answer = answers_.find(key); answer != answers_.end() && !answer->second.store.empty()) {
        answer->second.value = mask();
        answer->second.isSensitive = true;
    }
}

JournalChange ChangeJournal::changeOf(const Answer& before, const Answer& after) const {
    JournalChange change{after.key, before.value, after.value, before.store, after.store, after.isSensitive};
    if (after.isSensitive && !reveal_ && !before.store.empty()) {
        // The key may have become a secret with this very change.
        change.oldValue = mask();
    }
    return change;
}

std::vector<JournalChange> ChangeJournal::apply(const std::vector<ChangeView>& changes) {
    std::vector<std::wstring> order;  // of the keys' first changes
    Answers before;
    for (const ChangeView& change : changes) {
        const std::wstring key = QuillCoreUtils::toWideString(change.value.key);
        Answer& known = answers_[key];
        if (concernsTheAnswer(change) && before.emplace(key, known).second) {
            order.push_back(key);
        }
        known = answerOf(change.value);
    }
    std::vector<JournalChange> applied;
    for (const std::wstring& key : order) {
        const Answer& after = answers_.at(key);
        JournalChange change = changeOf(before.at(key), after);
        // Masked texts do not tell whether they are the same.
        const bool isHidden = after.isSensitive && !reveal_ && !after.store.empty();
        if (isHidden || change.oldValue != change.newValue || change.oldStore != change.newStore) {
            applied.push_back(std::move(change));
        }
    }
    std::erase_if(answers_, [](const auto& answer) { return answer.second.store.empty(); });
    return applied;
}

std::vector<JournalChange> ChangeJournal::allAnswers() const {
    std::vector<JournalChange> all;
    for (const auto& [key, answer] : answers_) {
        all.push_back(changeOf(Answer(), answer));
    }
    return all;
}

void ChangeJournal::add(Cause cause, std::vector<JournalChange> changes) {
    lastTime_ = clock_();
    changes_ += changes.size();
    batches_.push_back({++totals_.lastNumber, lastTime_, cause, std::move(changes)});
    while (batches_.size() > 1 && (batches_.size() > limits_.batches || changes_ > limits_.changes)) {
        dropOldest();
    }
}

void ChangeJournal::dropOldest() {
    const std::size_t changes = batches_.front().changes.size();
    batches_.pop_front();
    changes_ -= changes;
    totals_.droppedBatches += 1;
    totals_.droppedChanges += changes;
}

}  // namespace corvidctl
