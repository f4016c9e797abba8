// When TftpConfigStore downloads, and how: from a change of the server details to the report to the observers.

#include <algorithm>
#include <optional>
#include <utility>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "chain/SensitiveKeySecuringUtility.h"
#include "quill/FunctionTask.h"
#include "quill/StringUtils.h"
#include "quill/ThreadUtils.h"
#include "remote/DownloadDecision.h"
#include "remote/TftpConfigStore.h"
#include "tessel/SecureStringUtils.h"
#include "xml/XmlConfigParser.h"

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;
using tessel::SecureStringUtils;

namespace {

/// Chooses the timeout of transfers: true for 10 seconds, false for 3.
std::atomic<bool> HTTP_REQUEST_TIMEOUT = false;

constexpr std::uint32_t FIRST_SECURE_VERSION = 11;

void selectTimeout(bool longer) { HTTP_REQUEST_TIMEOUT.store(longer, std::memory_order_relaxed); }

long timeoutSeconds() { return HTTP_REQUEST_TIMEOUT.load(std::memory_order_relaxed) ? 10 : 3; }

bool isServerKey(const std::wstring& key) {
    const std::wstring* const keys[] = {
        &ConfigStoreConstants::TFTP_SERVER_1_KEY, &ConfigStoreConstants::TFTP_SERVER_2_KEY,
        &ConfigStoreConstants::TFTP_SERVER_3_KEY, &ConfigStoreConstants::CONFIGURATION_FILE_KEY};
    return std::any_of(std::begin(keys), std::end(keys),
                       [&key](const std::wstring* known) { return caseInsensitiveStringEquals(key, *known); });
}

/// Sets an event at the end of a scope, also if a client throws out of it.
class ReadyScope {
public:
    explicit ReadyScope(tessel::Event& ready) : ready_(ready) {}
    ~ReadyScope() { ready_.set(); }

    ReadyScope(const ReadyScope&) = delete;
    ReadyScope& operator=(const ReadyScope&) = delete;

private:
    tessel::Event& ready_;
};

/// Marks this thread as the one that tells the observers.
class TellingScope {
public:
    explicit TellingScope(std::atomic<std::thread::id>& tellingThread)
        : tellingThread_(tellingThread),
          before_(tellingThread.exchange(std::this_thread::get_id(), std::memory_order_acq_rel)) {}
    ~TellingScope() { tellingThread_.store(before_, std::memory_order_release); }

    TellingScope(const TellingScope&) = delete;
    TellingScope& operator=(const TellingScope&) = delete;

private:
    std::atomic<std::thread::id>& tellingThread_;
    const std::thread::id before_;
};

}  // namespace

/// A task of the pool that will process the oldest waiting details. One that the pool drops takes the newest with it,
/// so that there are always as many details as errands.
class TftpConfigStore::PoolErrand {
public:
    explicit PoolErrand(std::shared_ptr<TftpConfigStore> store)
        : store_(std::move(store)), work_(store_->journal_->beginWork()) {}

    ~PoolErrand() {
        if (!done_) {
            store_->waitingDetails_.update([](auto& waiting) { waiting.pop_back(); });
        }
    }

    PoolErrand(const PoolErrand&) = delete;
    PoolErrand& operator=(const PoolErrand&) = delete;

    void run() {
        done_ = true;
        store_->processOldestWaitingDetails(store_);
    }

private:
    const std::shared_ptr<TftpConfigStore> store_;
    const DownloadJournal::Work work_;
    bool done_ = false;
};

void TftpConfigStore::onConfigAddedOrUpdated(std::wstring key, std::wstring /*value*/, std::wstring /*originalValue*/,
                                             bool /*isOverridden*/, bool /*isDefined*/, std::wstring valueStoreName,
                                             std::wstring /*originalValueStoreName*/, bool /*silent*/) {
    if (caseInsensitiveStringEquals(valueStoreName, toWideString(name_)) || !isServerKey(key)) {
        return;
    }
    TftpServerDetails now;
    if (!readServerDetails(now) || !DownloadDecision::haveChanged(lastServerDetails_.get(), now, isTftpConfigured())) {
        return;
    }
    tftpConfigured_.store(true, std::memory_order_relaxed);
    const bool allowed = shouldAttemptDownload(now.server1, now.server2, now.server3, now.file);
    lastServerDetails_.update([&now](TftpServerDetails& last) {
        last = {now.server1, now.server2, now.server3, now.file.empty() ? last.file : now.file};
    });
    if (allowed) {
        storeReady_.reset();
        postServerDetails(std::move(now));
    }
}

