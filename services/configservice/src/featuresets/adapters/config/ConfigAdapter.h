#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "CachingGate.h"
#include "ConfigFeatureSet.h"
#include "EdgeWatch.h"
#include "FeatureSetLock.h"
#include "GuardedValue.h"
#include "LockRanks.h"
#include "ReportGate.h"
#include "chain/ConfigMap.h"
#include "chain/ConfigStoreManager.h"
#include "chain/ConfigStoreManager_Observer.h"
#include "chain/KeyReport.h"
#include "contracts/PropertyNotifier.h"
#include "remote/TftpConfigStoreObserver.h"
#include "system/ResetDataProvider.h"
#include "system/SystemMonitor.h"
#include "system/SystemService.h"
#include "tessel/Mutex.h"
#include "tessel/TesselLogger.h"
#include "unified/FeatureSetAdapter.h"
#include "unified/UnifiedFactory.h"

class CacheConfigStore;
class ConfigServiceImpl;
class DownloadJournal;
class LocalFileConfigStore;
class TftpConfigStore;
class XmlConfigStore;

/// The feature set: owns the chain, decides which stores exist and when, and passes the chain's reports to the service.
///
/// Must be held by a shared reference before it is started; InjectConfigService() sees to that. Any thread.
///
/// The lifecycle operations (start, stop, destroy, refresh, data reset, and the switching of the remote source) run one
/// at a time. Two of them wait for the dispatcher thread: the start, when called on another one, and the stop. Called
/// from inside a notification, which holds the locks of the chain, a lifecycle operation runs at once if none is under
/// way; otherwise it is queued and runs on the dispatcher thread after the notification. That holds for one that this
/// very thread is at, too: a notification may come from the midst of it. A data reset is always queued then.
///
/// Lock order: the lifecycle mutex, then the remote store's observer lock, then the locks of the chain.
class ConfigAdapter : public FeatureSetAdapter,
                      public ConfigFeatureSet,
                      public ConfigStoreManager_Observer,
                      public TftpConfigStoreObserver,
                      public TesselSystemMonitor::PowerEventObserver,
                      public std::enable_shared_from_this<ConfigAdapter>,
                      public ProviderResetDataCallback,
                      public KeyReportReceiver {
public:
    /// Builds the chain from the files of the host's directories; reads work when this returns.
    /// Dispatcher thread, after the ConfigService has been given to the factory.
    explicit ConfigAdapter(const std::shared_ptr<UnifiedFactory>& factory);

    /// Lets go of everyone who might call back. Does not stop the feature set.
    ~ConfigAdapter() override;

    ConfigAdapter(const ConfigAdapter&) = delete;
    ConfigAdapter& operator=(const ConfigAdapter&) = delete;

    // The framework's side. Identifiers other than CONFIG_SERVICE_ID are ignored; the events are not looked at.

    void StartFeatureSet(unsigned featureSetId, ServiceEvents events) override;

    /// Tries once more to write what the user's file, or that of a provisioning link, would not take.
    void StopFeatureSet(unsigned featureSetId, ServiceEvents events) override;

    /// Tries once more to write what the user's file, or that of a provisioning link, would not take, and ends the life
    /// of the stores on disk: what is queued to be written is not. The remote source, the power observer and the
    /// connection to the user profile are left alone. May be followed by a start.
    void Destroy() override;

    /// Waits for a lifecycle operation that is under way, unless called from inside a notification.
    bool IsFeatureSetStarted(unsigned featureSetId) override;
    bool IsFeatureSetProvisioned(unsigned featureSetId) override;
    std::vector<unsigned> GetFeatureSetDependencies(unsigned featureSetId) override;

    // The clients' side; see ConfigFeatureSet.

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

    // Reports of the chain: on the dispatcher thread the service has been told when these return, elsewhere it is told
    // later, on the dispatcher thread, in the order of the reports. Nothing is filtered or merged.

    void onFireIfRequired(std::wstring key) override;
    void onSensitiveKeyAddedOrUpdated(std::wstring key) override;
    void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                bool silent) override;
    void takeReport(const KeyReport& report) override;
    void fireIfRequired(const FoldedKey& key) override;
    void expect(std::span<const FoldedKey> keys) override;

    // Other reports.

    /// First content puts the remote store into the chain; new content updates it there. Both write its cached copy.
    void onTftpConfigDownloaded(std::vector<std::wstring> keys) override;

    /// Ends the stores when the machine powers down.
    void onPowerEvent(TesselSystemMonitor::PowerEventTypeEnum::PowerEventType type) override;

    /// Forgets the user's data: takes their stores out of the chain, removes every file of the configuration directory
    /// and its sub-folders but those of the installation, and builds the stores up anew. Folders stay, links go and
    /// what they lead to stays, and a file that cannot be removed is left. The remote source is off afterwards.
    ///
    /// Done when this returns, unless called from inside a notification. What is queued or under way at that moment
    /// writes nothing back: persist tasks, downloads and their reports, the caching of a store that is being added. A
    /// store that joins in the midst of it is cached at its end, if it is still in the chain.
    void InvokeResetData() override;

    // For the module itself.

    /// Tells the service the table of renamed keys.
    void notifyConfigKeyAliases();

    /// Works out "Telephony_Enabled", "Voicemail_Enabled" and "Meetings_Enabled" anew from the servers that are
    /// configured. A flag that someone has set on purpose is left alone.
    void SetEnabledServices();

    /// Enters the adapter at the host's provider of data resets. Dispatcher thread.
    void registerResetDataCallback();
    void unRegisterResetDataCallback();

    /// In edge mode, and while no telephony server is connected: watches the host's list of server health for the
    /// first one that connects. Moves itself to the dispatcher thread.
    void checkEdgeReady();

    /// Takes in the telephony entries that were missing so far. The notifier's thread; nothing once the watch has
    /// ended.
    void onServerHealthInformationListChanged();

    /// Asks for the server's file once more if the entry is connected, and ends the watch. Moves itself to the
    /// dispatcher thread, which the download may then block; see TftpConfigStore::attemptDownloadFromCachedAddress().
    /// @param entry null is ignored.
    void onTelephonyConnectionStatusChanged(std::shared_ptr<ServerHealthInformation> entry);

    /// Store name to priority text, from the text of the key "PrimaryConfigStores".
    static ConfigMap getCachedConfigStorePrioityMap(const std::wstring& list);

    /// Puts the cached copy of each listed store into the chain; 40 where the priority is no number.
    void addCachedConfigStores(const std::wstring& list);

    /// Does nothing: old copies are left where they are.
    void removeOldCacheConfigStores(const std::shared_ptr<std::vector<std::string>>& names, const ConfigMap& map);

    /// Number of XML files in the cache directory.
    static int getNumCacheStores();

    // Whether a store's name begins so, case ignored.

    static bool isHcmConfigStore(std::string name);
    static bool isPresenceConfigStore(std::string name);
    static bool isTftpConfigStore(std::string name);
    static bool isAUCILyncRegistryConfigStore(std::string name);

    /// The chain, for the tool and for tests that look inside.
    const std::shared_ptr<ConfigStoreManager>& getConfigStoreManager() const { return configStoreManager_; }

    /// The remote store while its source is on, else null; for the tool and for tests that look inside.
    std::shared_ptr<TftpConfigStore> getTftpConfigStore() const { return tftpConfigStore_.get(); }

    /// What the downloads of this adapter's remote stores have done, one after the other; never null.
    const std::shared_ptr<DownloadJournal>& getDownloadJournal() const { return downloadJournal_; }

