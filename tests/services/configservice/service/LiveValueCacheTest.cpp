#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Observers.h"
#include "ServiceFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LiveValueCache : public ServiceFixture {
protected:
    void alias(const std::wstring& oldName, const std::wstring& currentName) {
        service->setupConfigKeyAliases({{oldName, currentName}});
    }

    std::vector<std::wstring> keys() {
        std::vector<std::wstring> names;
        const auto all = service->getAllConfig();
        for (const auto& config : *all) {
            names.push_back(config->getKey());
        }
        return names;
    }
};

TEST_F(LiveValueCache, MakesAnUndefinedObjectAndKeepsIt) {
    const auto object = service->getConfig(L"Key");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->getKey(), L"Key");
    EXPECT_EQ(object->getValue(), L"");
    EXPECT_EQ(object->getOriginalValue(), L"");
    EXPECT_FALSE(object->getisOverridden());
    EXPECT_FALSE(object->getisDefined());
    EXPECT_EQ(object->getValueStoreName(), L"");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"");
    EXPECT_EQ(service->getConfig(L"Key"), object);
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(LiveValueCache, ReadsNoStore) {
    const auto featureSet = registerFeatureSet();
    featureSet->holdValue(L"Key", L"in a store");
    EXPECT_EQ(service->getConfig(L"Key")->getValue(), L"");
    EXPECT_THAT(featureSet->calls(), IsEmpty());
}

TEST_F(LiveValueCache, KeepsTheSpellingOfTheFirstRequest) {
    const auto object = service->getConfig(L"LOUD");
    EXPECT_EQ(service->getConfig(L"loud"), object);
    EXPECT_EQ(object->getKey(), L"LOUD");
    EXPECT_THAT(keys(), ElementsAre(L"LOUD"));
}

TEST_F(LiveValueCache, SharesOneControlBlockWithItsClients) {
    const auto object = service->getConfig(L"Key");
    const auto own = service->findConfigFromKey(L"Key");
    EXPECT_FALSE(object.owner_before(own) || own.owner_before(object));
    EXPECT_EQ(std::dynamic_pointer_cast<ConfigValueImpl>(object), own);
}

TEST_F(LiveValueCache, MakesAnObjectForAnOldNameUnderTheCurrentOne) {
    alias(L"Old", L"New");
    const auto object = service->getConfig(L"Old");
    EXPECT_EQ(object->getKey(), L"New");
    EXPECT_THAT(log->lines(), IsEmpty());
    EXPECT_EQ(service->getConfig(L"New"), object);
    EXPECT_THAT(log->lines(), IsEmpty());
    EXPECT_EQ(service->getConfig(L"Old"), object);
    EXPECT_THAT(keys(), ElementsAre(L"New"));
}

TEST_F(LiveValueCache, LogsALookupByAnOldName) {
    alias(L"Old", L"New");
    report(L"New", L"text");
    service->getConfig(L"oLD");
    const fakes::RecordingLogSink::Line line{4, "ConfigServiceImpl", "findConfig",
                                             "findConfig key : [oLD] is an alias for key : [New] actual lookup done "
                                             "on this key - value : [text]"};
    EXPECT_THAT(log->lines(), ElementsAre(line));
}

TEST_F(LiveValueCache, HidesTheValueInTheLogOfASensitiveOldName) {
    alias(L"Old", L"New");
    service->updateSensitiveKeyList(L"OLD");
    report(L"New", L"hunter2");
    service->getConfig(L"Old");
    EXPECT_THAT(log->texts(4), ElementsAre("findConfig key : [Old] is an alias for key : [New] actual lookup done on "
                                           "this key - value : [VALUE_HIDDEN]"));
}

TEST_F(LiveValueCache, DoesNotAskForTheCurrentNamesSensitivity) {
    alias(L"Old", L"New");
    service->updateSensitiveKeyList(L"New");
    report(L"New", L"hunter2");
    service->getConfig(L"Old");
    EXPECT_THAT(log->texts(4), ElementsAre("findConfig key : [Old] is an alias for key : [New] actual lookup done on "
                                           "this key - value : [hunter2]"));
}

TEST_F(LiveValueCache, LogsTheTextThatTheFipsRuleMakes) {
    alias(L"OldP2P", L"telephony_p2p_enabled");
    report(L"telephony_p2p_enabled", L"true");
    world.setFips(true);
    service->getConfig(L"OldP2P");
    EXPECT_THAT(log->texts(4), ElementsAre("findConfig key : [OldP2P] is an alias for key : [telephony_p2p_enabled] "
                                           "actual lookup done on this key - value : [false]"));
}

