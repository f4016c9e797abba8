#include "StressedModule.h"

#include <string>

#include "InjectConfigService.h"
#include "quill/FunctionTask.h"

namespace torture {

namespace {

constexpr unsigned SYSTEM_SERVICE_ID = 1;
constexpr int SOFTPHONE_TYPE = 2;

std::string defaults(bool withVersion) {
    return std::string("<Corvid>") + (withVersion ? "<userConfig name=\"HomeUdsVersion\" value=\"12.5\"/>" : "") +
           "<userConfig name=\"Theme\" value=\"light\"/></Corvid>";
}

std::string serverDocument(std::uint64_t number) {
    const std::string value = std::to_string(number);
    return "<Server><Policies><Theme>" + value + "</Theme><VoicemailPrimaryServer>" + value +
           "</VoicemailPrimaryServer><contactsearchtoken secure=\"true\">" + value + "</contactsearchtoken><Served>" +
           value + "</Served></Policies></Server>";
}

}  // namespace

StressedModule::StressedModule(bool asksForVersion)
    : telephony_(std::make_shared<ServerHealthInformationImpl>(SOFTPHONE_TYPE)) {
    world_.change([this](platform::World& world) {
        world.threadPool = pool_;
        world.httpTransport = transport_;
        world.systemMonitor = monitor_;
    });
    world_.directory().write("install/corvid-config-defaults.xml", defaults(!asksForVersion));
    transport_->setAnswer([this](const std::string& /*url*/) {
        return silentAnswers_-- > 0 ? "" : "<versionInformation><version>12.5</version></versionInformation>";
    });
    factory_->setService<SystemService>(SYSTEM_SERVICE_ID, system_);
    system_->setEdgeMode(true);
    dispatcher_->start();
    runOnDispatcher([this] {
        InjectConfigService(factory_);
        service_ = factory_->getService<ConfigService>();
        adapter_ = std::dynamic_pointer_cast<ConfigAdapter>(factory_->getFeatureSetAdapter(CONFIG_SERVICE_ID));
    });
    network_ = std::thread([this] { answerTransfers(); });
}

StressedModule::~StressedModule() {
    adapter_->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    persist();
    adapter_->Destroy();
    endNetwork();
    pool_->stop();
    persist();
    dispatcher_->stop();
    persistence_->stop();
    system_->resetDataProvider()->clear();
    factory_->clear();
}

void StressedModule::answerTransfers() {
    while (const auto running = transport_->waitForRunning()) {
        using namespace HttpDownloader::HttpDownloadResultEnum;
        const std::uint64_t number = running->number;
        const bool fails = running->cancelled || number % 7 == 0;
        transport_->complete(number, number % 11 == 0 ? "no document" : serverDocument(number),
                             fails ? ConnectionFailed : Success);
    }
}

void StressedModule::endNetwork() {
    transport_->refuseWork();
    transport_->endWaits();
    network_.join();
    while (transport_->fail()) {
    }
}

void StressedModule::start() { adapter_->StartFeatureSet(CONFIG_SERVICE_ID, nullptr); }

void StressedModule::stop() { adapter_->StopFeatureSet(CONFIG_SERVICE_ID, nullptr); }

void StressedModule::powerDown() { monitor_->report(TesselSystemMonitor::PowerEventTypeEnum::PowerDown); }

void StressedModule::resetData() { system_->resetDataProvider()->invokeResetData(); }

void StressedModule::post(const std::function<void()>& function) {
    dispatcher_->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(function, "stress"));
}

void StressedModule::runOnDispatcher(const std::function<void()>& function) {
    dispatcher_->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(function, "stress"));
}

}  // namespace torture
