#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

#include "journal/ChangeJournal.h"
#include "journal/JournalBatch.h"

/// Short ways to write down what journals are told and hold.
namespace journals {

using corvidctl::Cause;
using corvidctl::ChangeView;
using corvidctl::JournalBatch;
using corvidctl::JournalChange;
using corvidctl::ValueView;

/// A second further with each batch: 2001-09-09T01:46:39.500Z, then 2001-09-09T01:46:40.500Z.
class TickingClock {
public:
    std::chrono::system_clock::time_point operator()() {
        now_ += std::chrono::seconds(1);
        return now_;
    }

    static std::chrono::system_clock::time_point at(int second) {
        return std::chrono::system_clock::from_time_t(999999999) + std::chrono::milliseconds(500) +
               std::chrono::seconds(second);
    }

private:
    std::chrono::system_clock::time_point now_ = at(-1);
};

/// A defined key; one that no store holds if the store is empty.
inline ValueView value(const std::string& key, const std::string& text, const std::string& store,
                       bool isSensitive = false) {
    ValueView view;
    view.key = key;
    view.value = text;
    view.isDefined = !store.empty();
    view.valueStoreName = store;
    view.isSensitive = isSensitive;
    return view;
}

inline ChangeView told(const ValueView& after, std::vector<std::string> changed = {"value", "valueStoreName"}) {
    return {after, std::move(changed)};
}

inline JournalChange change(const std::string& key, const std::string& oldValue, const std::string& newValue,
                            const std::string& oldStore, const std::string& newStore, bool isSensitive = false) {
    return {key, oldValue, newValue, oldStore, newStore, isSensitive};
}

/// A change from nothing, as a start has them.
inline JournalChange defined(const std::string& key, const std::string& text, const std::string& store,
                             bool isSensitive = false) {
    return change(key, "", text, "", store, isSensitive);
}

/// A batch of a journal whose clock ticks once for each.
inline JournalBatch batch(std::uint64_t number, Cause cause, std::vector<JournalChange> changes) {
    return {number, TickingClock::at(static_cast<int>(number) - 1), cause, std::move(changes)};
}

}  // namespace journals

namespace corvidctl {

inline void PrintTo(const JournalChange& change, std::ostream* out) {
    *out << change.key << ": " << change.oldValue << " (" << change.oldStore << ") -> " << change.newValue << " ("
         << change.newStore << ")" << (change.isSensitive ? " sensitive" : "");
}

inline void PrintTo(const JournalBatch& batch, std::ostream* out) {
    *out << batch.number << " " << textOf(batch.cause) << " with " << batch.changes.size() << " changes";
}

}  // namespace corvidctl
