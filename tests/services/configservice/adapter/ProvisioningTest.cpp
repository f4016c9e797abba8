#include <filesystem>
#include <optional>
#include <utility>

#include "DataResetFixture.h"
#include "stores/FileStamp.h"
#include "support/NoFolderSyncs.h"
#include "support/OtherThread.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::wstring LINK = L"corvid://x?ServicesDomain=example.com";

const std::string FILE_NAME = "cachedUrlProvisioningConfigStore.xml";

class Provisioning : public AdapterFixture {
protected:
    std::string provisioningFile() const { return world.configDirectory() + "/Cache/" + FILE_NAME; }
};

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
    write("config/Cache/cachedUrlProvisioningConfigStore.xml", "<broken");
    std::unique_ptr<support::OtherThread> link;
    // The refresh has read the file and has not put its store into the chain yet.
    log->atNext("XML in file did not exist or is an invalid XML document: " + provisioningFile(), [&] {
        link = std::make_unique<support::OtherThread>([held = manager()] { held->setUrlProvisioningData(LINK); });
        link->untilItWaitsOrEnds();
    });
    adapter()->refreshConfigFeatureSet();
    ASSERT_NE(link, nullptr);
    link->join();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_THAT(cacheFile(FILE_NAME), HasSubstr("<ServicesDomain>example.com</ServicesDomain>"));
}

TEST_F(Provisioning, OutlivesARefreshAndADataResetWhereItsFileCannotBeWritten) {
    injectAndStart();
    write("config/Cache", "a file where the folder should be");
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    adapter()->InvokeResetData();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_EQ(storeOf(L"ServicesDomain"), L"UrlProvisioningConfigStore");
    // A later link finds the disk in order, and what it sets is what a refresh reads.
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=second"));
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"ServicesDomain"), L"second");
}

TEST_F(Provisioning, OutlivesARefreshWhereOnlyAnOlderFileIsOnTheDisk) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=older"));
    ASSERT_TRUE(adapter()->resetAllowUriProvisioningData());
    std::filesystem::create_directory(provisioningFile() + ".temp");
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
}

TEST_F(Provisioning, OutlivesARefreshThatMayNotEvenLookAtAnOlderFileAndIsWrittenByTheStop) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=older"));
    ASSERT_TRUE(adapter()->resetAllowUriProvisioningData());
    std::filesystem::create_directory(provisioningFile() + ".temp");
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    const std::string cache = world.configDirectory() + "/Cache";
    std::filesystem::rename(cache, cache + "-aside");
    std::filesystem::create_symlink(cache, cache);
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    std::filesystem::remove(cache);
    std::filesystem::rename(cache + "-aside", cache);
    std::filesystem::remove(provisioningFile() + ".temp");
    stop();
    EXPECT_THAT(cacheFile(FILE_NAME), HasSubstr("<ServicesDomain>example.com</ServicesDomain>"));
}

TEST_F(Provisioning, IsWrittenByTheStopWhereItsFileCouldNotBeWrittenBefore) {
    injectAndStart();
    write("config/Cache", "a file where the folder should be");
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    std::filesystem::remove(world.configDirectory() + "/Cache");
    stop();
    EXPECT_THAT(cacheFile(FILE_NAME), HasSubstr("<ServicesDomain>example.com</ServicesDomain>"));
}

TEST_F(Provisioning, IsWrittenByDestroyWhereItsFileCouldNotBeWrittenBefore) {
    injectAndStart();
    write("config/Cache", "a file where the folder should be");
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    std::filesystem::remove(world.configDirectory() + "/Cache");
    adapter()->Destroy();
    EXPECT_THAT(cacheFile(FILE_NAME), HasSubstr("<ServicesDomain>example.com</ServicesDomain>"));
}

TEST_F(Provisioning, IsNotWrittenByTheEndOnceItHasBeenRemoved) {
    injectAndStart();
    write("config/Cache", "a file where the folder should be");
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    manager()->removeStoreWithSameName("UrlProvisioningConfigStore");
    std::filesystem::remove(world.configDirectory() + "/Cache");
    stop();
    adapter()->Destroy();
    EXPECT_EQ(cacheFile(FILE_NAME), "");
}

TEST_F(Provisioning, IsWrittenOnceMoreByTheStopWhereItsFolderCouldNotBeSyncedBefore) {
    injectAndStart();
    std::optional<support::NoFolderSyncs> none(std::in_place);
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    none.reset();
    adapter()->refreshConfigFeatureSet();
    const FileStamp before = FileStamp::of(provisioningFile());
    stop();
    EXPECT_THAT(cacheFile(FILE_NAME), HasSubstr("<ServicesDomain>example.com</ServicesDomain>"));
    EXPECT_NE(FileStamp::of(provisioningFile()).number, before.number);
}

TEST_F(Provisioning, OutlivesADataResetThatRemovesALinkInThePlaceOfTheCacheFolder) {
    write("elsewhere/file", "text");
    std::filesystem::create_directory_symlink(world.directory().path("elsewhere"), world.configDirectory() + "/Cache");
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    adapter()->InvokeResetData();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_TRUE(std::filesystem::exists(world.directory().path("elsewhere/" + FILE_NAME)));
    EXPECT_FALSE(std::filesystem::is_symlink(world.configDirectory() + "/Cache"));
    EXPECT_THAT(cacheFile(FILE_NAME), HasSubstr("<ServicesDomain>example.com</ServicesDomain>"));
}

TEST_F(Provisioning, EndsAtTheNextRefreshOnceItsFileHasBeenRemovedOnPurpose) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(LINK));
    adapter()->removeAllCachedConfigStores();
    adapter()->InvokeResetData();
    EXPECT_EQ(get(L"ServicesDomain"), L"<none>");
    EXPECT_EQ(cacheFile(FILE_NAME), "");
}

TEST_F(Provisioning, IsOpenedForTheUserAndStaysClosedForTheAdministrator) {
    writeLocal({{"AllowUrlProvisioning", "False"}});
    writeOverride({{"AllowUrlProvisioning", "false"}});
    injectAndStart();
    EXPECT_TRUE(adapter()->resetAllowUriProvisioningData());
    EXPECT_EQ(storeNamed("LocalFileConfigStore")->getKeys(), std::vector<std::wstring>());
    EXPECT_EQ(get(L"AllowUrlProvisioning"), L"false");
    EXPECT_FALSE(adapter()->setUrlProvisioningData(LINK));
    EXPECT_FALSE(adapter()->resetAllowUriProvisioningData());
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