bool TftpConfigStore::readServerDetails(TftpServerDetails& details) const {
    const std::shared_ptr<ConfigFeatureSet> featureSet = featureSetFor("onConfigAddedOrUpdated");
    if (featureSet == nullptr) {
        return false;
    }
    const auto read = [&featureSet](const std::wstring& key) {
        std::wstring value;
        std::wstring storeName;
        bool usedOtherKeyName = false;
        const bool found = featureSet->getConfig(key, value, storeName, usedOtherKeyName, false);
        return found ? value : std::wstring();
    };
    details.server1 = read(ConfigStoreConstants::TFTP_SERVER_1_KEY);
    details.server2 = read(ConfigStoreConstants::TFTP_SERVER_2_KEY);
    details.server3 = read(ConfigStoreConstants::TFTP_SERVER_3_KEY);
    details.file = read(ConfigStoreConstants::CONFIGURATION_FILE_KEY);
    return true;
}

bool TftpConfigStore::shouldAttemptDownload(std::wstring server1, std::wstring server2, std::wstring server3,
                                            std::wstring file) {
    const bool debug = TesselLog_isDebugEnabled(logger());
    const DownloadDecision::Decision decision =
        DownloadDecision::decide({lastServerDetails_.get(),
                                  lastSuccessfulServer_.get(),
                                  {std::move(server1), std::move(server2), std::move(server3), std::move(file)}},
                                 debug);
    if (decision.level < 5 || debug) {
        TesselLog(logger(), decision.level, __FILE__, __LINE__, "shouldAttemptDownload", decision.reason);
    }
    return decision.allowed;
}

bool TftpConfigStore::hasServerAlreadyBeenSuccessful(const std::wstring& address) const {
    return caseInsensitiveStringEquals(address, lastSuccessfulServer_.get());
}

void TftpConfigStore::postServerDetails(TftpServerDetails details) {
    // The pool may run its tasks in another order than they were given, and the newest details must win: a task takes
    // the oldest that wait, not those that it was posted for.
    waitingDetails_.update([&details](auto& waiting) { waiting.push_back(std::move(details)); });
    const auto errand = std::make_shared<PoolErrand>(shared_from_this());
    QuillCoreUtils::ThreadUtils::runInThreadPool([errand] { errand->run(); }, "processTftpInfoChanged task");
}

void TftpConfigStore::processOldestWaitingDetails(const std::shared_ptr<TftpConfigStore>& self) {
    const tessel::ScopedLock lock(downloadMutex_);
    const TftpServerDetails details = waitingDetails_.update([](auto& waiting) {
        TftpServerDetails oldest = std::move(waiting.front());
        waiting.pop_front();
        return oldest;
    });
    processTftpInfoChanged(details.server1, details.server2, details.server3, self);
}

void TftpConfigStore::processTftpInfoChanged(std::wstring server1, std::wstring server2, std::wstring server3,
                                             std::shared_ptr<TftpConfigStore> /*self*/) {
    const tessel::ScopedLock lock(downloadMutex_);
    if (!restartRunningCycle(getUniqueServerQueue({toString(server1), toString(server2), toString(server3)}))) {
        beginCycle(false);
    }
}

bool TftpConfigStore::restartRunningCycle(std::deque<std::string> queue) {
    // In one step: a forced cycle may take its next address, or end, at this moment. What it starts afterwards comes
    // from the new queue and must not be cancelled.
    const tessel::ScopedLock lock(queueMutex_);
    serverQueue_ = std::move(queue);
    if (queryState() == NOT_STARTED || queryState() == FINISHED) {
        return false;
    }
    setState(RESTART_PENDING);
    downloader_->CancelCurrentTransfer();
    return true;
}

void TftpConfigStore::attemptDownloadFromCachedAddress() {
    {
        // Read and put in one step: newer details that are processed meanwhile keep their queue.
        const tessel::ScopedLock lock(queueMutex_);
        const TftpServerDetails last = lastServerDetails_.get();
        if (last.server1.empty() && last.server2.empty() && last.server3.empty()) {
            return;
        }
        storeReady_.reset();
        tftpConfigured_.store(true, std::memory_order_relaxed);
        serverQueue_ = getUniqueServerQueue({toString(last.server1), toString(last.server2), toString(last.server3)});
    }
    beginCycle(true);
}

std::deque<std::string> TftpConfigStore::getUniqueServerQueue(const std::vector<std::string>& addresses) {
    std::set<std::string> known;
    std::deque<std::string> queue;
    for (const std::string& address : addresses) {
        if (!address.empty() && known.insert(address).second) {
            queue.push_back(address);
        }
    }
    return queue;
}

void TftpConfigStore::beginCycle(bool forced) {
    const DownloadJournal::Work work = journal_->beginWork();
    journal_->beginCycle(forced);
    attemptTftpFileDownload();
}

