#pragma once

#include <cstdint>

/// The inside way to have a store of this module persisted by a task: the task is one of many when values are set in a
/// burst, and the first that runs does the work of all that wait.
class PersistRequests {
public:
    /// Asks that what has been stored be persisted. Any thread. @return the number of the request, from 1 on.
    virtual std::uint64_t requestPersist() = 0;

    /// Does what ConfigStore::persistValues() does, unless it has been done since the request. Any thread.
    virtual void persistRequested(std::uint64_t request) = 0;

protected:
    ~PersistRequests() = default;
};
