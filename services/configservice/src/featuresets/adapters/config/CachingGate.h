#pragma once

#include <atomic>
#include <memory>
#include <vector>

class ConfigStore;

/// Keeps what is written of a store on the disk apart from data resets: a store that joins the chain is cached by
/// whoever brings it if no reset has come since, and one that joins in the midst of a reset by that reset, at its end,
/// if it has not been thrown out on the way.
class CachingGate {
public:
    // With the lock of the chain held.

    /// A store joins. @return what mayBeCached() wants to know.
    unsigned noteJoin(const std::shared_ptr<ConfigStore>& store);

    /// A reset begins. One that was left without an end counts as over.
    void beginReset();

    /// The reset ends. @return the stores that have joined since it began, whether they are still there or not.
    std::vector<std::shared_ptr<ConfigStore>> endReset();

    // Any thread. The answers stand still while the lock of the chain is held.

    /// True if no reset was under way when the store joined, and none has begun since.
    bool mayBeCached(unsigned joined) const { return joined % 2 == 0 && joined == now(); }

    /// What noteJoin() would return.
    unsigned now() const { return changes_.load(std::memory_order_relaxed); }

private:
    std::atomic<unsigned> changes_ = 0;  ///< beginnings and ends; odd while a reset is under way
    std::vector<std::shared_ptr<ConfigStore>> joinedMeanwhile_;
};
