#include "host/ReferenceHost.h"

#include <boost/function.hpp>

#include <chrono>
#include <exception>
#include <thread>
#include <utility>

#include "ConfigAdapter.h"
#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "InjectConfigService.h"
#include "host/FipsSwitch.h"
#include "host/XmlDiagnostics.h"
#include "impl/http/CurlTransport.h"
#include "impl/system/CoreDumps.h"
#include "impl/system/DirectoryClaim.h"
#include "impl/system/LogindPowerSource.h"
#include "impl/system/SystemMonitorImpl.h"
#include "impl/system/SystemServiceImpl.h"
#include "impl/tessel/SpdlogSink.h"
#include "impl/unified/DlModuleLoader.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "impl/unified/TaskDispatcherImpl.h"
#include "impl/unified/ThreadPoolImpl.h"
#include "quill/FirstException.h"
#include "quill/FunctionTask.h"
#include "system/World.h"
#include "tessel/LogSink.h"
#include "tessel/TesselLogger.h"
#include "unified/UnifiedFactory.h"

namespace host {

namespace {

constexpr std::size_t POOL_THREADS = 2;
constexpr unsigned SYSTEM_SERVICE_ID = 1;
constexpr int QUIETEST_LEVEL = 3;

constexpr std::chrono::milliseconds WRITERS_TIME{2000};
constexpr std::chrono::milliseconds BETWEEN_LOOKS{10};

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("ReferenceHost");
    return instance;
}

void logFailure(const std::string& text) { TesselLog(logger(), 2, __FILE__, __LINE__, "start", text); }

void warnOf(const platform::DirectoryUser& user) {
    TesselLog(logger(), 3, __FILE__, __LINE__, "start",
              "another program works on the configuration directory: process " + std::to_string(user.process) + ", " +
                  user.name + "; neither notices what the other stores, and the last to save wins");
}

}  // namespace

struct ReferenceHost::Parts {
    explicit Parts(const Options& options)
        : claim(options.configDirectory), httpTransport(std::make_shared<platform::CurlTransport>(options.caFile)) {}

    platform::DirectoryClaim claim;  ///< first: it ends when nothing can write any more
    XmlDiagnostics xmlDiagnostics{XmlDiagnostics::Way::Log};
    std::shared_ptr<ServicesDispatcherImpl> dispatcher = std::make_shared<ServicesDispatcherImpl>();
    std::shared_ptr<TaskDispatcherImpl> persistQueue = std::make_shared<TaskDispatcherImpl>();
    std::shared_ptr<ThreadPoolImpl> threadPool = std::make_shared<ThreadPoolImpl>(POOL_THREADS);
    std::shared_ptr<platform::CurlTransport> httpTransport;
    std::shared_ptr<TesselSystemMonitor::SystemMonitorImpl> systemMonitor =
        std::make_shared<TesselSystemMonitor::SystemMonitorImpl>();
    std::shared_ptr<SystemServiceImpl> systemService = std::make_shared<SystemServiceImpl>();
    std::shared_ptr<DlModuleLoader> moduleLoader = std::make_shared<DlModuleLoader>();
    std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(dispatcher, persistQueue, moduleLoader);
    bool startsWhenCalledOff = false;  ///< dispatcher thread: whether a power down has ended a feature set that ran
    std::unique_ptr<TesselSystemMonitor::LogindPowerSource> powerSource;  ///< last: it reports to others above
};

ReferenceHost::ReferenceHost(Options options) : options_(std::move(options)) {}

ReferenceHost::~ReferenceHost() { stop(); }

bool ReferenceHost::start() {
    if (std::exchange(used_, true)) {
        failure_ = "a host starts once";
        return false;
    }
    if (!prepareLog()) {
        return false;
    }
    if (!options_.coreDumps) {
        platform::forbidCoreDumps();
    }
    assemble();
    if (options_.claimsDirectory) {
        claimDirectory();
    }
    if (!putModuleIn()) {
        logFailure(failure_);
        stop();
        return false;
    }
    // A client that is told of a value may throw; the host runs all the same.
    QuillCoreUtils::FirstException thrown("ReferenceHost");
    thrown.keepOf([this] { startFeatureSet(); }, "The start threw as well");
    listenToPowerEvents();
    thrown.rethrow();
    return true;
}

