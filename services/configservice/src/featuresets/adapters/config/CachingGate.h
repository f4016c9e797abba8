#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class ConfigStore;

/// Leave to write of a store that has joined the chain on the disk, until that is done. Any thread; the answer stands
/// still while the lock of the chain is held.
class CachingPermit {
public:
    CachingPermit(std::string storeName, bool isGiven) : storeName_(std::move(storeName)), isGiven_(isGiven) {}

    const std::string& storeName() const { return storeName_; }
    bool isGiven() const { return isGiven_.load(std::memory_order_relaxed); }
    void withdraw() { isGiven_.store(false, std::memory_order_relaxed); }

private:
    const std::string storeName_;
    std::atomic<bool> isGiven_;
};

/// Keeps what is written of a store on the disk apart from what forgets it: a store that joins the chain is cached by
/// whoever brings it if neither a data reset, a removal of it nor another one of its name has come since, and one that
/// joins in the midst of a reset by that reset, at its end, if it has not been thrown out on the way.
///
/// With the lock of the chain held.
class CachingGate {
public:
    /// A store joins, in the place of any of its name. @return the leave to write of it, which whoever brings it keeps
    ///         until that is done.
    std::shared_ptr<const CachingPermit> noteJoin(const std::shared_ptr<ConfigStore>& store);

    /// The store of that name, whose case does not count, is removed.
    void noteRemoval(const std::string& storeName);

    /// A reset begins. One that was left without an end counts as over.
    void beginReset();

    /// The reset ends. @return the stores that have joined since it began, whether they are still there or not.
    std::vector<std::shared_ptr<ConfigStore>> endReset();

private:
    bool isResetting_ = false;
    std::vector<std::shared_ptr<ConfigStore>> joinedMeanwhile_;
    std::vector<std::weak_ptr<CachingPermit>> permits_;  ///< those that are in use, and some that were
};
