#include <thread>

#include "AdapterFixture.h"
#include "stores/FileStamp.h"
#include "support/OpenedFiles.h"

// The start makes the stores of the user's file and of the override file anew; it need not read again what the
// constructor has just read.

using testing::Contains;
using testing::ElementsAre;
using testing::Key;
using testing::Not;
using testing::Pair;

namespace {

class ReadOnce : public AdapterFixture {
protected:
    ReadOnce() {
        writeLocal({{"loc", "1"}, {"both", "l"}});
        writeOverride({{"ovr", "1"}});
        writeCache("cachedServer.xml", {{"srv", "s"}});
        writeCache("cachedTFTPConfigStore.xml", {{"file", "f"}});
        writeCache("cachedUrlProvisioningConfigStore.xml", {{"link", "l"}});
        writeBootstrap("PrimaryConfigStores: Server:230;TFTPConfigStore:240;\n");
        writeDefaults({{"def", "d"}});
    }

    /// Until a further change of a file would show.
    void waitUntilSettled(const std::string& file) const {
        while (!FileStamp::beforeReading(world.directory().path(file)).exists()) {
            std::this_thread::yield();
        }
    }

    void waitUntilSettled() const {
        waitUntilSettled("config/corvidLocalConfig.xml");
        waitUntilSettled("config/corvid-config-user.xml");
    }
};

}  // namespace

TEST_F(ReadOnce, EachFileIsOpenedOnceByInjectionAndStart) {
    waitUntilSettled();
    support::OpenedFiles configuration(world.directory().path("config"));
    support::OpenedFiles cache(world.directory().path("config/Cache"));
    support::OpenedFiles installation(world.directory().path("install"));
    injectAndStart();
    EXPECT_THAT(configuration.take(), ElementsAre(Pair("corvid-config-user.xml", 1), Pair("corvidLocalConfig.xml", 1)));
    EXPECT_THAT(cache.take(), ElementsAre(Pair("cachedServer.xml", 1), Pair("cachedTFTPConfigStore.xml", 1),
                                          Pair("cachedUrlProvisioningConfigStore.xml", 1)));
    EXPECT_THAT(installation.take(),
                ElementsAre(Pair("bootstrap.properties", 1), Pair("corvid-config-defaults.xml", 1)));
    for (const auto& [key, value] : Values{{"loc", "1"}, {"ovr", "1"}, {"srv", "s"}, {"file", "f"}, {"link", "l"}}) {
        EXPECT_EQ(get(QuillCoreUtils::toWideString(key)), QuillCoreUtils::toWideString(value));
    }
}

TEST_F(ReadOnce, AChainFileIsNotOpenedAndMakesNoStoreWait) {
    write("config/chainedConfigStores.xml",
          "<ChainedConfigStores><ConfigStore name=\"Other\" chainedTo=\"TFTPConfigStore\"/></ChainedConfigStores>");
    support::OpenedFiles configuration(world.directory().path("config"));
    injectAndStart();
    const auto server = std::make_shared<fakes::ScriptedStore>("TFTPConfigStore", 40);
    adapter()->addConfigStore(server);
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Other", 41));
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(server->count("wait"), 0U);
    EXPECT_THAT(configuration.take(), Not(Contains(Key("chainedConfigStores.xml"))));
}

TEST_F(ReadOnce, TheStartMakesItsStoresAnewAllTheSame) {
    waitUntilSettled();
    inject();
    const auto local = storeNamed("LocalFileConfigStore");
    const auto override = storeNamed("TftpOverrideConfigStore");
    start();
    EXPECT_NE(storeNamed("LocalFileConfigStore"), local);
    EXPECT_NE(storeNamed("TftpOverrideConfigStore"), override);
    EXPECT_EQ(storeNamed("LocalFileConfigStore")->getKeys(), local->getKeys());
    EXPECT_EQ(storeNamed("TftpOverrideConfigStore")->getKeys(), override->getKeys());
}

TEST_F(ReadOnce, ALaterStartAndARefreshTakeWhatTheFilesHoldThen) {
    waitUntilSettled();
    injectAndStart();
    stop();
    writeLocal({{"loc", "2"}, {"both", "l"}});
    writeOverride({{"ovr", "2"}});
    start();
    EXPECT_EQ(get(L"loc"), L"2");
    EXPECT_EQ(get(L"ovr"), L"2");
    waitUntilSettled();
    writeLocal({{"loc", "3"}, {"both", "l"}});
    writeOverride({{"ovr", "3"}});
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"loc"), L"3");
    EXPECT_EQ(get(L"ovr"), L"3");
}

TEST_F(ReadOnce, AFileThatIsChangedBetweenInjectionAndStartIsReadAgain) {
    waitUntilSettled();
    inject();
    writeLocal({{"loc", "2"}, {"both", "l"}});
    writeOverride({{"ovr", "2"}});
    start();
    EXPECT_EQ(get(L"loc"), L"2");
    EXPECT_EQ(get(L"ovr"), L"2");
}

TEST_F(ReadOnce, AFileThatIsChangedTwiceAtOneTimeIsReadAgain) {
    // Without waiting: both changes may bear the same time, and the file keeps its size.
    inject();
    writeLocal({{"loc", "2"}, {"both", "l"}});
    writeOverride({{"ovr", "2"}});
    start();
    EXPECT_EQ(get(L"loc"), L"2");
    EXPECT_EQ(get(L"ovr"), L"2");
}

TEST_F(ReadOnce, WhatFipsModeMakesOfAFileDoesNotOutliveIt) {
    writeOverride({{"telephony_p2p_enabled", "true"}});
    waitUntilSettled();
    world.setFips(true);
    inject();
    EXPECT_EQ(get(L"telephony_p2p_enabled"), L"false");
    world.setFips(false);
    start();
    EXPECT_EQ(get(L"telephony_p2p_enabled"), L"true");
}

TEST_F(ReadOnce, AFileThatIsRemovedBetweenInjectionAndStartIsGone) {
    waitUntilSettled();
    inject();
    std::filesystem::remove(world.directory().path("config/corvidLocalConfig.xml"));
    std::filesystem::remove(world.directory().path("config/corvid-config-user.xml"));
    start();
    EXPECT_EQ(get(L"loc"), L"<none>");
    EXPECT_EQ(get(L"ovr"), L"<none>");
}

TEST_F(ReadOnce, AValueThatIsStoredBeforeTheStartIsReadBackFromTheFile) {
    waitUntilSettled();
    inject();
    adapter()->setConfig(L"Capital", L"v");
    adapter()->setConfig(L"loc", L"2");
    start();
    EXPECT_EQ(get(L"loc"), L"2");
    EXPECT_THAT(storeNamed("LocalFileConfigStore")->getKeys(), ElementsAre(L"both", L"capital", L"loc"));
}

TEST_F(ReadOnce, ABrokenOverrideFileIsReportedByTheStartToo) {
    write("config/corvid-config-user.xml", "<r>");
    waitUntilSettled();
    injectAndStart();
    int reports = 0;
    for (const auto& line : log->lines()) {
        reports += line.text.find("invalid XML document: ") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(reports, 2);
}
