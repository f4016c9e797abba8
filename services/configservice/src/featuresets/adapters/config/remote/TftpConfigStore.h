#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ConfigStore.h"
#include "GuardedValue.h"
#include "LockRanks.h"
#include "chain/ConfigMap.h"
#include "chain/ConfigStoreManager_Observer.h"
#include "chain/FoldedLookup.h"
#include "chain/KeyedValues.h"
#include "http/HttpDownloader.h"
#include "remote/DownloadJournal.h"
#include "remote/TftpConfigStoreObserver.h"
#include "remote/TftpServerDetails.h"
#include "tessel/Event.h"
#include "tessel/Mutex.h"
#include "tessel/TesselLogger.h"
#include "uds/UdsVersionQuery.h"
#include "unified/UnifiedFactory.h"

class ConfigFeatureSet;

/// The values of the administrator's configuration file on the call-control server: read-only towards the user, not
/// machine-local, and with a copy kept on disk. The adapter puts the store into the chain after its first download.
///
/// The file travels over HTTP or HTTPS from the server's TFTP service ports. Any thread, unless an operation says
/// otherwise. Must be held by a shared reference.
class TftpConfigStore : public ConfigStore,
                        public FoldedLookup,
                        public ConfigStoreManager_Observer,
                        public std::enable_shared_from_this<TftpConfigStore> {
public:
    /// Where the download stands. The numbers are part of the log.
    enum QueryState : std::int32_t {
        NOT_STARTED = 0,      ///< no cycle has begun
        IN_PROGRESS = 1,      ///< a cycle is running, or has stalled without a version of the server
        CANCELLED = 2,        ///< never assigned; a transfer that ends in this state would empty the store
        RESTART_PENDING = 3,  ///< new server details arrived during a cycle
        FINISHED = 4,         ///< the last cycle has ended, with or without a file
    };

    /// Also removes the copy of the server's file that earlier versions kept in the configuration directory.
    /// @param server1, server2, server3 addresses; empty for none. @param file its name on the server.
    /// @param journal told of what the downloads do; null: one of the store's own.
    TftpConfigStore(std::shared_ptr<UnifiedFactory> factory, std::string name, std::int32_t priority,
                    std::wstring server1, std::wstring server2, std::wstring server3, std::wstring file,
                    std::shared_ptr<DownloadJournal> journal = nullptr);

    /// A miss for "CertificateValidationEnabled", whatever the file holds: the server cannot turn off the check of its
    /// own certificate. Before the first download has ended: answers all the same, with a level 4 line.
    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool lookUp(const FoldedKey& key, std::wstring& value) override;
    void expect(std::span<const FoldedKey> keys) override;

    /// Works although the store is read-only towards the chain. Always true.
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;
    bool removeValue(const std::wstring& key) override;

    /// Leaves the values alone, with a level 3 line.
    void removeAllValues() override;
    bool isReadOnly() override;
    std::string getName() override;
    std::int32_t getPriority() override;

    /// Writes nothing, with a level 3 line.
    void persistValues() override;
    void destroy() override;
    bool isLocal() override;

    /// Waits until a cycle of downloading has ended and its observers have been told, for at most 20 seconds. Returns
    /// at once from inside an observer's call: only its own end could end the wait. Always true.
    bool waitForStoreReady() override;
    bool shouldCacheConfigStore() override;

    /// Asks the whole chain, not this store. @param storeName receives the name of the store that answered. The flag
    /// is ignored. @return true if the value is not empty.
    virtual bool getConfigStoreValue(const std::wstring& key, std::wstring& value, std::wstring& storeName, bool flag);

    /// Reads the server details anew if one of the keys that hold them has changed, and starts a download in the
    /// background if that is worth it. A change that comes from this store's own values never does.
    void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                bool silent) override;
    void onFireIfRequired(std::wstring key) override;
    void onSensitiveKeyAddedOrUpdated(std::wstring key) override;

    /// True once any server details have been acted on.
    bool isTftpConfigured() const;

    /// Forgets the addresses and the file name, so that the next ones count as new. The values stay.
    void clearCachedAddresses();

    /// The addresses and the file name last seen, for tests and the tool.
    TftpServerDetails lastServerDetails() const;

    /// Downloads from the addresses last seen, whether or not that is due and whether or not a download runs. Without
    /// an address nothing happens. May ask servers for their version first, which blocks for up to 30 seconds.
    void attemptDownloadFromCachedAddress();

    // The decision and the engine, each for its own tests. Whoever reports a change of the chain or the end of a
    // transfer uses the operations above, or is a callback of the store's own.

    /// Whether the details deserve a download, with a line that tells why; see DownloadDecision.
    bool shouldAttemptDownload(std::wstring server1, std::wstring server2, std::wstring server3, std::wstring file);

    /// Case ignored.
    bool hasServerAlreadyBeenSuccessful(const std::wstring& address) const;

    /// Thread pool. Begins a cycle with these addresses, or cancels the transfer that runs, whose end then begins it.
    /// @param self keeps the store alive.
    void processTftpInfoChanged(std::wstring server1, std::wstring server2, std::wstring server3,
                                std::shared_ptr<TftpConfigStore> self);

    /// The addresses that are not empty, each once, in order; case counts.
    static std::deque<std::string> getUniqueServerQueue(const std::vector<std::string>& addresses);

    /// Goes on with the next address of the queue; ends the cycle if there is none.
    void attemptTftpFileDownload();

    /// The file's URL, http below version 11 and https from there on; empty if no version could be found. May block.
    std::string getTftpUrl(const std::string& address);

    /// A thread of the transport. @param body wiped here if it was taken.
    void onDownloadComplete(std::string& body, HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult result,
                            std::string address, std::shared_ptr<TftpConfigStore> self);

    /// Tells the observers on the dispatcher thread, queued if this is another one.
    void fireOnConfigDownloaded(std::vector<std::wstring> keys, std::shared_ptr<TftpConfigStore> self);

    /// For tests and the tool.
    QueryState queryState() const { return currentQueryState_.load(std::memory_order_relaxed); }
    std::wstring lastSuccessfulServer() const { return lastSuccessfulServer_.get(); }
    const std::shared_ptr<DownloadJournal>& journal() const { return journal_; }

    /// @param observer told of each finished download until it is removed; counts once; null is ignored.
    void addObserver(TftpConfigStoreObserver* observer);

    /// Waits for a report that is under way on another thread. Null and an unknown observer are ignored.
    void removeObserver(TftpConfigStoreObserver* observer);

    /// Marks keys as sensitive in the feature set, renamed ones under both of their names.
    void setSensitiveKeys(const SensitiveKeySet& keys);

    /// Writes all values into one level 4 line, those of sensitive keys masked.
    /// @param sensitiveKeys counts besides what the feature set knows.
    void logConfigMap(const SensitiveKeySet& sensitiveKeys);

