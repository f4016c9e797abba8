// The least host of the configuration service: loads the shared module, leads it through its life, takes it all down.
// DIRECTORY/bootstrap.properties names the servers ("TFTPPrimaryServer: ADDRESS"), DIRECTORY/user is the user's own.
#include <dlfcn.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "InjectConfigService.h"
#include "impl/http/CurlTransport.h"
#include "impl/system/SystemServiceImpl.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "impl/unified/TaskDispatcherImpl.h"
#include "impl/unified/ThreadPoolImpl.h"
#include "quill/FunctionTask.h"
#include "quill/StringUtils.h"
#include "system/World.h"
#include "tessel/Event.h"
#include "unified/UnifiedFactory.h"

using QuillCoreUtils::toString;

namespace {

const wchar_t* const KEY = L"VoicemailPrimaryServer";

/// What a host brings, and the module in its midst.
struct BareHost {
    BareHost(const std::string& directory, const std::string& caFile)
        : network(std::make_shared<platform::CurlTransport>(caFile)) {
        //! [world]
        const auto world = std::make_shared<platform::World>();
        world->configDirectory = directory + "/user";  // one of its own, since a data reset empties it
        world->installationDirectory = directory;
        world->bootstrapFilePath = directory + "/bootstrap.properties";
        world->threadPool = threadPool;
        world->httpTransport = network;
        platform::setWorld(world);  // before the module goes in, which reads its files at once
        factory->setService<SystemService>(1, system);
        dispatcher->start();
        //! [world]
    }

    /// In this order nothing is lost, and nobody is called who is gone.
    ~BareHost() {
        //! [end]
        network->interruptRequests();
        if (module() != nullptr) {
            module()->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
            persistQueue->drain();  // before Destroy(), which voids what is queued
            module()->Destroy();
        }
        network->stop();
        threadPool->stop();
        persistQueue->drain();
        dispatcher->stop();
        system->resetDataProvider()->clear();
        factory->clear();
        platform::setWorld(std::make_shared<platform::World>());
        //! [end]
    }

    /// Whatever touches the service or a value runs so: on the dispatcher thread, while the caller waits.
    void onDispatcher(const boost::function<void()>& function) const {
        dispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(function, "BareHost"));
    }

    /// Does something, then prints what it has led to.
    void step(const char* name, const boost::function<void()>& action) const {
        action();
        onDispatcher([this, name] {
            std::cout << name << ": " << toString(KEY) << " is \"" << toString(value()->getValue()) << "\" from ["
                      << toString(value()->getValueStoreName()) << "]" << std::endl;
        });
    }
    std::shared_ptr<ConfigValue> value() const { return factory->getService<ConfigService>()->getConfig(KEY); }
    std::shared_ptr<FeatureSetAdapter> module() const { return factory->getFeatureSetAdapter(CONFIG_SERVICE_ID); }

    const std::shared_ptr<platform::CurlTransport> network;
    std::shared_ptr<ServicesDispatcherImpl> dispatcher = std::make_shared<ServicesDispatcherImpl>();
    std::shared_ptr<TaskDispatcherImpl> persistQueue = std::make_shared<TaskDispatcherImpl>();
    std::shared_ptr<ThreadPoolImpl> threadPool = std::make_shared<ThreadPoolImpl>(2);
    std::shared_ptr<SystemServiceImpl> system = std::make_shared<SystemServiceImpl>();
    std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(dispatcher, persistQueue);
};

/// Learns that the administrator's value now comes from elsewhere. Values arrive as changes, on the dispatcher thread.
struct Arrival : ConfigValueObserver {
    void OnOriginalValueStoreNameChanged() override { event.set(); }
    tessel::Event event{false};
};

//! [put in]
void putModuleIn(const BareHost& host, const char* path) {
    void* const library = dlopen(path, RTLD_NOW);  // never closed: objects of its code may outlive the host
    void* const entry = library == nullptr ? nullptr : dlsym(library, "InjectConfigService");
    if (entry == nullptr) {
        throw std::runtime_error(std::string("cannot load the module: ") + dlerror());
    }
    host.onDispatcher([&] { reinterpret_cast<decltype(&InjectConfigService)>(entry)(host.factory); });
    if (host.module() == nullptr) {
        throw std::runtime_error(std::string("the module brought no feature set: ") + path);
    }
}
//! [put in]

void fetch(const BareHost& host, unsigned long seconds) {
    const auto arrival = std::make_shared<Arrival>();
    host.onDispatcher([&] { host.value()->addObserver(arrival); });
    host.factory->getFeatureSet<ConfigFeatureSet>()->startTftpConfigSource();  // may wait for the server's version
    if (!arrival->event.timedWait(seconds * 1000)) {
        throw std::runtime_error("no value came from a server; bootstrap.properties tells which ones are asked");
    }
}

void leadThroughLife(const BareHost& host, const char* modulePath, unsigned long seconds) {
    host.step("module put in", [&] { putModuleIn(host, modulePath); });
    host.step("started", [&] { host.module()->StartFeatureSet(CONFIG_SERVICE_ID, nullptr); });
    host.step("fetched", [&] { fetch(host, seconds); });
    host.step("changed", [&] { host.onDispatcher([&] { host.value()->setConfig(L"voicemail.of.the.user"); }); });
    host.step("refreshed", [&] { host.factory->getFeatureSet<ConfigFeatureSet>()->refreshConfigFeatureSet(); });
    host.step("stopped", [&] { host.module()->StopFeatureSet(CONFIG_SERVICE_ID, nullptr); });
    host.step("started again", [&] { host.module()->StartFeatureSet(CONFIG_SERVICE_ID, nullptr); });
    host.step("data reset", [&] { host.system->resetDataProvider()->invokeResetData(); });
}

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc == 5 ? QuillCoreUtils::toInt(argv[4], -1) : 60;
    if (argc < 3 || argc > 5 || seconds < 0) {
        std::cerr << "usage: bare-host MODULE DIRECTORY [CA-FILE [SECONDS-TO-WAIT-FOR-THE-SERVER]]" << std::endl;
        return 2;
    }
    int status = 0;
    std::vector<std::weak_ptr<void>> leftBehind;
    {
        const BareHost host(argv[2], argc > 3 ? argv[3] : "");
        try {
            leadThroughLife(host, argv[1], static_cast<unsigned long>(seconds));
        } catch (const std::exception& error) {
            std::cerr << "bare-host: " << error.what() << std::endl;
            status = 1;
        }
        leftBehind = {host.factory->getService<ConfigService>(), host.module(), host.factory};
    }
    const bool gone = std::all_of(leftBehind.begin(), leftBehind.end(), [](const auto& one) { return one.expired(); });
    std::cout << "taken down: service, feature set and factory are " << (gone ? "gone" : "still held") << std::endl;
    return gone ? status : 1;
}
