#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <latch>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "ConfigValue.h"
#include "ConfigValueObserver.h"
#include "HostOn.h"
#include "InjectConfigService.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScriptedServer.h"
#include "http/HttpTransport.h"
#include "http/Request.h"
#include "http/Response.h"
#include "quill/FunctionTask.h"
#include "support/BusClient.h"
#include "support/PrivateBus.h"
#include "system/SystemMonitor.h"
#include "system/World.h"
#include "tessel/LogSink.h"
#include "unified/FeatureSetAdapter.h"
#include "unified/ServicesDispatcher.h"
#include "unified/TaskDispatcher.h"
#include "unified/UnifiedFactory.h"

using host::ReferenceHost;
using support::BusClient;
using testing::HasSubstr;
using testing::Not;
using namespace TesselSystemMonitor;

namespace {

constexpr const char* LISTENING = "Listening for power events";
constexpr const char* POWER_DOWN_OF_ADAPTER =
    "Config adapter received a power down event. Calling destroy on configAdapter";

/// Registered after the adapter, and so told when the adapter has done its part.
class LastObserver final : public PowerEventObserver {
public:
    void onPowerEvent(PowerEventTypeEnum::PowerEventType type) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        told_.push_back(type);
        changed_.notify_all();
    }

    /// @return the first event that has not been waited for.
    int wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return !told_.empty(); });
        const int type = told_.front();
        told_.pop_front();
        return type;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<int> told_;
};

class ThrowingClient final : public ConfigValueObserver {
public:
    void OnValueChanged() override {
        ++told;
        throw std::runtime_error("a client's");
    }

    int told = 0;
};

/// A host on a bus of the test's own, with a login manager on it.
class HostPower : public ::testing::Test {
protected:
    HostPower() { logind_.own(BusClient::LOGIND); }

    ReferenceHost::Options options() {
        ReferenceHost::Options options = hostOptionsOn(directory_);
        options.powerEvents = true;
        options.powerBusAddress = bus_.address();
        options.inject = [this](const std::shared_ptr<UnifiedFactory>& factory) {
            recordTheLog();
            InjectConfigService(factory);
        };
        return options;
    }

    /// Instead of the host's own log, for as long as the host runs.
    void recordTheLog() const {
        tessel::LogControl::setLevel(4);
        tessel::LogControl::setSink(log_);
    }

    void startListening(ReferenceHost& host) const {
        ASSERT_TRUE(host.start()) << host.failure();
        log_->waitFor(LISTENING);
        platform::getWorld()->systemMonitor->addPowerEventObserver(last_);
    }

    static bool isStarted(const ReferenceHost& host) {
        return host.factory()->getFeatureSetAdapter(CONFIG_SERVICE_ID)->IsFeatureSetStarted(CONFIG_SERVICE_ID);
    }

    static void set(ReferenceHost& host, const std::wstring& key, const std::wstring& value) {
        host.runOnDispatcher([&] { host.service()->setConfig(key, value); });
    }

    void shutDown() {
        logind_.emit({"PrepareForShutdown"});
        EXPECT_EQ(last_->wait(), 3);
    }

    void callOff() {
        logind_.emit({"PrepareForShutdown", false});
        EXPECT_EQ(last_->wait(), 4);
    }

    std::string localFile() const { return directory_.read("config/corvidLocalConfig.xml"); }

    const fakes::TemporaryDirectory directory_;
    support::PrivateBus bus_;
    BusClient logind_{bus_.address()};
    const std::shared_ptr<fakes::RecordingLogSink> log_ = std::make_shared<fakes::RecordingLogSink>();
    const std::shared_ptr<LastObserver> last_ = std::make_shared<LastObserver>();
};

}  // namespace

TEST_F(HostPower, DestroysTheStoresAtAPowerDown) {
    ReferenceHost host(options());
    startListening(host);
    logind_.emit({"PrepareForShutdown"});
    EXPECT_EQ(last_->wait(), 3);
    EXPECT_EQ(log_->count(4, POWER_DOWN_OF_ADAPTER), 1U);
    EXPECT_FALSE(isStarted(host));
    set(host, L"Late", L"1");
    host.stop();
    EXPECT_THAT(localFile(), Not(HasSubstr("Late")));
}

TEST_F(HostPower, HasEverythingOnDiskBeforeAPowerDownDestroysTheStores) {
    ReferenceHost host(options());
    startListening(host);
    std::latch heard(1);
    const auto factory = host.factory();
    factory->getTaskDispatcher()->enqueue(
        std::make_shared<QuillCoreUtils::FunctionTask>([&heard] { heard.wait(); }, "holds the queue up"));
    set(host, L"A", L"1");
    logind_.emit({"PrepareForShutdown"});
    log_->waitFor("Power event [3]");
    heard.count_down();
    EXPECT_EQ(last_->wait(), 3);
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
}

