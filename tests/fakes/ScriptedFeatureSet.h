#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "ConfigFeatureSet.h"
#include "unified/FeatureSetAdapter.h"

namespace fakes {

/// A configuration feature set without a chain: records what it is asked, answers what the test tells it, and runs a
/// hook of the test's inside an operation. May be called on any thread; it is set up before it is used.
class ScriptedFeatureSet : public FeatureSetAdapter, public ConfigFeatureSet {
public:
    struct Call {
        std::string operation;
        std::vector<std::wstring> arguments;

        bool operator==(const Call&) const = default;
    };

    /// All calls of ConfigFeatureSet's operations, in order. Narrow arguments are widened, flags are "true" or "false",
    /// a map gives a key and a value for each entry.
    std::vector<Call> calls() const;

    /// Answer of every operation that has a bool result, unless something below says otherwise; true at the start.
    void answer(bool result) { result_ = result; }

    /// Answer of the operation of that name.
    void answerTo(const std::string& operation, bool result) { results_[operation] = result; }

    /// What getConfig() finds, in the store "ScriptedStore"; keys are compared as they are. At any time.
    void holdValue(const std::wstring& key, const std::wstring& value);

    /// At any time.
    void dropValue(const std::wstring& key);

    /// Run inside the operation of that name, after it was recorded and before it answers: a chain that reports.
    void during(const std::string& operation, std::function<void(const Call&)> hook) { hooks_[operation] = hook; }

    void addConfigStore(std::shared_ptr<ConfigStore> store) override;
    bool removeConfigStore(const std::string& name) override;
    void removeAllCachedConfigStores() override;
    bool getConfig(const std::wstring& key, std::wstring& value, bool skipLocal) override;
    bool getConfig(const std::wstring& key, std::wstring& value, std::wstring& storeName, bool& usedOtherKeyName,
                   bool skipLocal) override;
    bool setConfig(const std::wstring& key, const std::wstring& value) override;
    bool setConfig(std::map<std::wstring, std::wstring> values) override;
    bool setInMemoryConfig(const std::wstring& key, const std::wstring& value) override;
    void resetConfig(const std::wstring& key) override;
    bool isKeySensitive(const std::wstring& key) override;
    void setKeySensitive(const std::wstring& key) override;
    void startTftpConfigSource() override;
    void stopTftpConfigSource() override;
    void refreshConfigFeatureSet() override;
    bool setUrlProvisioningData(std::wstring data) override;
    bool resetAllowUriProvisioningData() override;

    void StartFeatureSet(unsigned featureSetId, ServiceEvents events) override;
    void StopFeatureSet(unsigned featureSetId, ServiceEvents events) override;
    void Destroy() override;
    bool IsFeatureSetStarted(unsigned featureSetId) override;
    bool IsFeatureSetProvisioned(unsigned featureSetId) override;
    std::vector<unsigned> GetFeatureSetDependencies(unsigned featureSetId) override;

private:
    bool record(const std::string& operation, std::vector<std::wstring> arguments = {});
    bool find(const std::wstring& key, std::wstring& value) const;

    bool result_ = true;
    std::map<std::string, bool> results_;
    std::map<std::wstring, std::wstring> values_;
    std::map<std::string, std::function<void(const Call&)>> hooks_;
    mutable std::mutex mutex_;
    std::vector<Call> calls_;
    bool started_ = false;
};

}  // namespace fakes
