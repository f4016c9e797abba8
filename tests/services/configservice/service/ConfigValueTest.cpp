#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "ConfigValueImpl.h"
#include "Observers.h"
#include "ServiceFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Call = fakes::ScriptedFeatureSet::Call;

class ConfigValueTest : public HostFixture {
protected:
    ConfigValueTest() { object->addObserver(std::weak_ptr<ConfigValueObserver>(observer)); }

    std::vector<std::string> takeTold() { return std::exchange(observer->told, {}); }

    const std::shared_ptr<RecordingValueObserver> observer = std::make_shared<RecordingValueObserver>();
    const std::shared_ptr<ConfigValueImpl> object =
        std::make_shared<ConfigValueImpl>(factory, L"Key", L"value", L"original", true, L"Local", L"Server");
};

TEST_F(ConfigValueTest, OfAnUnknownKeyIsUndefinedAndEmpty) {
    const ConfigValueImpl unknown(factory, L"Unknown");
    EXPECT_EQ(unknown.getKey(), L"Unknown");
    EXPECT_EQ(unknown.getValue(), L"");
    EXPECT_EQ(unknown.getOriginalValue(), L"");
    EXPECT_FALSE(unknown.getisOverridden());
    EXPECT_FALSE(unknown.getisDefined());
    EXPECT_EQ(unknown.getValueStoreName(), L"");
    EXPECT_EQ(unknown.getOriginalValueStoreName(), L"");
}

TEST_F(ConfigValueTest, OfAKnownKeyIsDefinedAndHoldsWhatItWasGiven) {
    EXPECT_EQ(object->getKey(), L"Key");
    EXPECT_EQ(object->getValue(), L"value");
    EXPECT_EQ(object->getOriginalValue(), L"original");
    EXPECT_TRUE(object->getisOverridden());
    EXPECT_TRUE(object->getisDefined());
    EXPECT_EQ(object->getValueStoreName(), L"Local");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"Server");
}

TEST_F(ConfigValueTest, IsNotMadeOffTheDispatcherThread) {
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(ConfigValueImpl(factory, L"Key"), std::logic_error);
}

TEST_F(ConfigValueTest, UpdateTellsEachPropertyThatDiffersInOrder) {
    object->update(L"v", L"o", false, false, L"s", L"t");
    EXPECT_THAT(observer->told, ElementsAre("Value", "OriginalValue", "isOverridden", "isDefined", "ValueStoreName",
                                            "OriginalValueStoreName"));
    EXPECT_EQ(object->getKey(), L"Key");
    EXPECT_EQ(object->getValue(), L"v");
    EXPECT_EQ(object->getOriginalValue(), L"o");
    EXPECT_FALSE(object->getisOverridden());
    EXPECT_FALSE(object->getisDefined());
    EXPECT_EQ(object->getValueStoreName(), L"s");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"t");
}

TEST_F(ConfigValueTest, UpdateTellsOnlyThePropertyThatDiffers) {
    object->update(L"v", L"original", true, true, L"Local", L"Server");
    EXPECT_THAT(takeTold(), ElementsAre("Value"));
    object->update(L"v", L"o", true, true, L"Local", L"Server");
    EXPECT_THAT(takeTold(), ElementsAre("OriginalValue"));
    object->update(L"v", L"o", false, true, L"Local", L"Server");
    EXPECT_THAT(takeTold(), ElementsAre("isOverridden"));
    object->update(L"v", L"o", false, false, L"Local", L"Server");
    EXPECT_THAT(takeTold(), ElementsAre("isDefined"));
    object->update(L"v", L"o", false, false, L"s", L"Server");
    EXPECT_THAT(takeTold(), ElementsAre("ValueStoreName"));
    object->update(L"v", L"o", false, false, L"s", L"t");
    EXPECT_THAT(takeTold(), ElementsAre("OriginalValueStoreName"));
}

TEST_F(ConfigValueTest, UpdateWithTheSameStateTellsNothing) {
    object->update(L"value", L"original", true, true, L"Local", L"Server");
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueTest, UpdateComparesTextsWithTheirCase) {
    object->update(L"VALUE", L"ORIGINAL", true, true, L"LOCAL", L"SERVER");
    EXPECT_THAT(observer->told, ElementsAre("Value", "OriginalValue", "ValueStoreName", "OriginalValueStoreName"));
}