TEST_F(HostPower, HasWhatTheDispatcherThreadSetOnDiskBeforeTheMachineGoesOn) {
    ReferenceHost host(options());
    startListening(host);
    const support::LentDelay delay = logind_.lendDelay();
    log_->waitFor("A shutdown waits until everything is on disk");
    std::latch told(1);
    // Behind this the report waits, so that the value is set when the queue has been drained for the first time.
    host.factory()->getServicesDispatcher()->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
        [&] {
            told.wait();
            host.service()->setConfig(L"A", L"1");
        },
        "sets a value late"));
    logind_.emit({"PrepareForShutdown"});
    log_->waitFor("Power event [3]");
    EXPECT_TRUE(delay.isHeld());
    told.count_down();
    delay.waitForItsEnd();
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
}

TEST_F(HostPower, EndsRequestsAtAPowerDown) {
    ReferenceHost host(options());
    startListening(host);
    logind_.emit({"PrepareForShutdown"});
    EXPECT_EQ(last_->wait(), 3);
    tessel::http::Response response;
    EXPECT_EQ(platform::getWorld()->httpTransport->send(tessel::http::Request("http://127.0.0.1:9/"), response),
              HttpDownloader::HttpDownloadResultEnum::Cancelled);
}

TEST_F(HostPower, GoesOnWhenTheMachineSleeps) {
    ReferenceHost host(options());
    startListening(host);
    logind_.emit({"PrepareForSleep"});
    EXPECT_EQ(last_->wait(), 1);
    EXPECT_TRUE(isStarted(host));
    set(host, L"A", L"1");
    host.stop();
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
}

TEST_F(HostPower, WritesAgainOnceAPowerDownIsCalledOff) {
    ReferenceHost host(options());
    startListening(host);
    shutDown();
    callOff();
    EXPECT_TRUE(isStarted(host));
    set(host, L"A", L"1");
    host.persistAll();
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
    set(host, L"B", L"2");
    host.stop();
    EXPECT_THAT(localFile(), HasSubstr("name=\"B\" value=\"2\""));
}

TEST_F(HostPower, TellsThatAPowerDownIsCalledOffThoughAClientThrowsAtTheStart) {
    ReferenceHost host(options());
    startListening(host);
    shutDown();
    const auto client = std::make_shared<ThrowingClient>();
    std::shared_ptr<ConfigValue> live;
    host.runOnDispatcher([&] {
        host.service()->setInMemoryConfig(L"Memory", L"1");
        live = host.service()->getConfig(L"Memory");
        live->addObserver(std::weak_ptr<ConfigValueObserver>(client));
    });
    callOff();
    EXPECT_TRUE(isStarted(host));
    set(host, L"A", L"1");
    host.persistAll();
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
    host.runOnDispatcher([&] {
        EXPECT_GE(client->told, 1);
        live.reset();
    });
}

TEST_F(HostPower, IsListenedToThoughAClientThrowsAtTheStart) {
    const auto client = std::make_shared<ThrowingClient>();
    std::shared_ptr<ConfigValue> live;
    ReferenceHost::Options withAClient = options();
    withAClient.inject = [&](const std::shared_ptr<UnifiedFactory>& factory) {
        recordTheLog();
        InjectConfigService(factory);
        const auto service = factory->getService<ConfigService>();
        service->setInMemoryConfig(L"Memory", L"1");
        live = service->getConfig(L"Memory");
        live->addObserver(std::weak_ptr<ConfigValueObserver>(client));
    };
    ReferenceHost host(withAClient);
    EXPECT_THROW(host.start(), std::runtime_error);
    EXPECT_TRUE(isStarted(host));
    log_->waitFor(LISTENING);
    platform::getWorld()->systemMonitor->addPowerEventObserver(last_);
    shutDown();
    EXPECT_FALSE(isStarted(host));
    host.runOnDispatcher([&] { live.reset(); });
}

TEST_F(HostPower, WritesWhatWasSetBeforeAPowerDownWasCalledOff) {
    ReferenceHost host(options());
    startListening(host);
    set(host, L"A", L"1");
    shutDown();
    set(host, L"A", L"2");
    EXPECT_TRUE(host.featureSet()->setConfig(L"B", L"3"));
    callOff();
    host.persistAll();
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"2\""));
    EXPECT_THAT(localFile(), HasSubstr("name=\"B\" value=\"3\""));
    host.runOnDispatcher([&] { EXPECT_EQ(host.service()->getConfig(L"A")->getValue(), L"2"); });
}

TEST_F(HostPower, HasEverythingOnDiskBeforeAPowerDownThatFollowsOneThatWasCalledOff) {
    ReferenceHost host(options());
    startListening(host);
    logind_.emit({"PrepareForShutdown"});
    logind_.lendDelay().waitForItsEnd();
    EXPECT_EQ(last_->wait(), 3);
    callOff();
    const support::LentDelay delay = logind_.lendDelay();
    log_->waitFor("A shutdown waits until everything is on disk");
    std::latch heard(1);
    host.factory()->getTaskDispatcher()->enqueue(
        std::make_shared<QuillCoreUtils::FunctionTask>([&heard] { heard.wait(); }, "holds the queue up"));
    set(host, L"A", L"1");
    logind_.emit({"PrepareForShutdown"});
    EXPECT_TRUE(delay.isHeld());
    heard.count_down();
    delay.waitForItsEnd();
    EXPECT_EQ(last_->wait(), 3);
    EXPECT_FALSE(isStarted(host));
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
}

