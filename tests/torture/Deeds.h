#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "StressedModule.h"
#include "chain/ConfigStoreManager_Observer.h"

namespace torture {

/// Counts the times that a changed profile takes a store out of the chain. Others remove stores as well: what tells is
/// the thread on which the removal is reported, silently.
class ProfileRemovals : public ConfigStoreManager_Observer {
public:
    void onFireIfRequired(std::wstring /*key*/) override {}
    void onSensitiveKeyAddedOrUpdated(std::wstring /*key*/) override {}
    void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                bool silent) override;

    std::uint64_t count() const { return count_; }

private:
    std::atomic<std::uint64_t> count_ = 0;
};

/// Does what clients do, in an order that its seed chooses. One thread.
class Deeds {
public:
    Deeds(StressedModule& module, std::uint64_t seed) : module_(module), random_(seed) {}

    Deeds(const Deeds&) = delete;
    Deeds& operator=(const Deeds&) = delete;

    /// One of them: reads, writes, adds, removes, starts, stops, refreshes, downloads, provisions, resets.
    void doOne();

    /// How often this process has begun one, on any thread. @param name of the function; 0 for one that there is not.
    static std::uint64_t done(const std::string& name);

    std::uint64_t below(std::uint64_t limit) {
        return std::uniform_int_distribution<std::uint64_t>(0, limit - 1)(random_);
    }

    static const std::vector<std::wstring>& keys();

private:
    using Deed = void (Deeds::*)();
    struct Share {
        std::uint64_t of;  ///< all deeds together
        Deed deed;
        std::string name;
        mutable std::atomic<std::uint64_t> done = 0;
    };
    using Shares = std::array<Share, 20>;
    static const Shares& shares();

    void readValue();
    void readStores();
    void writeUserValue();
    void writeUserValues();
    void writeInMemory();
    void resetValue();
    void markSensitive();
    void addStore();
    void removeStore();
    void removeCachedStores();
    void startOrStop();
    void startOrStopDownloads();
    void changeServer();
    void forceDownload();
    void refresh();
    void provision();
    void changeTelephony();
    void changeProfile();
    void resetData();
    void powerDown();

    const std::wstring& key();
    std::wstring value() { return std::to_wstring(below(1000)); }

    StressedModule& module_;
    std::mt19937_64 random_;
};

}  // namespace torture
