#pragma once

#include "ConfigStore.h"
#include "LockRanks.h"
#include "chain/FoldedLookup.h"
#include "chain/KeyedValues.h"
#include "tessel/Mutex.h"

/// Values that live for this run only: written by storeInMemoryValue() of the chain alone.
class InMemoryConfigStore : public ConfigStore, public FoldedLookup {
public:
    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool lookUp(const FoldedKey& key, std::wstring& value) override;
    const KeyFilter* filter() const override { return &filter_; }
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;
    bool removeValue(const std::wstring& key) override;
    void removeAllValues() override;
    bool isReadOnly() override;
    std::string getName() override;
    std::int32_t getPriority() override;
    void persistValues() override;
    void destroy() override;
    bool isLocal() override;
    bool waitForStoreReady() override;

private:
    tessel::Mutex mutex_{LockRanks::STORE_VALUES};
    KeyFilter filter_;
    KeyedValues values_ TESSEL_GUARDED_BY(mutex_){filter_};
};