bool ReferenceHost::prepareLog() {
    std::shared_ptr<tessel::LogSink> sink =
        options_.logFile.empty() ? tessel::SpdlogSink::toStandardError(options_.colours, options_.logClearsLines)
                                 : tessel::SpdlogSink::toFile(options_.logFile);
    if (sink == nullptr) {
        failure_ = "the log file cannot be opened: " + options_.logFile;
        return false;
    }
    tessel::LogControl::setLevel(options_.logLevel);
    if (options_.logLevel != 0) {
        tessel::LogControl::setSink(std::move(sink));
    }
    return true;
}

void ReferenceHost::assemble() {
    parts_ = std::make_unique<Parts>(options_);

    const auto world = std::make_shared<platform::World>();
    world->configDirectory = options_.configDirectory;
    world->installationDirectory = options_.installationDirectory;
    world->bootstrapFilePath = options_.bootstrapFilePath;
    world->fipsMode = fipsSwitch(options_.fips);
    world->threadPool = parts_->threadPool;
    world->systemMonitor = parts_->systemMonitor;
    world->httpTransport = parts_->httpTransport;
    platform::setWorld(world);

    parts_->factory->setService<SystemService>(SYSTEM_SERVICE_ID, parts_->systemService);
    parts_->dispatcher->start();
}

void ReferenceHost::claimDirectory() {
    const platform::DirectoryClaim& claim = parts_->claim;
    parts_->claim.becomeResident();
    if (const auto resident = claim.resident()) {
        warnOf(*resident);
    }
    const auto end = std::chrono::steady_clock::now() + WRITERS_TIME;
    std::optional<platform::DirectoryUser> writer = claim.writer();
    for (; writer && std::chrono::steady_clock::now() < end; writer = claim.writer()) {
        std::this_thread::sleep_for(BETWEEN_LOOKS);
    }
    if (writer) {
        warnOf(*writer);
    }
}

bool ReferenceHost::putModuleIn() {
    try {
        runOnDispatcher([this] {
            if (options_.inject) {
                options_.inject(parts_->factory);
            } else if (options_.modulePath.empty()) {
                InjectConfigService(parts_->factory);
            } else {
                parts_->moduleLoader->addModule(typeMapName(typeid(ConfigService)), options_.modulePath,
                                                "InjectConfigService");
                parts_->factory->getService<ConfigService>();
            }
        });
    } catch (const std::exception& error) {
        failure_ = std::string("the module could not be put in: ") + error.what();
        return false;
    }
    if (service() == nullptr || parts_->factory->getFeatureSetAdapter(CONFIG_SERVICE_ID) == nullptr) {
        failure_ = "the module brought no configuration service" +
                   (options_.modulePath.empty() ? std::string() : ": " + options_.modulePath);
        return false;
    }
    return true;
}

void ReferenceHost::startFeatureSet() {
    // On the dispatcher thread, so that every report of the start has landed when this returns.
    runOnDispatcher([this] {
        parts_->factory->getFeatureSetAdapter(CONFIG_SERVICE_ID)->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    });
}

void ReferenceHost::listenToPowerEvents() {
    if (!options_.powerEvents) {
        return;
    }
    const auto report = [this](TesselSystemMonitor::PowerEventTypeEnum::PowerEventType type) {
        switch (type) {
        case TesselSystemMonitor::PowerEventTypeEnum::PowerDown:
            reportPowerDown();
            break;
        case TesselSystemMonitor::PowerEventTypeEnum::PowerDownCalledOff:
            reportPowerDownCalledOff();
            break;
        default:
            parts_->systemMonitor->report(type);
            break;
        }
    };
    parts_->powerSource = std::make_unique<TesselSystemMonitor::LogindPowerSource>(report, options_.powerBusAddress);
}

