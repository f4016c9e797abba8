#include "host/ReferenceHost.h"

#include <libxml/globals.h>

#include <filesystem>
#include <stdexcept>

#include "ConfigAdapter.h"
#include "ConfigService.h"
#include "ConfigValue.h"
#include "HostOn.h"
#include "InjectConfigService.h"
#include "chain/ConfigStoreManager.h"
#include "fakes/TemporaryDirectory.h"
#include "impl/system/SystemServiceImpl.h"
#include "system/World.h"
#include "tessel/FipsUtils.h"
#include "tessel/TesselLogger.h"
#include "unified/UnifiedFactory.h"

using host::ReferenceHost;
using testing::HasSubstr;

namespace {

std::size_t threadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

std::wstring valueOf(ReferenceHost& host, const std::wstring& key) {
    std::wstring value;
    host.runOnDispatcher([&] { value = host.service()->getConfig(key)->getValue(); });
    return value;
}

void setValue(ReferenceHost& host, const std::wstring& key, const std::wstring& value) {
    host.runOnDispatcher([&] { host.service()->setConfig(key, value); });
}

/// What a host on the directory logs at that level from its start to its end.
std::string logOfARun(const fakes::TemporaryDirectory& directory, int level) {
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.logFile = directory.path("log");
    options.logLevel = level;
    ReferenceHost host(options);
    EXPECT_TRUE(host.start());
    host.stop();
    return directory.read("log");
}

/// A well-formed document of which libxml2 says so many lines, one for each of it.
std::string manyUnknownPrefixes(int count) {
    std::string elements;
    for (int line = 0; line < count; ++line) {
        elements += "<a:b/>\n";
    }
    return "<Corvid>" + elements + "</Corvid>";
}

}  // namespace

TEST(ReferenceHost, StartsTheFeatureSet) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start()) << host.failure();
    EXPECT_TRUE(host.adapter()->IsFeatureSetStarted(CONFIG_SERVICE_ID));
    EXPECT_EQ(host.factory()->getFeatureSet<ConfigFeatureSet>(), host.featureSet());
}

TEST(ReferenceHost, GivesTheModuleItsDirectories) {
    const fakes::TemporaryDirectory directory;
    directory.write("config/corvidLocalConfig.xml", "<Corvid><userConfig name=\"A\" value=\"user\"/></Corvid>");
    directory.write("install/corvid-config-defaults.xml",
                    "<Corvid><userConfig name=\"B\" value=\"default\"/></Corvid>");
    directory.write("install/bootstrap.properties", "C: installer\n");
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    EXPECT_EQ(valueOf(host, L"A"), L"user");
    EXPECT_EQ(valueOf(host, L"B"), L"default");
    EXPECT_EQ(valueOf(host, L"C"), L"installer");
}

TEST(ReferenceHost, LeavesNoThreadBehind) {
    const fakes::TemporaryDirectory directory;
    {
        ReferenceHost warmUp(hostOptionsOn(directory));  // a sanitizer may start a thread of its own with the first
        ASSERT_TRUE(warmUp.start());
    }
    const std::size_t before = threadCount();
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    EXPECT_GT(threadCount(), before);
    host.stop();
    EXPECT_EQ(threadCount(), before);
}

TEST(ReferenceHost, LeavesNoObjectBehind) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    setValue(host, L"A", L"1");
    const std::weak_ptr<UnifiedFactory> factory = host.factory();
    const std::weak_ptr<ConfigService> service = host.service();
    const std::weak_ptr<ConfigAdapter> adapter = host.adapter();
    const std::weak_ptr<ConfigStoreManager> chain = host.adapter()->getConfigStoreManager();
    const std::weak_ptr<SystemServiceImpl> systemService = host.systemService();
    const std::weak_ptr<ConfigStore> store = chain.lock()->getStores().front();
    std::weak_ptr<ConfigValue> value;
    host.runOnDispatcher([&] { value = host.service()->getConfig(L"A"); });
    host.stop();
    EXPECT_TRUE(factory.expired());
    EXPECT_TRUE(service.expired());
    EXPECT_TRUE(adapter.expired());
    EXPECT_TRUE(chain.expired());
    EXPECT_TRUE(systemService.expired());
    EXPECT_TRUE(store.expired());
    EXPECT_TRUE(value.expired());
}

