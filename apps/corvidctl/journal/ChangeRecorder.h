#pragma once

#include <optional>
#include <vector>

#include "journal/Cause.h"
#include "reading/Views.h"

namespace corvidctl {

class ChangeJournal;

/// Collects the changes of one piece of work after the other for a journal. Dispatcher thread.
class ChangeRecorder {
public:
    /// @param journal must outlive this.
    explicit ChangeRecorder(ChangeJournal& journal) : journal_(journal) {}

    void add(const ChangeView& change) { changes_.push_back(change); }

    /// The changes since the last call are one batch, if there are any.
    void endWork();

    /// Ends the work before, and tells the cause of what comes. @param cause none: worked out from the stores.
    /// @return what was told before.
    std::optional<Cause> expect(std::optional<Cause> cause);

private:
    ChangeJournal& journal_;
    std::optional<Cause> cause_;
    std::vector<ChangeView> changes_;
};

}  // namespace corvidctl
