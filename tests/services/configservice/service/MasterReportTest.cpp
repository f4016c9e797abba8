#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "Observers.h"
#include "ServiceFixture.h"

namespace {

using ::testing::ElementsAre;

const std::string HEAD = "\n*********************** Master Configuration Settings *********************\n"
                         "\nOriginalValue is the value set by the administrator\n"
                         "\nValue is the value retrieved by searching the config sources by priority\n"
                         "\nDefined Values\n--------------\n";
const std::string MIDDLE = "\nUnDefined Values\n---------------\n";
const std::string END = "\n*************************** End Settings ***************************\n";

class MasterReport : public ServiceFixture {
protected:
    /// The text of the one record that the report is.
    std::string logged() {
        log->clear();
        service->logConfig();
        const auto lines = log->lines();
        if (lines.size() != 1 || lines[0].level != 4 || lines[0].logger != "ConfigServiceImpl" ||
            lines[0].function != "logConfig") {
            return "not one record of level 4 of ConfigServiceImpl, logConfig";
        }
        return lines[0].text;
    }
};

TEST_F(MasterReport, OfAnEmptyCacheHasOnlyItsHeadings) { EXPECT_EQ(logged(), HEAD + MIDDLE + END); }

TEST_F(MasterReport, HasALineForEachDefinedKeyInTheirOrder) {
    service->OnConfigChanged(L"beta", L"v2", L"o2", false, true, L"S2", L"T2", false);
    service->OnConfigChanged(L"Alpha", L"v1", L"o1", true, true, L"S1", L"T1", false);
    EXPECT_EQ(logged(),
              HEAD +
                  "Key: Alpha -  Value - [v1] valueStoreName [S1] | OriginalValue [o1] originalValueStoreName [T1]\n"
                  "Key: beta -  Value - [v2] valueStoreName [S2] | OriginalValue [o2] originalValueStoreName [T2]\n" +
                  MIDDLE + END);
}

TEST_F(MasterReport, ShowsTheValueTwiceAndNoStoreForAnUndefinedKey) {
    service->OnConfigChanged(L"Key", L"stale", L"original", false, false, L"Store", L"Server", false);
    EXPECT_EQ(logged(), HEAD + MIDDLE +
                            "Key: Key -  Value - [stale] valueStoreName [stale] | OriginalValue [original] "
                            "originalValueStoreName [Server]\n" +
                            END);
}

TEST_F(MasterReport, HasEachKeyInExactlyOneSection) {
    service->getConfig(L"Asked");
    report(L"Given", L"v");
    EXPECT_EQ(logged(),
              HEAD +
                  "Key: Given -  Value - [v] valueStoreName [LocalFileConfigStore] | OriginalValue [] "
                  "originalValueStoreName []\n" +
                  MIDDLE + "Key: Asked -  Value - [] valueStoreName [] | OriginalValue [] originalValueStoreName []\n" +
                  END);
}

TEST_F(MasterReport, MasksBothValuesOfADefinedSensitiveKey) {
    service->updateSensitiveKeyList(L"SECRET");
    service->OnConfigChanged(L"Secret", L"hunter2", L"hunter1", true, true, L"Local", L"Server", false);
    EXPECT_EQ(logged(), HEAD +
                            "Key: Secret -  Value - [VALUE_HIDDEN] valueStoreName [Local] | OriginalValue "
                            "[VALUE_HIDDEN] originalValueStoreName [Server]\n" +
                            MIDDLE + END);
    EXPECT_EQ(service->getConfig(L"Secret")->getValue(), L"hunter2");
}

TEST_F(MasterReport, MasksASensitiveKeysFirstValueThoughAnObserverThrowsWhenItIsTold) {
    service->updateSensitiveKeyList(L"Secret");
    const auto observer = std::make_shared<RecordingValueObserver>();
    observer->hook = [](const std::string&) { throw std::runtime_error("observer"); };
    const auto live = service->getConfig(L"Secret");
    live->addObserver(observer);
    EXPECT_THROW(report(L"Secret", L"hunter2"), std::runtime_error);
    EXPECT_THAT(logged(), testing::Not(testing::HasSubstr("hunter2")));
}

TEST_F(MasterReport, ShowsTheStaleValueOfAnUndefinedSensitiveKeyInItsFirstBracket) {
    service->updateSensitiveKeyList(L"Secret");
    service->OnConfigChanged(L"Secret", L"stale", L"staler", false, false, L"Local", L"Server", false);
    EXPECT_EQ(logged(), HEAD + MIDDLE +
                            "Key: Secret -  Value - [stale] valueStoreName [VALUE_HIDDEN] | OriginalValue "
                            "[VALUE_HIDDEN] originalValueStoreName [Server]\n" +
                            END);
}

TEST_F(MasterReport, HasNoLineForAnOldName) {
    service->setupConfigKeyAliases({{L"Old", L"New"}});
    service->getConfig(L"Old");
    EXPECT_EQ(logged(), HEAD + MIDDLE +
                            "Key: New -  Value - [] valueStoreName [] | OriginalValue [] originalValueStoreName []\n" +
                            END);
}

TEST_F(MasterReport, ShowsTheTextThatTheFipsRuleMakes) {
    report(L"Telephony_P2P_Enabled", L"true");
    world.setFips(true);
    EXPECT_EQ(logged(), HEAD +
                            "Key: Telephony_P2P_Enabled -  Value - [false] valueStoreName [LocalFileConfigStore] | "
                            "OriginalValue [] originalValueStoreName []\n" +
                            MIDDLE + END);
}

TEST_F(MasterReport, IsWrittenInUtf8) {
    report(L"Caf\u00e9", L"\u20ac");
    EXPECT_EQ(logged(), HEAD +
                            "Key: Caf\xC3\xA9 -  Value - [\xE2\x82\xAC] valueStoreName [LocalFileConfigStore] | "
                            "OriginalValue [] originalValueStoreName []\n" +
                            MIDDLE + END);
}

TEST_F(MasterReport, CanBeHadAsATextToo) {
    report(L"Key", L"v");
    const std::wstring text = service->buildMasterReport();
    EXPECT_EQ(QuillCoreUtils::toString(text), logged());
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(service->buildMasterReport(), std::logic_error);
}

}  // namespace