TEST(ReferenceHost, LeavesNoWorldBehind) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    EXPECT_EQ(platform::getWorld()->configDirectory, directory.path("config"));
    host.stop();
    EXPECT_EQ(platform::getWorld()->configDirectory, "");
    EXPECT_EQ(platform::getWorld()->threadPool, nullptr);
}

TEST(ReferenceHost, HasEverythingOnDiskAfterTheStop) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    setValue(host, L"A", L"1");
    host.stop();
    EXPECT_THAT(directory.read("config/corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"1\""));
}

TEST(ReferenceHost, HasEverythingOnDiskAfterPersistAll) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    setValue(host, L"A", L"1");
    host.persistAll();
    EXPECT_THAT(directory.read("config/corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"1\""));
}

TEST(ReferenceHost, StopsInItsDestructor) {
    const fakes::TemporaryDirectory directory;
    std::weak_ptr<ConfigService> service;
    {
        ReferenceHost host(hostOptionsOn(directory));
        ASSERT_TRUE(host.start());
        setValue(host, L"A", L"1");
        service = host.service();
    }
    EXPECT_TRUE(service.expired());
    EXPECT_THAT(directory.read("config/corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"1\""));
}

TEST(ReferenceHost, IsFollowedByAnotherThatSeesWhatTheFirstStored) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost first(hostOptionsOn(directory));
    ASSERT_TRUE(first.start());
    setValue(first, L"A", L"1");
    first.stop();
    ReferenceHost second(hostOptionsOn(directory));
    ASSERT_TRUE(second.start());
    EXPECT_EQ(valueOf(second, L"A"), L"1");
}

TEST(ReferenceHost, LeavesAValueToTheClientThatHoldsIt) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    std::shared_ptr<ConfigValue> value;
    host.runOnDispatcher([&] { value = host.service()->getConfig(L"A"); });
    host.stop();
    EXPECT_EQ(value.use_count(), 1);
}

TEST(ReferenceHost, StopsTwiceAndWithoutAStart) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    host.stop();
    ASSERT_TRUE(host.start());
    host.stop();
    host.stop();
    EXPECT_EQ(host.service(), nullptr);
    EXPECT_EQ(host.featureSet(), nullptr);
    EXPECT_EQ(host.adapter(), nullptr);
    EXPECT_EQ(host.factory(), nullptr);
}

TEST(ReferenceHost, StartsOnce) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    EXPECT_FALSE(host.start());
    host.stop();
    EXPECT_FALSE(host.start());
    EXPECT_EQ(host.failure(), "a host starts once");
}

TEST(ReferenceHost, RunsNothingUnlessItRuns) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    bool ran = false;
    EXPECT_FALSE(host.runOnDispatcher([&ran] { ran = true; }));
    EXPECT_FALSE(ran);
}

TEST(ReferenceHost, BringsAnExceptionOutOfTheDispatcherThread) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    EXPECT_THROW(host.runOnDispatcher([] { throw std::out_of_range("told"); }), std::out_of_range);
    EXPECT_TRUE(host.runOnDispatcher([] {}));
}

TEST(ReferenceHost, RunsInPlaceOnTheDispatcherThread) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    bool inner = false;
    host.runOnDispatcher([&] { host.runOnDispatcher([&inner] { inner = true; }); });
    EXPECT_TRUE(inner);
}

TEST(ReferenceHost, SaysWhyAModuleDidNotGoIn) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.inject = [](const std::shared_ptr<UnifiedFactory>&) { throw std::runtime_error("out of order"); };
    ReferenceHost host(options);
    EXPECT_FALSE(host.start());
    EXPECT_EQ(host.failure(), "the module could not be put in: out of order");
    EXPECT_EQ(host.factory(), nullptr);
    EXPECT_EQ(platform::getWorld()->threadPool, nullptr);
}