void ReferenceHost::reportPowerDown() {
    // At once, whatever the dispatcher thread is at: the machine does not wait for long.
    parts_->persistQueue->drainWhatIsQueued();
    // The stores' end waits for the lifecycle lock, under which a version may be asked for.
    interruptRequests();
    // Nothing else that runs there sets a value between the last write and the end of the stores, after which nothing
    // is written, not even what is queued, unless the power down is called off.
    runOnDispatcher([this] {
        parts_->startsWhenCalledOff =
            parts_->factory->getFeatureSetAdapter(CONFIG_SERVICE_ID)->IsFeatureSetStarted(CONFIG_SERVICE_ID);
        parts_->persistQueue->drainWhatIsQueued();
        parts_->systemMonitor->report(TesselSystemMonitor::PowerEventTypeEnum::PowerDown);
    });
}

void ReferenceHost::reportPowerDownCalledOff() {
    parts_->httpTransport->allowRequests();
    runOnDispatcher([this] {
        // A client that is told of a value may throw; the others are told of the power all the same.
        QuillCoreUtils::FirstException thrown("ReferenceHost");
        if (std::exchange(parts_->startsWhenCalledOff, false)) {
            thrown.keepOf([this] { startFeatureSet(); }, "The start threw as well");
        }
        parts_->systemMonitor->report(TesselSystemMonitor::PowerEventTypeEnum::PowerDownCalledOff);
        thrown.rethrow();
    });
}

void ReferenceHost::interruptRequests() {
    if (parts_ != nullptr) {
        parts_->httpTransport->interruptRequests();
    }
}

void ReferenceHost::stop() {
    if (parts_ == nullptr) {
        return;  // the world and the log may be another host's by now
    }
    // First, since the feature set's end waits for the lifecycle lock, under which a version may be asked for.
    interruptRequests();
    stopFeatureSet();
    parts_->powerSource.reset();
    parts_->httpTransport->stop();
    parts_->threadPool->stop();
    parts_->persistQueue->drain();
    parts_->dispatcher->stop();
    parts_->persistQueue->stop();
    parts_->systemService->resetDataProvider()->clear();
    parts_->factory->clear();
    platform::setWorld(std::make_shared<platform::World>());
    parts_.reset();

    tessel::LogControl::flush();
    tessel::LogControl::setSink(nullptr);
    tessel::LogControl::setLevel(QUIETEST_LEVEL);
}

void ReferenceHost::stopFeatureSet() {
    const std::shared_ptr<FeatureSetAdapter> featureSetAdapter =
        parts_->factory->getFeatureSetAdapter(CONFIG_SERVICE_ID);
    if (featureSetAdapter == nullptr) {
        return;
    }
    featureSetAdapter->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    // Before Destroy(), after which a store writes nothing any more, not even what is queued.
    parts_->persistQueue->drain();
    featureSetAdapter->Destroy();
}

bool ReferenceHost::runOnDispatcher(const std::function<void()>& function) {
    if (parts_ == nullptr) {
        return false;
    }
    bool ran = false;
    std::exception_ptr thrown;
    parts_->dispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(
        [&function, &ran, &thrown] {
            ran = true;
            try {
                function();
            } catch (...) {  // goes on to the caller, below
                thrown = std::current_exception();
            }
        },
        "ReferenceHost::runOnDispatcher"));
    if (thrown) {
        std::rethrow_exception(thrown);
    }
    return ran;
}

void ReferenceHost::persistAll() {
    if (parts_ != nullptr) {
        parts_->persistQueue->drain();
    }
}

std::shared_ptr<UnifiedFactory> ReferenceHost::factory() const { return parts_ == nullptr ? nullptr : parts_->factory; }

std::shared_ptr<ConfigService> ReferenceHost::service() const {
    return parts_ == nullptr ? nullptr : parts_->factory->getService<ConfigService>();
}

std::shared_ptr<ConfigFeatureSet> ReferenceHost::featureSet() const {
    return parts_ == nullptr ? nullptr : parts_->factory->getFeatureSet<ConfigFeatureSet>();
}

std::shared_ptr<ConfigAdapter> ReferenceHost::adapter() const {
    if (parts_ == nullptr || !options_.modulePath.empty() || options_.inject) {
        return nullptr;
    }
    return std::dynamic_pointer_cast<ConfigAdapter>(parts_->factory->getFeatureSetAdapter(CONFIG_SERVICE_ID));
}

std::shared_ptr<SystemServiceImpl> ReferenceHost::systemService() const {
    return parts_ == nullptr ? nullptr : parts_->systemService;
}

}  // namespace host
