#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>

#include "fakes/ScriptedFeatureSet.h"

namespace simulation {

/// A chain that is a plain map: it answers, takes values into its in-memory store unless told to refuse them, and keeps
/// sensitive keys. Any thread.
class SimulatedChain : public fakes::ScriptedFeatureSet {
public:
    void hold(const std::wstring& key, const std::wstring& value);
    std::wstring valueOf(const std::wstring& key) const;
    void refuseInMemory(bool refuse);

    using ScriptedFeatureSet::getConfig;
    bool getConfig(const std::wstring& key, std::wstring& value, bool skipLocal) override;
    bool getConfig(const std::wstring& key, std::wstring& value, std::wstring& storeName, bool& usedOtherKeyName,
                   bool skipLocal) override;
    bool setInMemoryConfig(const std::wstring& key, const std::wstring& value) override;
    bool isKeySensitive(const std::wstring& key) override;
    void setKeySensitive(const std::wstring& key) override;

private:
    mutable std::mutex mutex_;
    std::map<std::wstring, std::wstring> values_;  ///< guarded by mutex_, as are the others
    std::set<std::wstring> sensitive_;
    bool refusesInMemory_ = false;
};

}  // namespace simulation
