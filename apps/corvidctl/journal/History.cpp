#include "journal/History.h"

#include <map>
#include <utility>

#include "chain/CacheFiles.h"
#include "chain/ConfigMap.h"
#include "journal/Masking.h"
#include "quill/StringUtils.h"
#include "reading/KeyNames.h"

namespace corvidctl {

namespace {

/// The copy holds what the store said last, and answers for it from a start to the next download.
bool isStoreAndItsCopy(const std::string& a, const std::string& b) {
    return a == CacheFiles::nameFor(b) || b == CacheFiles::nameFor(a);
}

bool isSameSource(const std::string& a, const std::string& b) { return a == b || isStoreAndItsCopy(a, b); }

/// True if a key has read the same from one of the two on.
bool isSame(const JournalChange& before, const JournalChange& after) {
    // One of the two may have been written with secrets shown, the other without.
    const bool isMasked = after.isSensitive && (before.newValue == mask() || after.newValue == mask());
    return isSameSource(before.newStore, after.newStore) && (isMasked || before.newValue == after.newValue);
}

/// Follows the answers from batch to batch.
class Follower {
public:
    /// What the batch changed, as far as it is known.
    std::vector<JournalChange> follow(const JournalBatch& batch) {
        std::vector<JournalChange> changes = batch.cause == Cause::Start ? differences(batch) : batch.changes;
        if (batch.cause == Cause::Start) {
            answers_.clear();
            hasStarted_ = true;
        }
        for (const JournalChange& change : batch.changes) {
            answers_[keyOf(change)] = change;
        }
        return changes;
    }

private:
    using Answers = std::map<std::wstring, JournalChange, caseInsensitiveMapComparator>;

    static std::wstring keyOf(const JournalChange& change) { return QuillCoreUtils::toWideString(change.key); }

    /// Where a start differs from what was known before it.
    std::vector<JournalChange> differences(const JournalBatch& start) const {
        std::vector<JournalChange> changes;
        Answers now;
        for (const JournalChange& change : start.changes) {
            now[keyOf(change)] = change;
        }
        for (const auto& [key, after] : now) {
            const auto known = answers_.find(key);
            const JournalChange& before = known == answers_.end() ? JournalChange() : known->second;
            // A journal that has lost its beginning knows nothing of the keys that no batch has named.
            const bool isKnown = hasStarted_ || known != answers_.end();
            if (isKnown && !isSame(before, after)) {
                changes.push_back({after.key, before.newValue, after.newValue, before.newStore, after.newStore,
                                   before.isSensitive || after.isSensitive});
            }
        }
        for (const auto& [key, before] : answers_) {
            if (now.count(key) == 0 && !before.newStore.empty()) {
                changes.push_back({before.key, before.newValue, {}, before.newStore, {}, before.isSensitive});
            }
        }
        return changes;
    }

    bool hasStarted_ = false;
    Answers answers_;  ///< the last change of each key
};

using LastAnswers = std::map<std::wstring, LastAnswer, caseInsensitiveMapComparator>;

/// Goes on to what the keys read after one batch more.
void takeOver(const JournalBatch& batch, const KeyNames& names, LastAnswers& answers) {
    LastAnswers before;
    if (batch.cause == Cause::Start) {
        before.swap(answers);  // what this start does not name, no store holds any more
    }
    const LastAnswers& known = batch.cause == Cause::Start ? before : answers;
    for (const JournalChange& change : batch.changes) {
        const std::wstring key = names.currentName(QuillCoreUtils::toWideString(change.key));
        const auto found = known.find(key);
        const bool stays = found != known.end() && isSame(found->second.change, change);
        answers[key] = {change, stays ? found->second.since : batch.time};
    }
}

SensitiveKeySet sensitiveKeysOf(const std::vector<JournalBatch>& batches, const KeyNames& names) {
    SensitiveKeySet keys;
    for (const JournalBatch& batch : batches) {
        for (const JournalChange& change : batch.changes) {
            if (change.isSensitive) {
                keys.insert(names.currentName(QuillCoreUtils::toWideString(change.key)));
            }
        }
    }
    return keys;
}

}  // namespace

bool onlyChangesToTheCopy(const JournalChange& change) {
    return !change.isSensitive && change.oldValue == change.newValue &&
           isStoreAndItsCopy(change.oldStore, change.newStore);
}

std::vector<LastAnswer> lastAnswersOf(const std::vector<JournalBatch>& batches,
                                      const std::function<bool(const std::wstring&)>& isWanted, bool reveal) {
    const KeyNames names;
    const SensitiveKeySet secrets = reveal ? SensitiveKeySet() : sensitiveKeysOf(batches, names);
    LastAnswers answers;
    for (const JournalBatch& batch : batches) {
        takeOver(batch, names, answers);
    }
    std::vector<LastAnswer> last;
    for (auto& [key, answer] : answers) {
        if (!isWanted(key) || answer.change.newStore.empty()) {
            continue;
        }
        answer.change.key = QuillCoreUtils::toString(key);
        if (secrets.count(key) != 0) {
            maskTexts(answer.change);
        }
        last.push_back(answer);
    }
    return last;
}

std::vector<JournalBatch> historyOf(const std::vector<JournalBatch>& batches,
                                    const std::function<bool(const std::wstring&)>& isWanted, bool reveal) {
    const KeyNames names;
    const SensitiveKeySet secrets = reveal ? SensitiveKeySet() : sensitiveKeysOf(batches, names);
    Follower follower;
    std::vector<JournalBatch> history;
    for (const JournalBatch& batch : batches) {
        JournalBatch told{batch.number, batch.time, batch.cause, {}};
        for (JournalChange& change : follower.follow(batch)) {
            const std::wstring key = names.currentName(QuillCoreUtils::toWideString(change.key));
            if (!isWanted(key) || onlyChangesToTheCopy(change)) {
                continue;
            }
            change.key = QuillCoreUtils::toString(key);
            if (secrets.count(key) != 0) {
                maskTexts(change);
            }
            told.changes.push_back(std::move(change));
        }
        if (!told.changes.empty()) {
            history.push_back(std::move(told));
        }
    }
    return history;
}

}  // namespace corvidctl