TEST_F(ConfigValueTest, ShowsAnObserverOfTheValueTheFormerStateBesideIt) {
    std::vector<std::wstring> seen;
    observer->hook = [&](const std::string& property) {
        if (property == "Value") {
            seen = {object->getValue(), object->getOriginalValue(), object->getValueStoreName(),
                    object->getOriginalValueStoreName()};
            EXPECT_TRUE(object->getisOverridden());
            EXPECT_TRUE(object->getisDefined());
        }
    };
    object->update(L"v", L"o", false, false, L"s", L"t");
    EXPECT_THAT(seen, ElementsAre(L"v", L"original", L"Local", L"Server"));
}

TEST_F(ConfigValueTest, UpdateChangesEachPropertyOnlyAfterTheOneBeforeItWasTold) {
    std::vector<int> changedSoFar;
    observer->hook = [&](const std::string&) {
        changedSoFar.push_back((object->getValue() == L"v") + (object->getOriginalValue() == L"o") +
                               !object->getisOverridden() + !object->getisDefined() +
                               (object->getValueStoreName() == L"s") + (object->getOriginalValueStoreName() == L"t"));
    };
    object->update(L"v", L"o", false, false, L"s", L"t");
    EXPECT_THAT(changedSoFar, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(ConfigValueTest, SilentUpdateTakesTheStateInAndTellsNothing) {
    object->silentUpdate(L"v", L"o", false, true, L"s", L"t");
    EXPECT_THAT(observer->told, IsEmpty());
    EXPECT_EQ(object->getValue(), L"v");
    EXPECT_EQ(object->getOriginalValue(), L"o");
    EXPECT_FALSE(object->getisOverridden());
    EXPECT_EQ(object->getValueStoreName(), L"s");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"t");
}

TEST_F(ConfigValueTest, FireRequiredTellsWhatWasMarkedInOrderAndOnce) {
    ConfigValueImpl unknown(factory, L"Unknown");
    unknown.addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    unknown.silentUpdate(L"v", L"o", true, true, L"s", L"t");
    unknown.fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("Value", "OriginalValue", "isOverridden", "isDefined", "ValueStoreName",
                                        "OriginalValueStoreName"));
    unknown.fireRequired();
    EXPECT_THAT(takeTold(), IsEmpty());
}

TEST_F(ConfigValueTest, FireRequiredTellsOnlyThePropertyThatWasMarked) {
    object->silentUpdate(L"v", L"original", true, true, L"Local", L"Server");
    object->fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("Value"));
    object->silentUpdate(L"v", L"o", true, true, L"Local", L"Server");
    object->fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("OriginalValue"));
    object->silentUpdate(L"v", L"o", false, true, L"Local", L"Server");
    object->fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("isOverridden"));
    object->silentUpdate(L"v", L"o", false, true, L"s", L"Server");
    object->fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("ValueStoreName"));
    object->silentUpdate(L"v", L"o", false, true, L"s", L"t");
    object->fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("OriginalValueStoreName"));
}

TEST_F(ConfigValueTest, FireRequiredWithoutMarksTellsNothing) {
    object->fireRequired();
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueTest, SilentUpdateNeverUndefinesADefinedObject) {
    object->silentUpdate(L"", L"", false, false, L"", L"");
    EXPECT_TRUE(object->getisDefined());
    object->fireRequired();
    EXPECT_THAT(takeTold(),
                ElementsAre("Value", "OriginalValue", "isOverridden", "ValueStoreName", "OriginalValueStoreName"));
    object->update(L"", L"", false, false, L"", L"");
    EXPECT_FALSE(object->getisDefined());
    EXPECT_THAT(takeTold(), ElementsAre("isDefined"));
}

TEST_F(ConfigValueTest, SilentUpdateOfAnObjectThatStaysUndefinedIsToldAllTheSame) {
    ConfigValueImpl unknown(factory, L"Unknown");
    unknown.addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    unknown.silentUpdate(L"", L"", false, false, L"", L"");
    EXPECT_FALSE(unknown.getisDefined());
    unknown.fireRequired();
    EXPECT_THAT(observer->told, ElementsAre("isDefined"));
}

