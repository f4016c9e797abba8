#pragma once

#include <functional>
#include <memory>

#include "remote/DownloadJournal.h"

namespace integration {

/// Waits for what a journal tells, without asking again and again. One at a time for each journal.
class DownloadWatch {
public:
    using Snapshot = DownloadJournal::Snapshot;

    explicit DownloadWatch(std::shared_ptr<DownloadJournal> journal);
    ~DownloadWatch();

    DownloadWatch(const DownloadWatch&) = delete;
    DownloadWatch& operator=(const DownloadWatch&) = delete;

    /// Returns the first state that fulfils the condition, at once if it does already. Any thread that holds no lock
    /// which a download wants, but the dispatcher thread.
    Snapshot waitUntil(const std::function<bool(const Snapshot&)>& condition) const;

    /// Until nothing runs, nothing waits, and everyone has been told.
    Snapshot waitUntilSettled() const;

private:
    struct Changes;
    const std::shared_ptr<DownloadJournal> journal_;
    const std::shared_ptr<Changes> changes_;
};

}  // namespace integration
