#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ConfigServiceBaseImpl.h"
#include "ConfigValueImpl.h"
#include "LiveValues.h"
#include "chain/ConfigMap.h"
#include "chain/KeyReport.h"
#include "chain/KeyedValues.h"

/// The object that every client holds: the table of live values, and the way of a change from the chain to them.
///
/// Owns no configuration: what a client asks to change goes to the feature set, found anew in the factory for each
/// call, and what changes comes back as a report. Has no lock: everything happens on the dispatcher thread, which every
/// operation checks unless it says otherwise.
class ConfigServiceImpl : public ConfigServiceBaseImpl {
public:
    /// Ready from the start. Dispatcher thread: elsewhere it throws as the operations do.
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

    // For the adapter, the tool and the class itself; not on the clients' interface.

    /// A report of the chain: the key's whole new state. Makes the live object if there is none.
    /// @param silent true: observers hear of it at the next FireIfRequired(); false: before this returns.
    void OnConfigChanged(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                         bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName, bool silent);

    /// Tells observers what silent reports have left pending. The thread is not checked here.
    void FireIfRequired(std::wstring key);

    /// The same two without copies of the texts, which an observer must not be able to end or change.
    void takeReport(const KeyReport& report);
    void fireIfRequired(const FoldedKey& key);

    /// Fetches ahead what those two will read for these keys. The thread is not checked here.
    void expect(std::span<const FoldedKey> keys) const { liveValues_.fetchAhead(keys); }

    /// Marks a key as one whose value logs must not show.
    void updateSensitiveKeyList(std::wstring key);

    /// Replaces the table of renamed keys, old name to current name.
    void setupConfigKeyAliases(ConfigMap aliases);

    /// Forgets all live objects. Clients keep theirs, which change no more.
    void reset();

    void refreshConfigFeatureSet();

    /// Starts with no live object. The factory is the one of the constructor.
    void initialize(const std::shared_ptr<UnifiedFactory>& factory);

    /// The live object of a key under either of its names; made, under the current name, if there is none. Never null.
    /// The thread is not checked by this and the following.
    std::shared_ptr<ConfigValueImpl> findConfig(const std::wstring& key);

    /// The live object of exactly this name; null if there is none.
    std::shared_ptr<ConfigValueImpl> findConfigFromKey(const std::wstring& key);

    /// Makes an undefined, or a defined, live object and keeps it, unless there is one of that key already: then that
    /// one stays, and the new one is the caller's alone.
    std::shared_ptr<ConfigValueImpl> createConfig(const std::wstring& key);
    std::shared_ptr<ConfigValueImpl> createConfig(const std::wstring& key, const std::wstring& value,
                                                  const std::wstring& originalValue, bool isOverridden,
                                                  const std::wstring& valueStoreName,
                                                  const std::wstring& originalValueStoreName);

    /// True if the key is the old name of a renamed one. Follows one step only.
    /// @param target receives the current name, or the empty text.
    bool isKeyAlias(const std::wstring& key, std::wstring& target);

    /// The report that logConfig() writes. A sensitive value is masked, except the value of an undefined key, which
    /// stands in the first bracket of its line as it is.
    std::wstring buildMasterReport() const;

private:
    bool isMarkedSensitive(const std::wstring& key) const;

    std::shared_ptr<ConfigValueImpl> findConfig(const FoldedKey& key);
    std::shared_ptr<ConfigValueImpl> findLive(const FoldedKey& key);
    const std::wstring* aliasTarget(const FoldedKey& key) const;

    LiveValues liveValues_;
    SensitiveKeySet sensitiveKeys_;
    KeyFilter keyAliasFilter_;
    KeyedValues keyAliases_{keyAliasFilter_};
};
