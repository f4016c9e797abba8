#include "ScheduledHost.h"

#include <utility>

#include "InjectConfigService.h"

namespace simulation {

namespace {

constexpr unsigned SYSTEM_SERVICE_ID = 2;

const char* const DEFAULTS = R"(<?xml version="1.0" encoding="utf-8"?>
<Corvid>
<userConfig name="Theme" value="plain"/>
<userConfig name="Ringer" value="soft"/>
</Corvid>
)";

}  // namespace

ScheduledHost::ScheduledHost(Listeners listeners) : listeners_(std::move(listeners)) {
    world_.directory().write("install/corvid-config-defaults.xml", DEFAULTS);
}

ScheduledHost::~ScheduledHost() { drop(); }

void ScheduledHost::assemble() {
    dispatcher_ = std::make_shared<ScheduledDispatcher>();
    persistence_ = std::make_shared<fakes::HandSteppedTaskDispatcher>();
    pool_ = std::make_shared<fakes::HandSteppedThreadPool>();
    transport_ = std::make_shared<fakes::ScriptedHttpTransport>();
    systemService_ = std::make_shared<SystemServiceImpl>();
    monitor_ = std::make_shared<TesselSystemMonitor::SystemMonitorImpl>();
    factory_ = std::make_shared<UnifiedFactory>(dispatcher_, persistence_);
    dispatcher_->beforeTasks(listeners_.beforeTask);
    dispatcher_->whileBlocked(listeners_.waiting);
    transport_->setAnswer([this](const std::string& url) {
        listeners_.waiting();
        return listeners_.answer(url);
    });
    world_.change([this](platform::World& world) {
        world.threadPool = pool_;
        world.httpTransport = transport_;
        world.systemMonitor = monitor_;
    });
    factory_->setService<SystemService>(SYSTEM_SERVICE_ID, systemService_);
}

void ScheduledHost::start() {
    assemble();
    dispatcher_->setOnDispatcher(true);
    InjectConfigService(factory_);
    service_ = factory_->getService<ConfigService>();
    adapter_ = std::dynamic_pointer_cast<ConfigAdapter>(factory_->getFeatureSetAdapter(CONFIG_SERVICE_ID));
    listeners_.injected();
    adapter_->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
}

void ScheduledHost::shutDown() {
    dispatcher_->setOnDispatcher(false);
    adapter_->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    persistence_->runAll();
    adapter_->Destroy();
    dispatcher_->setOnDispatcher(true);
}

std::optional<std::string> ScheduledHost::drop() {
    if (adapter_ == nullptr) {
        return std::nullopt;
    }
    listeners_.leaving();
    const std::weak_ptr<ConfigAdapter> module = adapter_;
    systemService_->resetDataProvider()->clear();
    service_ = nullptr;
    adapter_ = nullptr;
    factory_->clear();
    world_.change([](platform::World& world) {
        world.threadPool = nullptr;
        world.httpTransport = nullptr;
        world.systemMonitor = nullptr;
    });
    pool_ = nullptr;
    transport_ = nullptr;
    dispatcher_->drop();
    persistence_ = nullptr;
    factory_ = nullptr;
    return module.expired() ? std::nullopt : std::make_optional<std::string>("something still holds the module");
}

}  // namespace simulation