TEST_F(ConfigValueTest, TwoSilentUpdatesTellAPropertyOnceEvenIfItChangedBack) {
    object->silentUpdate(L"v", L"o", true, true, L"Local", L"Server");
    object->silentUpdate(L"value", L"p", true, true, L"Local", L"Server");
    object->fireRequired();
    EXPECT_THAT(observer->told, ElementsAre("Value", "OriginalValue"));
    EXPECT_EQ(object->getValue(), L"value");
}

TEST_F(ConfigValueTest, APendingMarkSurvivesAnUpdateInBetween) {
    object->silentUpdate(L"v", L"original", true, true, L"Local", L"Server");
    object->update(L"v", L"o", true, true, L"Local", L"Server");
    EXPECT_THAT(takeTold(), ElementsAre("OriginalValue"));
    object->fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("Value"));
}

TEST_F(ConfigValueTest, InitializeSetsEverythingTellsNothingAndForgetsMarks) {
    object->silentUpdate(L"v", L"o", false, true, L"s", L"t");
    object->initialize(L"k", L"1", L"2", true, false, L"3", L"4");
    object->fireRequired();
    EXPECT_THAT(observer->told, IsEmpty());
    EXPECT_EQ(object->getKey(), L"k");
    EXPECT_EQ(object->getValue(), L"1");
    EXPECT_EQ(object->getOriginalValue(), L"2");
    EXPECT_TRUE(object->getisOverridden());
    EXPECT_FALSE(object->getisDefined());
    EXPECT_EQ(object->getValueStoreName(), L"3");
    EXPECT_EQ(object->getOriginalValueStoreName(), L"4");
}

TEST_F(ConfigValueTest, InitializeForgetsThatTheKeyWasDefined) {
    object->update(L"", L"", false, false, L"", L"");
    takeTold();
    object->silentUpdate(L"", L"", false, true, L"", L"");
    object->initialize(L"k", L"1", L"2", true, true, L"3", L"4");
    object->fireRequired();
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueTest, AMarkMadeWhileItsObserversAreToldIsLost) {
    bool again = true;
    observer->hook = [&](const std::string& property) {
        if (property == "Value" && std::exchange(again, false)) {
            object->silentUpdate(L"w", L"o", true, true, L"Local", L"Server");
        }
    };
    object->silentUpdate(L"v", L"original", true, true, L"Local", L"Server");
    object->fireRequired();
    // The mark of the original value was made before its turn came, so it is told in the same round.
    EXPECT_THAT(takeTold(), ElementsAre("Value", "OriginalValue"));
    EXPECT_EQ(object->getValue(), L"w");
    object->fireRequired();
    EXPECT_THAT(takeTold(), IsEmpty());
}

TEST_F(ConfigValueTest, EveryPropertyLosesAMarkMadeWhileItsObserversAreTold) {
    const auto changed = [](const char* told, const std::string& property, const wchar_t* now, const wchar_t* next) {
        return std::wstring(told == property ? next : now);
    };
    // Each notification marks its own property anew and leaves the others as they are.
    observer->hook = [&](const std::string& property) {
        object->silentUpdate(
            changed("Value", property, object->getValue().c_str(), L"w"),
            changed("OriginalValue", property, object->getOriginalValue().c_str(), L"w"),
            object->getisOverridden() != (property == "isOverridden"), true,
            changed("ValueStoreName", property, object->getValueStoreName().c_str(), L"w"),
            changed("OriginalValueStoreName", property, object->getOriginalValueStoreName().c_str(), L"w"));
    };
    object->silentUpdate(L"v", L"v", false, true, L"v", L"v");
    object->fireRequired();
    EXPECT_THAT(takeTold(),
                ElementsAre("Value", "OriginalValue", "isOverridden", "ValueStoreName", "OriginalValueStoreName"));
    EXPECT_EQ(object->getOriginalValueStoreName(), L"w");
    object->fireRequired();
    EXPECT_THAT(takeTold(), IsEmpty());
}

