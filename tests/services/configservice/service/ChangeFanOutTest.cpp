#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Observers.h"
#include "ServiceFixture.h"
#include "quill/FunctionTask.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ChangeFanOut : public ServiceFixture {
protected:
    std::shared_ptr<RecordingValueObserver> observe(const std::wstring& key) {
        const auto observer = std::make_shared<RecordingValueObserver>();
        service->getConfig(key)->addObserver(std::weak_ptr<ConfigValueObserver>(observer));
        return observer;
    }
};

TEST_F(ChangeFanOut, BringsAllValuesOfAReportToTheObject) {
    service->OnConfigChanged(L"Key", L"v", L"o", true, true, L"Local", L"Server", false);
    const auto object = service->getConfig(L"Key");
    EXPECT_EQ(object->getValue(), L"v");
    EXPECT_EQ(object->getOriginalValue(), L"o");
    EXPECT_TRUE(object->getisOverridden());
    EXPECT_TRUE(object->getisDefined());
    EXPECT_EQ(object->getValueStoreName(), L"Local");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"Server");
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ChangeFanOut, BringsAllValuesOfASilentReportToTheObject) {
    service->OnConfigChanged(L"Key", L"v", L"o", true, true, L"Local", L"Server", true);
    const auto object = service->getConfig(L"Key");
    EXPECT_EQ(object->getValue(), L"v");
    EXPECT_EQ(object->getOriginalValue(), L"o");
    EXPECT_TRUE(object->getisOverridden());
    EXPECT_TRUE(object->getisDefined());
    EXPECT_EQ(object->getValueStoreName(), L"Local");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"Server");
}

TEST_F(ChangeFanOut, MakesAnObjectForAKeyThatNobodyAskedFor) {
    EXPECT_EQ(service->findConfigFromKey(L"Key"), nullptr);
    report(L"Key", L"v");
    EXPECT_NE(service->findConfigFromKey(L"Key"), nullptr);
    EXPECT_EQ(service->getAllConfig()->size(), 1U);
}

TEST_F(ChangeFanOut, KeepsTheMarksOfASilentFirstReportForAnObserverThatComesLater) {
    service->OnConfigChanged(L"Key", L"v", L"o", true, true, L"Local", L"Server", true);
    const auto observer = observe(L"Key");
    service->FireIfRequired(L"Key");
    EXPECT_THAT(observer->told, ElementsAre("Value", "OriginalValue", "isOverridden", "isDefined", "ValueStoreName",
                                            "OriginalValueStoreName"));
}

TEST_F(ChangeFanOut, TellsALoudReportBeforeItReturns) {
    const auto observer = observe(L"Key");
    report(L"Key", L"v");
    EXPECT_THAT(observer->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
}

TEST_F(ChangeFanOut, TellsNothingOfAReportWithTheSameState) {
    report(L"Key", L"v");
    const auto observer = observe(L"Key");
    report(L"Key", L"v");
    report(L"Key", L"v", true);
    service->FireIfRequired(L"Key");
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ChangeFanOut, AppliesABatchInFullBeforeTheFirstObserverHearsOfIt) {
    const auto first = observe(L"First");
    const auto second = observe(L"Second");
    std::wstring seenBesideFirst;
    first->hook = [&](const std::string&) { seenBesideFirst = service->getConfig(L"Second")->getValue(); };
    report(L"First", L"1", true);
    report(L"Second", L"2", true);
    EXPECT_THAT(first->told, IsEmpty());
    EXPECT_THAT(second->told, IsEmpty());
    service->FireIfRequired(L"First");
    EXPECT_EQ(seenBesideFirst, L"2");
    EXPECT_THAT(first->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
    EXPECT_THAT(second->told, IsEmpty());
    service->FireIfRequired(L"Second");
    EXPECT_THAT(second->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
}

TEST_F(ChangeFanOut, FireOfAKeyNeverReportedMakesAnEmptyObjectAndTellsNothing) {
    service->FireIfRequired(L"Key");
    const auto object = service->findConfigFromKey(L"Key");
    ASSERT_NE(object, nullptr);
    EXPECT_FALSE(object->getisDefined());
    EXPECT_EQ(object->getValue(), L"");
}

TEST_F(ChangeFanOut, AReportUnderAnOldNameReachesTheObjectOfTheCurrentOne) {
    service->setupConfigKeyAliases({{L"Old", L"New"}});
    report(L"Old", L"v");
    const auto object = service->getConfig(L"New");
    EXPECT_EQ(object->getKey(), L"New");
    EXPECT_EQ(object->getValue(), L"v");
    EXPECT_EQ(service->getConfig(L"Old"), object);
}

TEST_F(ChangeFanOut, AFireUnderAnOldNameReachesTheObjectOfTheCurrentOne) {
    service->setupConfigKeyAliases({{L"Old", L"New"}});
    report(L"New", L"v", true);
    const auto observer = observe(L"New");
    service->FireIfRequired(L"Old");
    EXPECT_THAT(observer->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
}

TEST_F(ChangeFanOut, GivesTheObjectOfASensitiveKeyTheRealText) {
    service->updateSensitiveKeyList(L"Secret");
    service->OnConfigChanged(L"Secret", L"hunter2", L"hunter1", true, true, L"Local", L"Server", false);
    EXPECT_EQ(service->getConfig(L"Secret")->getValue(), L"hunter2");
    EXPECT_EQ(service->getConfig(L"Secret")->getOriginalValue(), L"hunter1");
    EXPECT_FALSE(log->mentions("hunter"));
}

TEST_F(ChangeFanOut, ASilentReportOfALostKeyLeavesItDefinedAndALoudOneDoesNot) {
    report(L"Key", L"v");
    service->OnConfigChanged(L"Key", L"", L"", false, false, L"", L"", true);
    EXPECT_TRUE(service->getConfig(L"Key")->getisDefined());
    EXPECT_EQ(service->getConfig(L"Key")->getValue(), L"");
    reportGone(L"Key");
    EXPECT_FALSE(service->getConfig(L"Key")->getisDefined());
}

TEST_F(ChangeFanOut, AReportFromAnotherThreadIsToldWhenTheDispatcherHasItsTurn) {
    const auto observer = observe(L"Key");
    report(L"Key", L"v");
    observer->told.clear();
    dispatcher->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>([this] { report(L"Key", L"v"); }, "same state"));
    dispatcher->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>([this] { report(L"Key", L"w"); }, "new state"));
    EXPECT_TRUE(dispatcher->runOne());
    EXPECT_THAT(observer->told, IsEmpty());
    EXPECT_TRUE(dispatcher->runOne());
    EXPECT_THAT(observer->told, ElementsAre("Value"));
}

}  // namespace
