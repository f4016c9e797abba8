#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LookupLog : public ChainFixture {
protected:
    LookupLog() {
        const auto store = makeReadOnly("Server", 100);
        store->with(L"domain", L"example.com").with(L"CTIPrimaryServer", L"cti").with(L"TftpServer1", L"tftp");
        addQuietly({store});
        log->clear();
    }

    std::vector<std::string> textOf(const std::wstring& key, bool skipLocal = false) {
        std::wstring value;
        manager.getValue(key, value, skipLocal);
        return log->texts(5);
    }

    const fakes::ScopedRecordingLog log;
};

TEST_F(LookupLog, TellsAHit) {
    EXPECT_THAT(textOf(L"domain"), ElementsAre("key : [domain] skipLocal : [0]  value: [example.com] success: [true] "
                                               "configStoreName: [Server]"));
}

TEST_F(LookupLog, IsWrittenByTheManagerUnderTheNameOfTheOperation) {
    textOf(L"domain");
    ASSERT_EQ(log->lines().size(), 1u);
    EXPECT_EQ(log->lines()[0].logger, "ConfigStoreManager");
    EXPECT_EQ(log->lines()[0].function, "getValue");
}

TEST_F(LookupLog, TellsAMissAndSkipLocalAsANumber) {
    EXPECT_THAT(textOf(L"missing", true),
                ElementsAre("key : [missing] skipLocal : [1]  value: [] success: [false] configStoreName: []"));
}

TEST_F(LookupLog, TellsAReportAsALookupOfAllStores) {
    manager.updateKey(L"domain", false);
    EXPECT_THAT(log->texts(5), ElementsAre("key : [domain] skipLocal : [0]  value: [example.com] success: [true] "
                                           "configStoreName: [Server]"));
}

TEST_F(LookupLog, LeavesTheNameThatTheCallerHasInAMiss) {
    std::wstring value;
    std::wstring storeName = L"Former";
    bool usedOtherKeyName = false;
    manager.getValue(L"missing", value, storeName, usedOtherKeyName, false);
    EXPECT_THAT(log->texts(5),
                ElementsAre("key : [missing] skipLocal : [0]  value: [] success: [false] configStoreName: [Former]"));
    EXPECT_EQ(storeName, L"Former");
}

TEST_F(LookupLog, TellsThatTheKeyHasBeenRenamed) {
    EXPECT_THAT(textOf(L"CtiServer1"),
                ElementsAre("key : [CtiServer1] is an alias. Key has been renamed. Actual lookup done on key name: "
                            "[CTIPrimaryServer] - skipLocal : [0]  value: [cti] success: [true] configStoreName: "
                            "[Server]"));
}

TEST_F(LookupLog, TellsThatTheLegacyKeyWasFound) {
    EXPECT_THAT(textOf(L"TFTPPrimaryServer"),
                ElementsAre("key : [TFTPPrimaryServer] did not exist. actual lookup done on legacy key name : "
                            "[TftpServer1] - skipLocal : [0]  value: [tftp] success: [true] configStoreName: "
                            "[Server]"));
}

TEST_F(LookupLog, SaysNothingOfNamesWhenAnOldNameFindsItself) {
    EXPECT_THAT(textOf(L"TftpServer1"),
                ElementsAre("key : [TftpServer1] skipLocal : [0]  value: [tftp] success: [true] configStoreName: "
                            "[Server]"));
}

TEST_F(LookupLog, SaysNothingOfNamesWhenBothAreMissing) {
    EXPECT_THAT(textOf(L"CtiServer2"),
                ElementsAre("key : [CtiServer2] skipLocal : [0]  value: [] success: [false] configStoreName: []"));
}

TEST_F(LookupLog, HidesTheValueOfASensitiveKeyWhichTheCallerStillGets) {
    manager.setKeySensitive(L"DOMAIN");
    EXPECT_EQ(valueOf(L"domain"), L"example.com");
    EXPECT_THAT(log->texts(5), ElementsAre("key : [domain] skipLocal : [0]  value: [VALUE_HIDDEN] success: [true] "
                                           "configStoreName: [Server]"));
    EXPECT_FALSE(log->mentions("example.com"));
}

TEST_F(LookupLog, HidesAMissOfASensitiveKeyToo) {
    manager.setKeySensitive(L"missing");
    EXPECT_THAT(textOf(L"missing"), ElementsAre("key : [missing] skipLocal : [0]  value: [VALUE_HIDDEN] success: "
                                                "[false] configStoreName: []"));
}

TEST_F(LookupLog, GoesByTheKeyThatWasGivenAndNotByTheOneThatWasFound) {
    manager.setKeySensitive(L"CTIPrimaryServer");
    textOf(L"CtiServer1");
    EXPECT_TRUE(log->mentions("value: [cti]"));
}

TEST_F(LookupLog, KeepsASensitiveValueOutOfTheReportsOfAWrite) {
    const auto user = makeStore("User", 50);
    addQuietly({user});
    log->clear();
    manager.setKeySensitive(L"password");
    manager.storeValue(L"password", L"secret text");
    EXPECT_FALSE(log->mentions("secret text"));
    EXPECT_EQ(valueOf(L"password"), L"secret text");
}

TEST_F(LookupLog, IsSilentForExactLookups) {
    std::wstring value;
    std::wstring storeName;
    bool found = false;
    manager.getValueFromStores(L"domain", value, storeName, false);
    manager.getOriginalValueFromStores(L"domain", value, storeName, found);
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(LookupLog, IsSilentWithoutDebugLogging) {
    const fakes::ScopedRecordingLog quieter(4);
    EXPECT_EQ(valueOf(L"domain"), L"example.com");
    EXPECT_THAT(quieter->lines(), IsEmpty());
}

TEST_F(LookupLog, HasOneLineForTheLookupBehindAReport) {
    manager.updateKey(L"domain", false);
    EXPECT_EQ(log->lines().size(), 1u);
}

}  // namespace