TEST_F(ConfigValueTest, AKeyThatStaysUndefinedLosesAMarkMadeWhileItsObserversAreTold) {
    const auto unknown = std::make_shared<ConfigValueImpl>(factory, L"Unknown");
    unknown->addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    const auto stayUndefined = [&] { unknown->silentUpdate(L"", L"", false, false, L"", L""); };
    observer->hook = [&](const std::string& property) {
        if (property == "isDefined") {
            stayUndefined();
        }
    };
    stayUndefined();
    unknown->fireRequired();
    EXPECT_THAT(takeTold(), ElementsAre("isDefined"));
    unknown->fireRequired();
    EXPECT_THAT(takeTold(), IsEmpty());
}

TEST_F(ConfigValueTest, StateIsTakenInOnlyOnTheDispatcherThread) {
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(object->update(L"v", L"o", false, false, L"s", L"t"), std::logic_error);
    EXPECT_THROW(object->silentUpdate(L"v", L"o", false, false, L"s", L"t"), std::logic_error);
    EXPECT_THROW(object->setConfig(L"v"), std::logic_error);
    EXPECT_THROW(object->reset(), std::logic_error);
    EXPECT_THROW(object->equals(L"value"), std::logic_error);
    EXPECT_THROW(object->isValueLocal(), std::logic_error);
    EXPECT_THROW(object->getValue(), std::logic_error);
    EXPECT_NO_THROW(object->fireRequired()) << "it has no check of its own, and nothing is marked";
    dispatcher->setUpdateAccess(true);
    EXPECT_EQ(object->getValue(), L"value");
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueTest, TakesStateInWithoutARegisteredService) {
    EXPECT_EQ(factory->getService<ConfigService>(), nullptr);
    object->update(L"v", L"original", true, true, L"Local", L"Server");
    object->silentUpdate(L"w", L"original", true, true, L"Local", L"Server");
    object->fireRequired();
    EXPECT_THAT(observer->told, ElementsAre("Value", "Value"));
}

TEST_F(ConfigValueTest, WritesGoToTheFeatureSetAndChangeNothingHere) {
    const auto featureSet = registerFeatureSet();
    object->setConfig(L"new");
    object->reset();
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"setConfig", {L"Key", L"new"}}, Call{"resetConfig", {L"Key"}}));
    EXPECT_EQ(object->getValue(), L"value");
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueTest, WritesWithoutAFeatureSetDoNothing) {
    object->setConfig(L"new");
    object->reset();
    EXPECT_EQ(object->getValue(), L"value");
    EXPECT_THAT(observer->told, IsEmpty());
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ConfigValueTest, EqualsIgnoresCase) {
    EXPECT_TRUE(object->equals(L"VaLuE"));
    EXPECT_FALSE(object->equals(L"value "));
    EXPECT_FALSE(object->equals(L"original"));
}

TEST_F(ConfigValueTest, EqualsTheEmptyTextWhenUndefined) {
    ConfigValueImpl unknown(factory, L"Unknown");
    EXPECT_TRUE(unknown.equals(L""));
    EXPECT_FALSE(unknown.equals(L"x"));
}

TEST_F(ConfigValueTest, IsLocalWhenTheTextsDiffer) {
    EXPECT_TRUE(object->isValueLocal());
    EXPECT_TRUE(ConfigValueImpl(factory, L"K", L"v", L"V", false, L"S", L"S").isValueLocal()) << "case counts";
    EXPECT_TRUE(ConfigValueImpl(factory, L"K", L"v", L"", true, L"Local", L"").isValueLocal()) << "only the user's";
}

TEST_F(ConfigValueTest, IsLocalWhenTheTextsAgreeButTheStoresDiffer) {
    EXPECT_TRUE(ConfigValueImpl(factory, L"K", L"v", L"v", true, L"Local", L"Server").isValueLocal());
    EXPECT_TRUE(ConfigValueImpl(factory, L"K", L"v", L"v", true, L"SERVER", L"Server").isValueLocal());
}

TEST_F(ConfigValueTest, IsNotLocalWhenItComesStraightFromTheAdministrator) {
    EXPECT_FALSE(ConfigValueImpl(factory, L"K", L"v", L"v", false, L"Server", L"Server").isValueLocal());
    EXPECT_FALSE(ConfigValueImpl(factory, L"K").isValueLocal()) << "known to no store";
}

}  // namespace
