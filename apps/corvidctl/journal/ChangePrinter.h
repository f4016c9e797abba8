#pragma once

#include <functional>
#include <string>

#include "cli/Invocation.h"
#include "journal/JournalBatch.h"
#include "reading/KeySelection.h"
#include "reading/Views.h"

namespace corvidctl {

class Interruption;
class ProgressLine;
struct Output;

/// Prints as a watch goes on what changed about the keys that were asked for: change by change, or batch by batch.
/// Takes both, and prints those that were asked for. All that it is given must outlive it.
///
/// The headings first, then the rest on any one thread. Ends the watch once nobody reads any more.
class ChangePrinter {
public:
    ChangePrinter(const Invocation& invocation, Output& output, ProgressLine& progress, Interruption& interruption);

    void printHeadings();
    void tell(const ChangeView& change);

    /// @param batch printed as far as its keys were asked for.
    void tell(JournalBatch batch);

private:
    bool isAskedFor(const std::string& key) const;
    void print(const std::function<void()>& printing);

    const Invocation& invocation_;
    Output& output_;
    ProgressLine& progress_;
    Interruption& interruption_;
    const KeySelection selection_;
};

}  // namespace corvidctl
