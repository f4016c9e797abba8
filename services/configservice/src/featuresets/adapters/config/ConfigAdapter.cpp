#include "ConfigAdapter.h"

#include <utility>

#include "ConfigService.h"
#include "ConfigServiceImpl.h"
#include "ConfigStoreConstants.h"
#include "DisconnectProperty.h"
#include "InjectConfigService.h"
#include "quill/FunctionTask.h"
#include "quill/StringUtils.h"
#include "remote/DownloadJournal.h"
#include "stores/StaleTemporaries.h"

namespace {

const wchar_t* const LAST_LOADED_USER_PROFILE = L"LastLoadedUserProfile";

/// Sets a flag for the length of a scope, and puts back what it was.
class Turn {
public:
    Turn(bool& flag, bool value) : flag_(flag), former_(std::exchange(flag, value)) {}
    ~Turn() { flag_ = former_; }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    bool& flag_;
    const bool former_;
};

}  // namespace

ConfigAdapter::ConfigAdapter(const std::shared_ptr<UnifiedFactory>& factory)
    : factory_(factory),
      downloadJournal_(std::make_shared<DownloadJournal>()),
      configStoreManager_(std::make_shared<ConfigStoreManager>(factory)),
      configService_(std::dynamic_pointer_cast<ConfigServiceImpl>(factory->getService<ConfigService>())),
      reportGate_(std::make_shared<ReportGate>(factory->getServicesDispatcher())) {
    if (factory_->getServicesDispatcher() == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "ConfigAdapter",
                  std::string("No services dispatcher: the config service is not told of changes"));
    }
    notifyConfigKeyAliases();
    configStoreManager_->AddObserver(this);
    chainedStores_[QuillCoreUtils::toString(ConfigStoreConstants::PRESENCE_CONFIG_STORE_NAME)].insert(
        ConfigStoreConstants::TFTP_CONFIG_STORE_NAME);
    for (const std::wstring& key :
         {ConfigStoreConstants::ADDTIONAL_INFO, ConfigStoreConstants::AD_PASSWORD_KEY,
          ConfigStoreConstants::AD_USERNAME_KEY, ConfigStoreConstants::BDI_CONNECTION_PASSWORD_STRING,
          ConfigStoreConstants::BDI_CONNECTION_USERNAME_STRING, ConfigStoreConstants::BDI_CONNECTION_USERDN_STRING}) {
        ConfigAdapter::setKeySensitive(key);
    }
    StaleTemporaries::remove();
    addInitialConfigStores();
    addInMemoryStore();
    if (getNumCacheStores() > 0) {
        SetEnabledServices();
    }
}

ConfigAdapter::~ConfigAdapter() {
    configStoreManager_->RemoveObserver(this);
    detachTftpConfigStore();
    disconnectProperty(userProfileConnection_.get());
    edgeWatch_.end();
}

TesselLogger* ConfigAdapter::logger() {
    static TesselLogger* const logger = TesselLogger_getLogger("ConfigAdapter");
    return logger;
}

void ConfigAdapter::StartFeatureSet(unsigned featureSetId, ServiceEvents /*events*/) {
    if (featureSetId == CONFIG_SERVICE_ID) {
        runExclusively("ConfigAdapter::startConfigFeatureSet", &ConfigAdapter::startConfigFeatureSet);
    }
}

void ConfigAdapter::StopFeatureSet(unsigned featureSetId, ServiceEvents /*events*/) {
    if (featureSetId == CONFIG_SERVICE_ID) {
        runExclusively("ConfigAdapter::stopConfigFeatureSet", &ConfigAdapter::stopConfigFeatureSet);
    }
}

void ConfigAdapter::Destroy() { runExclusively("ConfigAdapter::Destroy", &ConfigAdapter::destroyStores); }

bool ConfigAdapter::IsFeatureSetStarted(unsigned featureSetId) {
    // Inside a notification the lock may be out of reach; the flag alone is the best answer then.
    const FeatureSetLock lock = lockFeatureSet();
    return featureSetId == CONFIG_SERVICE_ID && isStarted();
}

bool ConfigAdapter::IsFeatureSetProvisioned(unsigned featureSetId) { return featureSetId == CONFIG_SERVICE_ID; }

std::vector<unsigned> ConfigAdapter::GetFeatureSetDependencies(unsigned /*featureSetId*/) { return {}; }

FeatureSetLock ConfigAdapter::lockFeatureSet() {
    // Inside a notification this thread holds the locks of the chain, and whoever holds the mutex may want them.
    return {featureSetMutex_, factory_->getServicesDispatcher(),
            reportGate_->isInsideNotification() ? FeatureSetLock::IfBusy::GiveUp : FeatureSetLock::IfBusy::Wait};
}

void ConfigAdapter::runExclusively(const std::string& name, Operation operation) {
    // While this thread waits for its turn it may run what others wait for, and that may drop the last reference.
    const std::shared_ptr<ConfigAdapter> self = weak_from_this().lock();
    const FeatureSetLock lock = lockFeatureSet();
    if (isMyTurn(lock)) {
        const Turn turn(isOperating_, true);
        reportGate_->toTheEnd([&] { (this->*operation)(); });
        return;
    }
    const auto again = [weak = weak_from_this(), name, operation] {
        if (const auto adapter = weak.lock()) {
            adapter->runExclusively(name, operation);
        }
    };
    factory_->getServicesDispatcher()->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(again, name));
}