void TftpConfigStore::attemptTftpFileDownload() {
    const DownloadJournal::Work work = journal_->beginWork();
    const std::optional<std::string> address = takeNextAddress();
    if (!address.has_value()) {
        endCycleWithoutAddress();
        return;
    }
    const Source source = findSource(*address);
    if (source.url.empty()) {
        // Only a forced download goes on from here; the addresses that are left in the queue are of no use without a
        // version either.
        TesselLog(logger(), 3, __FILE__, __LINE__, "attemptTftpFileDownload",
                  std::string("No attempt will be made to download TFTP config."));
        journal_->endCycle(DownloadJournal::CycleEnd::Stalled, 0);
        return;
    }
    startTransfer(*address, source);
}

std::optional<std::string> TftpConfigStore::takeNextAddress() {
    const tessel::ScopedLock lock(queueMutex_);
    setState(IN_PROGRESS);
    if (serverQueue_.empty()) {
        return std::nullopt;
    }
    std::string front = std::move(serverQueue_.front());
    serverQueue_.pop_front();
    return front;
}

void TftpConfigStore::endCycleWithoutAddress() {
    TesselLog(logger(), 3, __FILE__, __LINE__, "attemptTftpFileDownload",
              std::string("Failed to download TFTP config. No TFTP server address available in server queue."));
    bool ended = false;
    {
        const tessel::ScopedLock lock(valuesMutex_);
        configValues_.clear();
        ended = finishUnlessRestarted();
        if (ended) {
            storeReady_.set();
        }
    }
    if (ended) {
        journal_->endCycle(DownloadJournal::CycleEnd::Exhausted, 0);
    } else {
        beginCycle(false);
    }
}

bool TftpConfigStore::finishUnlessRestarted() {
    // New details that come while a forced cycle runs out of addresses rely on it to go on with theirs.
    const tessel::ScopedLock lock(queueMutex_);
    if (queryState() == RESTART_PENDING) {
        return false;
    }
    setState(FINISHED);
    return true;
}

void TftpConfigStore::startTransfer(const std::string& address, const Source& source) {
    const long timeout = timeoutSeconds();
    TesselLog(logger(), 4, __FILE__, __LINE__, "attemptTftpFileDownload",
              "*-----* Downloading file from: " + source.url + " with a timeout of " + std::to_string(timeout) +
                  " seconds.");
    DownloadJournal::Attempt record;
    record.address = address;
    record.url = source.url;
    record.version = source.version;
    record.timeoutSeconds = timeout;
    const std::uint64_t attempt = journal_->beginAttempt(std::move(record));
    const auto completion = [self = shared_from_this(), address, attempt,
                             work = journal_->beginWork()](std::string& body, HttpDownloadResult result) {
        self->endTransfer(body, result, address, attempt, self);
    };
    downloader_->DownloadToString(source.url, HttpDownloader::HttpDownloader::Progress(), completion, timeout);
}

std::string TftpConfigStore::getTftpUrl(const std::string& address) { return findSource(address).url; }

TftpConfigStore::Source TftpConfigStore::findSource(const std::string& address) {
    const TftpServerDetails last = lastServerDetails_.get();
    // Whichever address is downloaded from, any of the three may be asked for the version.
    const std::int32_t version =
        udsVersionQuery_->getUdsVersion(toString(last.server1), toString(last.server2), toString(last.server3));
    if (version == 0) {
        return {};
    }
    const bool secure = static_cast<std::uint32_t>(version) >= FIRST_SECURE_VERSION;
    selectTimeout(secure);
    TesselLog(logger(), 4, __FILE__, __LINE__, "getTftpUrl",
              std::string(secure ? "The Tftp version is 11.0 or greater (" : "The Tftp version is less than 11.0 (") +
                  std::to_string(version) + "). Setting protocol to " + (secure ? "HTTPS" : "HTTP") +
                  " and request timeout to " + std::to_string(timeoutSeconds()) + " seconds.");
    const std::string file = toString(last.file);
    const std::string url = secure ? ConfigStoreConstants::HTTPS_PROTOCOL_STRING + address +
                                         ConfigStoreConstants::HUBM_SECURE_TFTP_PORT_STRING + file
                                   : ConfigStoreConstants::HTTP_PROTOCOL_STRING + address +
                                         ConfigStoreConstants::HUBM_TFTP_PORT_STRING + file;
    return {url, version};
}

void TftpConfigStore::onDownloadComplete(std::string& body, HttpDownloadResult result, std::string address,
                                         std::shared_ptr<TftpConfigStore> self) {
    endTransfer(body, result, address, 0, self);
}

