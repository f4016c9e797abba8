#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "ConfigValue.h"
#include "ConfigValueObserver.h"
#include "HostOn.h"
#include "impl/unified/DlModuleLoader.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "impl/unified/TaskDispatcherImpl.h"
#include "quill/FunctionTask.h"
#include "support/ChildProcess.h"
#include "system/World.h"
#include "unified/FeatureSetAdapter.h"
#include "unified/UnifiedFactory.h"

using host::ReferenceHost;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Keeps the values that it was told of.
class Client : public ConfigValueObserver {
public:
    explicit Client(std::shared_ptr<ConfigValue> object) : object_(std::move(object)) {}
    void OnValueChanged() override { told_.push_back(object_->getValue()); }
    const std::vector<std::wstring>& told() const { return told_; }

private:
    const std::shared_ptr<ConfigValue> object_;
    std::vector<std::wstring> told_;
};

/// Functions that the dynamic symbol table offers to others: lines of "address T name".
std::vector<std::string> exportedSymbols() {
    const support::Ended nm = support::runProgram({"/usr/bin/nm", "-D", "--defined-only", CONFIGSERVICE_MODULE});
    EXPECT_EQ(nm.status, 0) << nm.error;
    std::vector<std::string> names;
    std::istringstream lines(nm.out);
    for (std::string address, kind, name; lines >> address >> kind >> name;) {
        names.push_back(name);
    }
    return names;
}

}  // namespace

TEST(Module, ExportsItsOneFunctionAndNothingElse) {
    EXPECT_THAT(exportedSymbols(), ElementsAre("InjectConfigService"));
}

TEST(Module, GoesIntoAReferenceHostAsASharedObject) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.modulePath = CONFIGSERVICE_MODULE;
    ReferenceHost host(options);
    ASSERT_TRUE(host.start()) << host.failure();
    EXPECT_EQ(host.adapter(), nullptr);

    std::shared_ptr<Client> client;
    host.runOnDispatcher([&] {
        const std::shared_ptr<ConfigValue> object = host.service()->getConfig(L"A");
        client = std::make_shared<Client>(object);
        object->addObserver(std::weak_ptr<ConfigValueObserver>(client));
        host.service()->setConfig(L"A", L"1");
    });
    EXPECT_THAT(client->told(), ElementsAre(L"1"));
    client.reset();
    const std::weak_ptr<ConfigService> service = host.service();
    host.stop();
    EXPECT_TRUE(service.expired());
    EXPECT_THAT(directory.read("config/corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"1\""));
}

TEST(Module, IsMissedByAHostThatCannotLoadIt) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.modulePath = directory.path("no-such-module.so");
    ReferenceHost host(options);
    EXPECT_FALSE(host.start());
    EXPECT_THAT(host.failure(), HasSubstr(options.modulePath));
}

/// The least that a host can be: two queues and a registry.
TEST(Module, CarriesAValueThroughABareHost) {
    const fakes::TemporaryDirectory directory;
    directory.write("install/corvid-config-defaults.xml", "<Corvid><userConfig name=\"A\" value=\"0\"/></Corvid>");
    const auto world = std::make_shared<platform::World>();
    world->configDirectory = directory.path("config");
    world->installationDirectory = directory.path("install");
    platform::setWorld(world);

    const auto dispatcher = std::make_shared<ServicesDispatcherImpl>();
    dispatcher->adoptCurrentThread({});
    const auto persistQueue = std::make_shared<TaskDispatcherImpl>();
    const auto loader = std::make_shared<DlModuleLoader>();
    loader->addModule(typeMapName(typeid(ConfigService)), CONFIGSERVICE_MODULE, "InjectConfigService");
    auto factory = std::make_shared<UnifiedFactory>(dispatcher, persistQueue, loader);

    // Whoever asks first on a wrong thread does not take it from the others.
    std::thread([&] { EXPECT_THROW(factory->getService<ConfigService>(), std::logic_error); }).join();
    std::shared_ptr<ConfigService> service = factory->getService<ConfigService>();
    ASSERT_NE(service, nullptr);
    factory->getFeatureSetAdapter(1300)->StartFeatureSet(1300, nullptr);
    std::shared_ptr<ConfigValue> value = service->getConfig(L"A");
    EXPECT_EQ(value->getValue(), L"0");
    auto client = std::make_shared<Client>(value);
    value->addObserver(std::weak_ptr<ConfigValueObserver>(client));
    value->setConfig(L"1");
    value->reset();
    EXPECT_THAT(client->told(), ElementsAre(L"1", L"0"));
    EXPECT_EQ(value->getValueStoreName(), L"corvid-config-defaults.xml");

    factory->getFeatureSetAdapter(1300)->StopFeatureSet(1300, nullptr);
    persistQueue->drain();
    dispatcher->stop();
    client.reset();
    value.reset();
    service.reset();
    factory->clear();
    const std::weak_ptr<UnifiedFactory> gone = factory;
    factory.reset();
    EXPECT_TRUE(gone.expired());
    platform::setWorld(std::make_shared<platform::World>());
}