TEST_F(HostPower, SendsRequestsAgainOnceAPowerDownIsCalledOff) {
    fakes::ScriptedServer server([](fakes::ScriptedConnection& client) { client.respond(200, "<version/>"); });
    ReferenceHost host(options());
    startListening(host);
    shutDown();
    callOff();
    tessel::http::Response response;
    EXPECT_EQ(platform::getWorld()->httpTransport->send(tessel::http::Request(server.url()), response),
              HttpDownloader::HttpDownloadResultEnum::Success);
}

TEST_F(HostPower, SendsNoRequestsThatItWasToldToEndWhenAPowerDownIsCalledOff) {
    ReferenceHost host(options());
    startListening(host);
    shutDown();
    host.interruptRequests();
    callOff();
    tessel::http::Response response;
    EXPECT_EQ(platform::getWorld()->httpTransport->send(tessel::http::Request("http://127.0.0.1:9/"), response),
              HttpDownloader::HttpDownloadResultEnum::Cancelled);
}

TEST_F(HostPower, StartsNoFeatureSetThatThePowerDownDidNotEnd) {
    ReferenceHost host(options());
    startListening(host);
    host.factory()->getFeatureSetAdapter(CONFIG_SERVICE_ID)->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    shutDown();
    callOff();
    EXPECT_FALSE(isStarted(host));
}

TEST_F(HostPower, StopsWhileAPowerDownIsCalledOff) {
    ReferenceHost host(options());
    startListening(host);
    set(host, L"A", L"1");
    shutDown();
    set(host, L"B", L"2");
    logind_.emit({"PrepareForShutdown", false});
    host.stop();
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
}

TEST_F(HostPower, HearsNothingOnceItIsStopped) {
    ReferenceHost host(options());
    startListening(host);
    EXPECT_NE(logind_.theOtherOne(), "");
    host.stop();
    logind_.waitUntilAlone();
    recordTheLog();
    logind_.emit({"PrepareForShutdown"});
    tessel::LogControl::setSink(nullptr);
    EXPECT_EQ(log_->count(4, "Power event [3]"), 0U);
}

TEST_F(HostPower, StopsWhileTheMachinePowersDown) {
    ReferenceHost host(options());
    startListening(host);
    set(host, L"A", L"1");
    logind_.emit({"PrepareForShutdown"});
    host.stop();
    EXPECT_THAT(localFile(), HasSubstr("name=\"A\" value=\"1\""));
}

TEST_F(HostPower, StopsAfterAPowerDownAndIsFollowedByAnother) {
    ReferenceHost host(options());
    startListening(host);
    set(host, L"A", L"1");
    logind_.emit({"PrepareForShutdown"});
    EXPECT_EQ(last_->wait(), 3);
    host.stop();
    ReferenceHost next(options());
    ASSERT_TRUE(next.start());
    EXPECT_TRUE(isStarted(next));
    next.runOnDispatcher([&] { EXPECT_EQ(next.service()->getConfig(L"A")->getValue(), L"1"); });
}

TEST_F(HostPower, ListensOnTheMachinesOwnBusUnlessItIsTold) {
    const std::string kept = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().c_str(), 1);
    ReferenceHost::Options usual = options();
    usual.powerEvents = ReferenceHost::Options().powerEvents;
    usual.powerBusAddress = ReferenceHost::Options().powerBusAddress;
    ReferenceHost host(usual);
    startListening(host);
    logind_.emit({"PrepareForShutdown"});
    EXPECT_EQ(last_->wait(), 3);
    host.stop();
    setenv("DBUS_SYSTEM_BUS_ADDRESS", kept.c_str(), 1);
}

TEST_F(HostPower, KeepsOffTheBusWhenItIsToldTo) {
    ReferenceHost::Options deaf = options();
    deaf.powerEvents = false;
    deaf.powerBusAddress = "unix:path=" + directory_.path("no-bus");
    ReferenceHost host(deaf);
    ASSERT_TRUE(host.start());
    host.stop();
    EXPECT_FALSE(log_->mentions("Power events"));
}

TEST_F(HostPower, RunsWithoutABusAndSaysSoOnce) {
    ReferenceHost::Options alone = options();
    alone.powerBusAddress = "unix:path=" + directory_.path("no-bus");
    ReferenceHost host(alone);
    ASSERT_TRUE(host.start());
    const std::string text = "Power events are not watched: No such file or directory";
    log_->waitFor(text);
    EXPECT_TRUE(isStarted(host));
    host.stop();
    EXPECT_EQ(log_->count(3, text), 1U);
}
