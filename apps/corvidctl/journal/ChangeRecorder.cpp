#include "journal/ChangeRecorder.h"

#include <utility>

#include "journal/ChangeJournal.h"

namespace corvidctl {

void ChangeRecorder::endWork() {
    if (!changes_.empty()) {
        journal_.record(std::exchange(changes_, {}), cause_);
    }
}

std::optional<Cause> ChangeRecorder::expect(std::optional<Cause> cause) {
    endWork();
    return std::exchange(cause_, cause);
}

}  // namespace corvidctl