private:
    friend struct TftpConfigStoreTestAccess;

    class PoolErrand;
    using HttpDownloadResult = HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

    /// Where a file is to be had, once the server's version is known.
    struct Source {
        std::string url;  ///< empty if no version could be found
        std::int32_t version = 0;
    };

    static TesselLogger* logger();
    static void removeLegacyTftpCachedFile();

    /// The feature set, or null with a level 3 line. @param step what is skipped without one.
    std::shared_ptr<ConfigFeatureSet> featureSetFor(const char* step) const;

    /// The server details as the chain holds them now. @return false without a feature set.
    bool readServerDetails(TftpServerDetails& details) const;
    void postServerDetails(TftpServerDetails details);
    void processOldestWaitingDetails(const std::shared_ptr<TftpConfigStore>& self);

    void beginCycle(bool forced);

    /// Puts new addresses, and cancels what runs for a cycle that has not ended. @return false if none runs.
    bool restartRunningCycle(std::deque<std::string> queue);

    /// Enters IN_PROGRESS. @return nothing if the queue is empty.
    std::optional<std::string> takeNextAddress();
    void endCycleWithoutAddress();

    /// @return false if new details have come, which have to be gone on with.
    bool finishUnlessRestarted();
    Source findSource(const std::string& address);
    void startTransfer(const std::string& address, const Source& source);

    /// What onDownloadComplete() does. @param attempt its number in the journal, 0 for none.
    void endTransfer(std::string& body, HttpDownloadResult result, const std::string& address, std::uint64_t attempt,
                     const std::shared_ptr<TftpConfigStore>& self);
    void endCancelled(const std::string& address) TESSEL_REQUIRES(downloadMutex_);
    void takeFile(std::string& body, const std::string& address, const std::shared_ptr<TftpConfigStore>& self)
        TESSEL_REQUIRES(downloadMutex_);

    /// @return the keys that the values replace; empty if the body is no configuration document.
    std::vector<std::wstring> takeValues(std::string& body) TESSEL_REQUIRES(downloadMutex_);
    void clearValues();
    void tellObservers(const std::vector<std::wstring>& keys);

    /// The next greater one, so the first for null; null if there is none.
    TftpConfigStoreObserver* observerAfter(TftpConfigStoreObserver* observer);
    void setState(QueryState state) { currentQueryState_.store(state, std::memory_order_relaxed); }

    std::atomic<QueryState> currentQueryState_ = NOT_STARTED;
    const std::int32_t priority_;
    const std::string name_;
    GuardedValue<TftpServerDetails> lastServerDetails_;
    std::deque<std::string> serverQueue_ TESSEL_GUARDED_BY(queueMutex_);  ///< not yet tried in the current cycle
    GuardedValue<std::deque<TftpServerDetails>> waitingDetails_;  ///< for the pool, oldest first; one for each errand
    GuardedValue<std::wstring> lastSuccessfulServer_;
    KeyFilter filter_;
    KeyedValues configValues_ TESSEL_GUARDED_BY(valuesMutex_){filter_};
    tessel::Event storeReady_{false};
    unsigned long readyTimeoutMilliseconds_ = 20000;           ///< of waitForStoreReady(); only tests have another one
    tessel::Mutex downloadMutex_{LockRanks::DOWNLOAD};         ///< serialises the start and the end of cycles
    tessel::Mutex observerMutex_{LockRanks::DOWNLOAD_REPORT};  ///< held while the observers are told
    tessel::Mutex valuesMutex_{LockRanks::STORE_VALUES};
    /// For the queue, and the state where both change together.
    tessel::Mutex queueMutex_{LockRanks::SERVER_QUEUE};
    const std::shared_ptr<HttpDownloader::HttpDownloader> downloader_;
    std::atomic<bool> tftpConfigured_ = false;
    GuardedValue<std::set<TftpConfigStoreObserver*>> observers_;
    const std::shared_ptr<UnifiedFactory> factory_;
    const std::shared_ptr<DownloadJournal> journal_;
    const std::shared_ptr<UdsVersionQuery> udsVersionQuery_;
    std::atomic<std::thread::id> tellingThread_;  ///< the one that is inside the observers' calls
};