void TftpConfigStore::endTransfer(std::string& body, HttpDownloadResult result, const std::string& address,
                                  std::uint64_t attempt, const std::shared_ptr<TftpConfigStore>& self) {
    using End = DownloadJournal::AttemptEnd;
    const tessel::ScopedLock lock(downloadMutex_);
    const QueryState state = queryState();
    const bool success = result == HttpDownloader::HttpDownloadResultEnum::Success;
    const bool wanted = state != CANCELLED && state != RESTART_PENDING;
    journal_->endAttempt(attempt, !success ? End::Failed : wanted ? End::Delivered : End::Dropped, result);
    if (success && wanted) {
        takeFile(body, address, self);
        return;
    }
    // Nobody reads what came, and it may hold secrets.
    SecureStringUtils::TesselZeroString(body);
    if (state == CANCELLED) {
        endCancelled(address);
        return;
    }
    if (!success) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "onDownloadComplete",
                  "Download of TFTP File failed for server " + address + ".........");
    } else {
        TesselLog(logger(), 4, __FILE__, __LINE__, "onDownloadComplete",
                  std::string("New TFTP file provided canceling query and trying new details"));
    }
    if (state == RESTART_PENDING) {
        beginCycle(false);
    } else {
        attemptTftpFileDownload();
    }
}

void TftpConfigStore::endCancelled(const std::string& address) {
    TesselLog(logger(), 4, __FILE__, __LINE__, "onDownloadComplete",
              "Download of TFTP File was cancelled for server " + address + ".........");
    clearValues();
    setState(FINISHED);
    storeReady_.set();
    journal_->endCycle(DownloadJournal::CycleEnd::Exhausted, 0);
}

void TftpConfigStore::takeFile(std::string& body, const std::string& address,
                               const std::shared_ptr<TftpConfigStore>& self) {
    TesselLog(logger(), 4, __FILE__, __LINE__, "onDownloadComplete",
              "Downloading of TFTP file complete for server " + address + ".........");
    // A file that cannot be parsed counts as delivered, too: it would be no better the next time.
    lastSuccessfulServer_.set(toWideString(address));
    const DownloadJournal::Work work = journal_->beginWork();
    const std::vector<std::wstring> previousKeys = takeValues(body);
    fireOnConfigDownloaded(previousKeys, self);
    TesselLog(logger(), 4, __FILE__, __LINE__, "onDownloadComplete",
              std::string("Config updated with TFTP server information.........##"));
}

std::vector<std::wstring> TftpConfigStore::takeValues(std::string& body) {
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    const bool parsed = XmlConfigParser::readFromMemory(body, values, sensitiveKeys);
    SecureStringUtils::TesselZeroString(body);
    if (!parsed) {
        clearValues();
        setState(FINISHED);
        journal_->endCycle(DownloadJournal::CycleEnd::Unreadable, 0);
        return {};
    }
    SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(values);
    // Before anybody can read the values: the report of an earlier download may be writing the cache at this moment,
    // and a secret must not get there because its key is not marked yet.
    setSensitiveKeys(sensitiveKeys);
    std::vector<std::wstring> previousKeys;
    KeyedValues::Entries previous;  // end without the lock
    const std::size_t count = values.size();
    {
        const tessel::ScopedLock lock(valuesMutex_);
        previousKeys = getKeys();
        previous = configValues_.exchange(std::move(values));
    }
    logConfigMap(sensitiveKeys);
    setState(FINISHED);
    journal_->endCycle(DownloadJournal::CycleEnd::Delivered, count);
    return previousKeys;
}

void TftpConfigStore::clearValues() {
    const tessel::ScopedLock lock(valuesMutex_);
    configValues_.clear();
}

void TftpConfigStore::fireOnConfigDownloaded(std::vector<std::wstring> keys, std::shared_ptr<TftpConfigStore> self) {
    const std::shared_ptr<ServicesDispatcher> dispatcher = factory_->getServicesDispatcher();
    if (dispatcher == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "fireOnConfigDownloaded",
                  std::string("There is no dispatcher, the observers are not told."));
        storeReady_.set();
        return;
    }
    if (!dispatcher->checkForUpdateAccess()) {
        const auto again = [self, keys, work = journal_->beginWork()] { self->fireOnConfigDownloaded(keys, self); };
        dispatcher->enqueue(
            std::make_shared<QuillCoreUtils::FunctionTask>(again, "TftpConfigStore::fireOnConfigDownloaded"));
        return;
    }
    tellObservers(keys);
}

TftpConfigStoreObserver* TftpConfigStore::observerAfter(TftpConfigStoreObserver* observer) {
    return observers_.update([observer](const auto& all) {
        const auto next = all.upper_bound(observer);
        return next == all.end() ? nullptr : *next;
    });
}

void TftpConfigStore::tellObservers(const std::vector<std::wstring>& keys) {
    const tessel::ScopedLock lock(observerMutex_);
    const ReadyScope readyAfterwards(storeReady_);
    const TellingScope telling(tellingThread_);
    // Observers may come and go from inside a call: the place is held by the pointer, not by an iterator.
    TftpConfigStoreObserver* observer = nullptr;
    while ((observer = observerAfter(observer)) != nullptr) {
        observer->onTftpConfigDownloaded(keys);
    }
}
