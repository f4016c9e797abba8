#include <latch>
#include <thread>

#include "DataResetFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::wstring LINK = L"corvid://x?ServicesDomain=example.com";

class Provisioning : public AdapterFixture {};

class LatchValue : public Provisioning, public testing::WithParamInterface<std::pair<std::string, bool>> {};

}  // namespace

TEST_P(LatchValue, ClosesTheDoorForFalseInAnyCaseOnly) {
    const auto& [value, isClosed] = GetParam();
    writeLocal({{"AllowUrlProvisioning", value}});
    inject();
    EXPECT_EQ(adapter()->setUrlProvisioningData(LINK), !isClosed);
    EXPECT_EQ(get(L"ServicesDomain"), isClosed ? L"<none>" : L"example.com");
}

TEST_P(LatchValue, IsErasedByAResetOnlyWhereItClosesTheDoor) {
    const auto& [value, isClosed] = GetParam();
    writeLocal({{"AllowUrlProvisioning", value}});
    inject();
    EXPECT_EQ(adapter()->resetAllowUriProvisioningData(), isClosed);
    EXPECT_EQ(get(L"AllowUrlProvisioning") == L"<none>", isClosed);
}

INSTANTIATE_TEST_SUITE_P(Provisioning, LatchValue,
                         testing::Values(std::pair("false", true), std::pair("False", true), std::pair("fAlSe", true),
                                         std::pair("FALSE", true), std::pair("", false), std::pair(" false", false),
                                         std::pair("no", false), std::pair("0", false), std::pair("falsey", false),
                                         std::pair("true", false)));

TEST_F(Provisioning, TakesASecondLinkOnlyOnceTheLatchIsReset) {
    inject();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    const auto store = storeNamed("UrlProvisioningConfigStore");
    const std::string file = cacheFile("cachedUrlProvisioningConfigStore.xml");
    EXPECT_FALSE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=second"));
    EXPECT_EQ(storeNamed("UrlProvisioningConfigStore"), store);
    EXPECT_EQ(cacheFile("cachedUrlProvisioningConfigStore.xml"), file);
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    ASSERT_TRUE(adapter()->resetAllowUriProvisioningData());
    EXPECT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=second"));
    EXPECT_EQ(get(L"ServicesDomain"), L"second");
}

TEST_F(Provisioning, KeepsALatchThatAnAdministratorHasClosed) {
    writeOverride({{"AllowUrlProvisioning", "false"}});
    inject();
    EXPECT_FALSE(adapter()->resetAllowUriProvisioningData());
    EXPECT_FALSE(adapter()->setUrlProvisioningData(LINK));
    EXPECT_EQ(get(L"AllowUrlProvisioning"), L"false");
}

TEST_F(Provisioning, ReportsTheKeysOfTheStoreThatItReplaces) {
    inject();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=a&TelemetryEnabled=true"));
    ASSERT_TRUE(adapter()->resetAllowUriProvisioningData());
    observe();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=b"));
    EXPECT_THAT(observer.course(),
                ElementsAre("TelemetryEnabled-", "~ServicesDomain=b", "ServicesDomain!", "AllowUrlProvisioning=False"));
}

TEST_F(Provisioning, ComesBackAtTheNextStart) {
    inject();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    tasks->runAll();
    factory->clear();
    inject();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_EQ(storeOf(L"ServicesDomain"), L"UrlProvisioningConfigStore");
    EXPECT_FALSE(adapter()->setUrlProvisioningData(LINK));
}

TEST_F(Provisioning, IsNotUndoneByARefreshOnAnotherThread) {
    injectAndStart();
    for (int round = 0; round < 50; ++round) {
        const std::wstring domain = L"domain" + std::to_wstring(round);
        std::latch together(2);
        std::thread refreshing([&] {
            together.arrive_and_wait();
            adapter()->refreshConfigFeatureSet();
        });
        together.arrive_and_wait();
        const bool taken = adapter()->setUrlProvisioningData(L"x?ServicesDomain=" + domain);
        refreshing.join();
        EXPECT_TRUE(taken);
        EXPECT_EQ(get(L"ServicesDomain"), domain);
        adapter()->resetAllowUriProvisioningData();
        dispatcher->runAll();
    }
}

TEST_F(Provisioning, RefusesInSilence) {
    writeLocal({{"AllowUrlProvisioning", "false"}});
    inject();
    log->clear();
    EXPECT_FALSE(adapter()->setUrlProvisioningData(LINK));
    for (const int level : {2, 3, 4}) {
        EXPECT_THAT(log->texts(level), IsEmpty());
    }
}

TEST_F(Provisioning, WithoutAManagerRefusesEverything) {
    writeLocal({{"AllowUrlProvisioning", "false"}});
    inject();
    ConfigAdapterTestAccess::withoutManager(*adapter(), [this] {
        EXPECT_FALSE(adapter()->setUrlProvisioningData(LINK));
        EXPECT_FALSE(adapter()->resetAllowUriProvisioningData());
    });
}
