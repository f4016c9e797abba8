#pragma once

#include <map>
#include <memory>
#include <string>

#include "ConfigServiceBaseImpl.h"
#include "ConfigValueImpl.h"
#include "chain/ConfigMap.h"

/// The object that every client holds: the table of live values, and the way of a change from the chain to them.
/// Has no lock: everything happens on the dispatcher thread.
class ConfigServiceImpl : public ConfigServiceBaseImpl {
public:
    using ConfigValueCache = std::map<std::wstring, std::shared_ptr<ConfigValueImpl>, caseInsensitiveMapComparator>;

    explicit ConfigServiceImpl(const std::shared_ptr<UnifiedFactory>& factory);
    ~ConfigServiceImpl() override;

    std::shared_ptr<ConfigValue> getConfig(std::wstring key) override;
    void setConfig(std::wstring key, std::wstring value) override;
    void setInMemoryConfig(std::wstring key, std::wstring value) override;
    std::shared_ptr<std::vector<std::shared_ptr<ConfigValue>>> getAllConfig() override;
    void resetConfig(std::wstring key) override;
    bool removeConfigStoreAndCache(std::wstring storeName) override;
    void removeAllCachedConfigStores() override;
    void logConfig() override;
    void setKeySensitive(std::wstring key) override;
    bool isKeySensitive(std::wstring key) override;
    bool setUrlProvisioningData(std::wstring data) override;
    bool resetAllowUriProvisioningData() override;

    // For the adapter and for the class itself; not on the clients' interface.

    void OnConfigChanged(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                         bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                         bool silent);
    void FireIfRequired(std::wstring key);
    void updateSensitiveKeyList(std::wstring key);
    void setupConfigKeyAliases(ConfigMap aliases);
    void reset();
    void refreshConfigFeatureSet();
    void initialize(const std::shared_ptr<UnifiedFactory>& factory);
    std::shared_ptr<ConfigValueImpl> findConfig(const std::wstring& key);
    std::shared_ptr<ConfigValueImpl> findConfigFromKey(const std::wstring& key);
    std::shared_ptr<ConfigValueImpl> createConfig(const std::wstring& key);
    std::shared_ptr<ConfigValueImpl> createConfig(const std::wstring& key, const std::wstring& value,
                                                  const std::wstring& originalValue, bool isOverridden,
                                                  const std::wstring& valueStoreName,
                                                  const std::wstring& originalValueStoreName);
    bool isKeyAlias(const std::wstring& key, std::wstring& target);

private:
    ConfigValueCache valueCache_;
    SensitiveKeySet sensitiveKeys_;
    ConfigMap keyAliases_;
};