TEST(ReferenceHost, NoticesAModuleThatBringsNothing) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.inject = [](const std::shared_ptr<UnifiedFactory>&) {};
    ReferenceHost host(options);
    EXPECT_FALSE(host.start());
    EXPECT_EQ(host.failure(), "the module brought no configuration service");
}

TEST(ReferenceHost, SaysThatTheLogFileCannotBeOpened) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.logFile = directory.path("no/such/log");
    ReferenceHost host(options);
    EXPECT_FALSE(host.start());
    EXPECT_EQ(host.failure(), "the log file cannot be opened: " + options.logFile);
}

TEST(ReferenceHost, WritesTheLogToItsFile) {
    const fakes::TemporaryDirectory directory;
    const std::string log = logOfARun(directory, 3);
    EXPECT_THAT(log, HasSubstr("File does not exist "));
}

TEST(ReferenceHost, SwitchesFipsMode) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.fips = ReferenceHost::Options::Fips::On;
    ReferenceHost on(options);
    ASSERT_TRUE(on.start());
    EXPECT_TRUE(tessel::common::FipsUtils::isFipsEnabled());
    on.stop();
    options.fips = ReferenceHost::Options::Fips::Off;
    ReferenceHost off(options);
    ASSERT_TRUE(off.start());
    EXPECT_FALSE(tessel::common::FipsUtils::isFipsEnabled());
}

TEST(ReferenceHost, LogsWhatIsWrongWithADocument) {
    const fakes::TemporaryDirectory directory;
    const std::string document = directory.write("config/corvidLocalConfig.xml", "<Corvid>\n<a>\n</b>\n</Corvid>");
    const std::string log = logOfARun(directory, 3);
    EXPECT_THAT(log, HasSubstr(document + ":3: Opening and ending tag mismatch: ... line 2 and ...\n"));
}

TEST(ReferenceHost, LogsTheFirstOfManyMistakesOfEachDocumentAndHowManyMoreThereAre) {
    const fakes::TemporaryDirectory directory;
    const std::string user = directory.write("config/corvidLocalConfig.xml", manyUnknownPrefixes(1000));
    directory.write("install/corvid-config-defaults.xml", manyUnknownPrefixes(20));
    const std::string log = logOfARun(directory, 3);
    EXPECT_THAT(log, HasSubstr(user + ":20: Namespace prefix ... on ... is not defined\n"));
    EXPECT_THAT(log, testing::Not(HasSubstr(user + ":21:")));
    EXPECT_THAT(log, HasSubstr(user + ": further messages: 980\n"));
    EXPECT_THAT(log, HasSubstr("/corvid-config-defaults.xml:20: Namespace prefix ... on ... is not defined\n"));
    EXPECT_THAT(log, testing::Not(HasSubstr("/corvid-config-defaults.xml: further messages")));
}

TEST(ReferenceHost, LogsNothingThatStandsInADocument) {
    const fakes::TemporaryDirectory directory;
    directory.write("config/corvid-config-user.xml", "<Corvid x='&s3cret;' y='\xFFs3cret'><s3cret></Corvid>");
    const std::string log = logOfARun(directory, 5);
    EXPECT_THAT(log, HasSubstr("Entity '...' not defined"));
    EXPECT_THAT(log, testing::Not(HasSubstr("s3cret")));
}

TEST(ReferenceHost, LeavesTheDiagnosticsOfDocumentsAsTheyWere) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    EXPECT_NE(xmlStructuredError, nullptr);
    host.stop();
    EXPECT_EQ(xmlStructuredError, nullptr);
}

TEST(ReferenceHost, LeavesTheLogToItsSuccessor) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost never(hostOptionsOn(directory));
    ReferenceHost before(hostOptionsOn(directory));
    ASSERT_TRUE(before.start());
    before.stop();
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.logFile = directory.path("log");
    ReferenceHost successor(options);
    ASSERT_TRUE(successor.start());
    never.stop();
    before.stop();
    TesselLog(TesselLogger_getLogger("Test"), 2, __FILE__, __LINE__, "test", std::string("still written"));
    successor.stop();
    EXPECT_THAT(directory.read("log"), HasSubstr("still written"));
}