bool ConfigAdapter::isMyTurn(const FeatureSetLock& lock) const {
    // The mutex lets in the thread that has it. A client that is notified in the midst of an operation, and asks for
    // another one, would find the chain half changed; without a dispatcher there is no later to put it off to.
    return lock.isHeld() && (!isOperating_ || factory_->getServicesDispatcher() == nullptr);
}

boost::function<void()> ConfigAdapter::weakly(Operation operation) {
    return [weak = weak_from_this(), operation] {
        if (const auto adapter = weak.lock()) {
            ((*adapter).*operation)();
        }
    };
}

void ConfigAdapter::startConfigFeatureSet() {
    if (isStarted() || configStoreManager_ == nullptr) {
        return;
    }
    registerResetDataCallbackOnce();
    addInMemoryStore();
    addLocalFileStore();
    addOverrideStore();
    removeCustomServerValuesIfPolicySet();
    started_.store(true, std::memory_order_relaxed);
    TesselSystemMonitor::SystemMonitorFactory::getInstance()->addPowerEventObserver(shared_from_this());
    connectUserProfile();
    std::wstring profile;
    if (getConfig(LAST_LOADED_USER_PROFILE, profile, false)) {
        lastLoadedUserProfile_ = profile;
    }
}

void ConfigAdapter::registerResetDataCallbackOnce() {
    if (resetDataCallbackRegistered_.load(std::memory_order_relaxed)) {
        return;
    }
    const std::shared_ptr<ServicesDispatcher> dispatcher = factory_->getServicesDispatcher();
    if (dispatcher == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "startConfigFeatureSet",
                  std::string("No services dispatcher: the reset data callback is not registered"));
        return;
    }
    if (dispatcher->checkForUpdateAccess()) {
        registerResetDataCallback();
    } else {
        dispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(
            weakly(&ConfigAdapter::registerResetDataCallback), "ConfigAdapter::registerResetDataCallback"));
    }
}

std::shared_ptr<SystemService> ConfigAdapter::findSystemService(const char* function, const std::string& consequence) {
    std::shared_ptr<SystemService> service = factory_->getService<SystemService>();
    if (service == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, function, "No system service: " + consequence);
    }
    return service;
}

void ConfigAdapter::connectUserProfile() {
    const auto service = findSystemService("startConfigFeatureSet", "the user profile is not watched");
    if (service == nullptr) {
        return;
    }
    // After Destroy() the connection of the former start is still there.
    disconnectProperty(userProfileConnection_.get());
    userProfileConnection_.set(service->getSystemServiceNotifiers()->getUserProfileNotifier()->connect(
        weakly(&ConfigAdapter::onUserProfileChanged)));
}

bool ConfigAdapter::noteUserProfile() {
    const std::wstring profile = readConfig(LAST_LOADED_USER_PROFILE);
    const bool changed = profile != lastLoadedUserProfile_ && !lastLoadedUserProfile_.empty();
    lastLoadedUserProfile_ = profile;
    return changed;
}

void ConfigAdapter::onUserProfileChanged() {
    bool changed = false;
    {
        const FeatureSetLock lock = lockFeatureSet();
        if (!isMyTurn(lock)) {
            factory_->getServicesDispatcher()->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
                weakly(&ConfigAdapter::onUserProfileChanged), "ConfigAdapter::onUserProfileChanged"));
            return;
        }
        changed = noteUserProfile();
    }
    if (changed) {
        removeConfigStore(ConfigStoreConstants::TFTP_CONFIG_STORE_NAME);
    }
}

void ConfigAdapter::stopConfigFeatureSet() {
    if (!isStarted()) {
        return;
    }
    stopTftpConfigSourceInOperation();
    TesselSystemMonitor::SystemMonitorFactory::getInstance()->removePowerEventObserver(shared_from_this());
    disconnectProperty(userProfileConnection_.get());
    persistAgain();
    resetChainOnDispatcherThread();
    edgeWatch_.end();
    edgeWatch_.clearEntries();
    started_.store(false, std::memory_order_relaxed);
}

void ConfigAdapter::stopTftpConfigSourceInOperation() {
    // A part of the operation that is under way, and not one that has to wait for its end.
    const Turn part(isOperating_, false);
    stopTftpConfigSource();
}

void ConfigAdapter::resetChainOnDispatcherThread() {
    const std::shared_ptr<ServicesDispatcher> dispatcher = factory_->getServicesDispatcher();
    if (dispatcher == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "stopConfigFeatureSet",
                  std::string("No services dispatcher: the stores stay in the chain"));
        return;
    }
    const auto reset = [weak = std::weak_ptr<ConfigStoreManager>(configStoreManager_), gate = reportGate_] {
        if (const auto manager = weak.lock()) {
            gate->toTheEnd([&manager] { manager->reset(); });
        }
    };
    dispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(reset, "ConfigStoreManager::reset"));
}

void ConfigAdapter::destroyStores() {
    persistAgain();
    configStoreManager_->destroy();
    edgeWatch_.end();
    started_.store(false, std::memory_order_relaxed);
}

void ConfigAdapter::refreshConfigFeatureSet() {
    runExclusively("ConfigAdapter::refreshConfigFeatureSet", &ConfigAdapter::refresh);
}

void ConfigAdapter::refresh() {
    if (configStoreManager_ == nullptr) {
        return;
    }
    stopTftpConfigSourceInOperation();
    configStoreManager_->reset();
    edgeWatch_.end();
    edgeWatch_.clearEntries();
    addInMemoryStore();
    addLocalFileStore();
    addOverrideStore();
    InitialiseCachedConfigStores();
    if (getNumCacheStores() > 0) {
        SetEnabledServices();
    }
    removeCustomServerValuesIfPolicySet();
}
