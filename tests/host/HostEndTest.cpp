// What the end of a host waits for.

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "ConfigValue.h"
#include "ConfigValueObserver.h"
#include "HostOn.h"
#include "fakes/ScriptedStore.h"
#include "fakes/TemporaryDirectory.h"
#include "quill/FunctionTask.h"
#include "tessel/Event.h"
#include "unified/ServicesDispatcher.h"
#include "unified/UnifiedFactory.h"

using host::ReferenceHost;
using testing::HasSubstr;

namespace {

/// For what must not happen meanwhile; a host that makes this mistake makes it at once.
constexpr unsigned long LONG_ENOUGH_TO_NOTICE = 500;  // milliseconds

std::shared_ptr<tessel::Task> task(const std::function<void()>& function) {
    return std::make_shared<QuillCoreUtils::FunctionTask>(function, "the test's own");
}

/// Is still being told of its first change while the host stops.
class SlowObserver : public ConfigValueObserver {
public:
    void OnValueChanged() override {
        if (++calls == 1) {
            isBeingTold.set();
            sawTheStopReturn = hasReturned.timedWait(LONG_ENOUGH_TO_NOTICE);
        }
        ++returns;
    }

    tessel::Event isBeingTold{false};
    tessel::Event hasReturned{false};  ///< the stop
    bool sawTheStopReturn = false;
    int calls = 0;
    int returns = 0;
};

}  // namespace

TEST(HostEnd, WritesEverythingBeforeTheStoresAreDestroyed) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    tessel::Event destroyed(false);
    const auto store = std::make_shared<fakes::ScriptedStore>("Server", 300);
    store->onDestroy([&] { destroyed.set(); });
    host.featureSet()->addConfigStore(store);
    host.persistAll();
    // What is stored has to wait in the queue, until the stores are destroyed if they are.
    bool tooEarly = false;
    const auto hold = [&] { tooEarly = destroyed.timedWait(LONG_ENOUGH_TO_NOTICE); };
    host.factory()->getTaskDispatcher()->enqueue(task(hold));
    host.runOnDispatcher([&] { host.service()->setConfig(L"A", L"1"); });
    host.stop();
    EXPECT_FALSE(tooEarly);
    EXPECT_EQ(store->count("destroy"), 1U);
    EXPECT_THAT(directory.read("config/corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"1\""));
}

TEST(HostEnd, WritesWhatCouldNotBeWrittenBefore) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    // A folder in the place of the temporary file: no write can succeed.
    const std::string obstacle = directory.path("config/.corvidLocalConfig.xml.temp");
    std::filesystem::create_directories(obstacle);
    host.runOnDispatcher([&] { host.service()->setConfig(L"A", L"1"); });
    host.persistAll();
    ASSERT_FALSE(directory.exists("config/corvidLocalConfig.xml"));
    std::filesystem::remove(obstacle);
    host.stop();
    EXPECT_THAT(directory.read("config/corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"1\""));
}

TEST(HostEnd, TellsNobodyAnythingAfterwards) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    const auto observer = std::make_shared<SlowObserver>();
    std::shared_ptr<ConfigValue> value;
    host.runOnDispatcher([&] {
        value = host.service()->getConfig(L"A");
        value->addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    });
    const std::shared_ptr<ServicesDispatcher> dispatcher = host.factory()->getServicesDispatcher();
    for (const wchar_t* const text : {L"1", L"2", L"3"}) {
        dispatcher->enqueue(task([service = host.service(), text] { service->setConfig(L"A", text); }));
    }
    EXPECT_TRUE(observer->isBeingTold.timedWait(60'000));
    host.stop();
    const int calls = observer->calls;
    EXPECT_EQ(observer->returns, calls);
    observer->hasReturned.set();
    EXPECT_FALSE(observer->sawTheStopReturn);
    EXPECT_EQ(observer->calls, calls);
}