TEST_F(LiveValueCache, KeepsAnObjectMadeUnderTheOldNameBeforeTheTableCame) {
    const auto object = service->getConfig(L"Old");
    alias(L"Old", L"New");
    EXPECT_EQ(service->getConfig(L"Old"), object);
    EXPECT_EQ(object->getKey(), L"Old");
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(LiveValueCache, PrefersTheCurrentNameOnceBothAreThere) {
    const auto underOld = service->getConfig(L"Old");
    alias(L"Old", L"New");
    const auto underNew = service->getConfig(L"New");
    EXPECT_NE(underNew, underOld);
    EXPECT_EQ(service->getConfig(L"Old"), underNew);
    EXPECT_THAT(log->texts(4), ElementsAre("findConfig key : [Old] is an alias for key : [New] actual lookup done on "
                                           "this key - value : []"));
}

TEST_F(LiveValueCache, FollowsOneStepOfTheTableOnly) {
    service->setupConfigKeyAliases({{L"A", L"B"}, {L"B", L"C"}});
    EXPECT_EQ(service->getConfig(L"A")->getKey(), L"B");
}

TEST_F(LiveValueCache, ReplacesTheTableOfNamesWhole) {
    alias(L"Old", L"New");
    alias(L"Older", L"Newer");
    EXPECT_EQ(service->getConfig(L"Old")->getKey(), L"Old");
    EXPECT_EQ(service->getConfig(L"Older")->getKey(), L"Newer");
}

TEST_F(LiveValueCache, AnswersWhetherANameIsOld) {
    alias(L"Old", L"New");
    std::wstring target = L"before";
    EXPECT_TRUE(service->isKeyAlias(L"OLD", target));
    EXPECT_EQ(target, L"New");
    EXPECT_FALSE(service->isKeyAlias(L"New", target));
    EXPECT_EQ(target, L"");
}

TEST_F(LiveValueCache, FindsOnlyWhatIsThere) {
    EXPECT_EQ(service->findConfigFromKey(L"Key"), nullptr);
    const auto object = service->createConfig(L"Key");
    EXPECT_EQ(service->findConfigFromKey(L"KEY"), object);
    alias(L"Old", L"Key");
    EXPECT_EQ(service->findConfigFromKey(L"Old"), nullptr) << "old names are not followed here";
}

TEST_F(LiveValueCache, MakesADefinedObjectWithItsValuesUnmasked) {
    service->updateSensitiveKeyList(L"Secret");
    const auto object = service->createConfig(L"Secret", L"hunter2", L"hunter1", true, L"Local", L"Server");
    EXPECT_TRUE(object->getisDefined());
    EXPECT_TRUE(object->getisOverridden());
    EXPECT_EQ(object->getValue(), L"hunter2");
    EXPECT_EQ(object->getOriginalValue(), L"hunter1");
    EXPECT_EQ(object->getValueStoreName(), L"Local");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"Server");
    EXPECT_EQ(service->getConfig(L"Secret"), object);
}

TEST_F(LiveValueCache, KeepsTheObjectThatIsThereWhenAnotherIsMade) {
    const auto first = service->createConfig(L"Key");
    const auto second = service->createConfig(L"KEY");
    const auto third = service->createConfig(L"key", L"v", L"", true, L"S", L"");
    EXPECT_NE(second, first);
    EXPECT_NE(third, first);
    EXPECT_EQ(service->getConfig(L"Key"), first);
}

TEST_F(LiveValueCache, UpdatesTheVeryObjectThatTheClientHolds) {
    const auto object = service->getConfig(L"Key");
    const auto observer = std::make_shared<RecordingValueObserver>();
    object->addObserver(observer);
    report(L"KEY", L"late");
    EXPECT_EQ(object->getValue(), L"late");
    EXPECT_TRUE(object->getisDefined());
    EXPECT_EQ(object->getKey(), L"Key");
    EXPECT_THAT(observer->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
    reportGone(L"Key");
    EXPECT_FALSE(object->getisDefined());
    EXPECT_EQ(object->getValue(), L"");
}

TEST_F(LiveValueCache, ForgetsItsObjectsInAResetButClientsKeepTheirs) {
    const auto object = service->getConfig(L"Key");
    report(L"Key", L"before");
    service->reset();
    report(L"Key", L"after");
    EXPECT_EQ(object->getValue(), L"before");
    const auto fresh = service->getConfig(L"Key");
    EXPECT_NE(fresh, object);
    EXPECT_EQ(fresh->getValue(), L"after");
}

TEST_F(LiveValueCache, KeepsTheTableOfNamesInAReset) {
    alias(L"Old", L"New");
    service->reset();
    EXPECT_EQ(service->getConfig(L"Old")->getKey(), L"New");
}

TEST_F(LiveValueCache, StartsEmptyWhenInitialized) {
    service->getConfig(L"Key");
    service->initialize(factory);
    EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(LiveValueCache, GivesNoObjectsOfAnEmptyCache) {
    const auto all = service->getAllConfig();
    ASSERT_NE(all, nullptr);
    EXPECT_THAT(*all, IsEmpty());
}

TEST_F(LiveValueCache, GivesAllObjectsInTheOrderOfTheirKeysUndefinedOnesToo) {
    report(L"beta", L"2");
    service->getConfig(L"Gamma");
    report(L"Alpha", L"1");
    EXPECT_THAT(keys(), ElementsAre(L"Alpha", L"beta", L"Gamma"));
    EXPECT_EQ(service->getAllConfig()->front(), service->getConfig(L"Alpha"));
}

TEST_F(LiveValueCache, GivesASnapshotOfTheKeysWithLiveObjects) {
    service->getConfig(L"Key");
    const auto all = service->getAllConfig();
    service->getConfig(L"Later");
    report(L"Key", L"live");
    EXPECT_EQ(all->size(), 1U);
    EXPECT_EQ(all->front()->getValue(), L"live");
    all->clear();
    EXPECT_EQ(service->getAllConfig()->size(), 2U);
}

}  // namespace