private:
    friend struct ConfigAdapterTestAccess;

    using Connection = std::weak_ptr<PropertyNotifierConnection>;
    using Operation = void (ConfigAdapter::*)();

    static TesselLogger* logger();
    bool isStarted() const { return started_.load(std::memory_order_relaxed); }

    /// The value of a key by getConfig(); empty if no store holds it, whatever a store leaves behind on a miss.
    std::wstring readConfig(const std::wstring& key);
    void logNotStarted(const char* function, const std::string& consequence) const;

    /// What a client asks of the chain. @return what the change returns; false without a chain.
    template <typename Change>
    bool change(const Change& change);

    // Lifecycle. The second group expects featureSetMutex_ to be held.

    FeatureSetLock lockFeatureSet();
    void runExclusively(const std::string& name, Operation operation);
    bool isMyTurn(const FeatureSetLock& lock) const;
    boost::function<void()> weakly(Operation operation);
    std::shared_ptr<SystemService> findSystemService(const char* function, const std::string& consequence);
    std::shared_ptr<ResetDataProvider> findResetDataProvider(const char* function, const std::string& consequence);
    void onUserProfileChanged();

    void startConfigFeatureSet();
    void stopConfigFeatureSet();
    void destroyStores();
    void refresh();
    void registerResetDataCallbackOnce();
    void connectUserProfile();
    bool noteUserProfile();
    /// stopTftpConfigSource() as a step of another operation.
    void stopTftpConfigSourceInOperation();
    void resetChainOnDispatcherThread();

    // Data reset. featureSetMutex_ is held.

    void resetData();
    void forgetUsersData();
    void resetUserStores();
    void voidWhatIsUnderWay();
    void removeFiles();
    void cacheIfStillThere(const std::shared_ptr<ConfigStore>& store);
    static void removeFilesFromDirectory(const std::string& directory);
    std::vector<std::shared_ptr<ConfigStore>> endDataReset();

    // Initial stores.

    void addInitialConfigStores();
    void addInMemoryStore();
    void addLocalFileStore();
    void persistLocalFileStore();
    /// The last chance of what could not be written when it was to be.
    void persistAgain();
    void addOverrideStore();
    void removeCustomServerValuesIfPolicySet();
    void initialiseTftpConfigStore();
    void switchTftpSourceOn();
    void switchTftpSourceOff();
    void detachTftpConfigStore();

    // Edge mode. Those that return a bool tell whether an entry is connected.

    void watchEdge(SystemService& service);
    /// @param listed receives those that the list has; the watch may have others from an earlier check.
    bool noteTelephonyEntries(const SystemService& service, EdgeWatch::Wait wait, EdgeWatch::Entries& listed);
    void watchServerHealthList(SystemService& service, EdgeWatch::Wait wait);
    void watchTelephonyStatus(const EdgeWatch::Entry& entry, EdgeWatch::Telephony which, EdgeWatch::Wait wait);
    /// An entry of the list may have connected before the notifier was there to tell it.
    void lookAgainAt(const EdgeWatch::Entry& entry, EdgeWatch::Wait wait);
    boost::function<void()> statusChangeOf(const EdgeWatch::Entry& entry, EdgeWatch::Wait wait);
    void takeTelephonyStatus(const EdgeWatch::Entry& entry, EdgeWatch::Wait wait);
    bool takeInNewEntries(const SystemService& service, EdgeWatch::Wait wait);
    void downloadForTelephony();

    // Cached stores.

    /// Of a list with more than 256 entries only those make stores that have a file.
    void InitialiseCachedConfigStores();
    void initialiseCachedPresenceStore(const std::wstring& storeName, const std::wstring& priority);
    void initialiseProvisioningStore();
    std::shared_ptr<CacheConfigStore> findProvisioningStore();
    void addCachedConfigStore(std::string storeName, int priority);
    void removeFromCachedStorePriorityMap(const std::wstring& storeName);
    void updateCacheStorePriority(const std::string& storeName, int priority);
    void copyAllStoreValues(const std::shared_ptr<ConfigStore>& store, ConfigMap& values);
    bool isSensitiveUnderAnyName(const std::wstring& key);

    /// Makes a change by which a store joins the chain. @return see CachingGate::noteJoin().
    std::shared_ptr<const CachingPermit> join(const std::shared_ptr<ConfigStore>& store,
                                              const std::function<void()>& change);

    void addStoreAndItsCopy(const std::shared_ptr<ConfigStore>& store);
    bool removeStoreAndItsCopy(const std::string& name);

    /// Whether this very store is in the chain.
    bool isInChain(const std::shared_ptr<ConfigStore>& store);

    /// Writes nothing without the permit. Only a store that is still in the chain takes its cached copy's place there.
    void cacheStoreOnConfigStoreAdded(const std::shared_ptr<ConfigStore>& store, const CachingPermit& permit);
    void writeCacheFile(ConfigStore& store, const ConfigMap& values, const CachingPermit& permit);
    void waitForCacheFileThatIsBegun();
    void waitForChainedStoresReady(const std::string& storeName, const std::set<std::string>& dependencies);
    void updateExistingConfigStore(const std::shared_ptr<ConfigStore>& store, const std::vector<std::wstring>& keys);

    // Enablement flags.

    void SetTelephonyEnabled();
    void SetVoicemailEnabled();
    void SetMeetingsEnabled();
    bool isExplicitlySet(const std::wstring& flagKey, const char* function);
    std::wstring readServer(const std::wstring& key);

    const std::shared_ptr<UnifiedFactory> factory_;
    tessel::Mutex featureSetMutex_{LockRanks::LIFECYCLE};
    bool isOperating_ = false;  // under featureSetMutex_
    std::atomic<bool> started_ = false;
    std::atomic<bool> tftpSourceStarted_ = false;
    GuardedValue<Connection> userProfileConnection_;
    std::wstring lastLoadedUserProfile_;  // under featureSetMutex_
    std::atomic<bool> resetDataCallbackRegistered_ = false;
    GuardedValue<std::shared_ptr<TftpConfigStore>> tftpConfigStore_;
    const std::shared_ptr<DownloadJournal> downloadJournal_;
    std::shared_ptr<ConfigStoreManager> configStoreManager_;
    const std::shared_ptr<ConfigServiceImpl> configService_;
    ChainedStoreMap chainedStores_;  // constant after construction
    EdgeWatch edgeWatch_;

    std::shared_ptr<LocalFileConfigStore> localFileStore_;  // under featureSetMutex_
    std::shared_ptr<XmlConfigStore> overrideStore_;         // under featureSetMutex_
    CachingGate cachingGate_;
    tessel::Mutex cacheFileMutex_{LockRanks::CACHE_FILES};  ///< held while a cache file is written
    const std::shared_ptr<ReportGate> reportGate_;
};
