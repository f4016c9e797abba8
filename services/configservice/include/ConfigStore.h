#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

/// One source of configuration values. The chain searches its stores in ascending order of getPriority(); the first
/// that holds a key wins.
///
/// Keys are compared without regard to case. Every operation may be called on any thread; the chain calls them with its
/// own lock held, so a store must not call the feature set, nor wait for another thread, while it holds a lock of its
/// own. From inside an operation it may read and write, but not start, stop or refresh anything. Nothing throws.
class ConfigStore {
public:
    virtual ~ConfigStore() = default;

    /// @param value receives the text of the key on a hit (an empty text is a hit too), and the empty text on a miss.
    /// @return true if the store holds the key.
    virtual bool getValue(const std::wstring& key, std::wstring& value) = 0;

    /// Stores a value in memory; persistValues() brings it to the disk. The chain never calls this for a store whose
    /// isReadOnly() is true.
    /// @return true if it was stored.
    virtual bool storeValue(const std::wstring& key, const std::wstring& value) = 0;

    /// All keys held, in the order of the store's map.
    virtual std::vector<std::wstring> getKeys() = 0;

    /// @return true if the key was there and is gone.
    virtual bool removeValue(const std::wstring& key) = 0;

    /// Empties the store, where the store supports it.
    virtual void removeAllValues() = 0;

    /// True if the user cannot write to this store. Constant for the store's life.
    virtual bool isReadOnly() = 0;

    /// The store's identity in the chain, UTF-8, compared without regard to case. Constant for the store's life.
    virtual std::string getName() = 0;

    /// Place in the chain: a smaller number is searched first. Constant while the store is in a chain.
    virtual std::int32_t getPriority() = 0;

    /// Writes the values to the backing file, if there is one. Called on the host's task queue, with no lock held.
    virtual void persistValues() = 0;

    /// Ends the store's life on disk: nothing is written from here on. The store goes on answering.
    virtual void destroy() = 0;

    /// True if the store belongs to the machine-local set that survives a reset of the chain. A different question from
    /// isReadOnly(). Constant for the store's life.
    virtual bool isLocal() = 0;

    /// Waits until the store has its data. Stores that have it from the start return at once. May be called with the
    /// chain's lock held, and every lookup waits meanwhile: bound the wait.
    /// @return true when ready; false ends a wait for several stores.
    virtual bool waitForStoreReady() = 0;

    /// True if a copy of this store is to be kept on disk for the next start.
    virtual bool shouldCacheConfigStore() { return false; }

    /// The place in the chain for that copy: 200 behind the store itself, or the last place of all.
    virtual std::int32_t getCachedPriority() { return twoHundredBehind(getPriority()); }

    /// @return priority + 200, or the greatest number if that does not fit.
    static constexpr std::int32_t twoHundredBehind(std::int32_t priority) {
        constexpr std::int32_t last = std::numeric_limits<std::int32_t>::max();
        return priority > last - 200 ? last : priority + 200;
    }
};
