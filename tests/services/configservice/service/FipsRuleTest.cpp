#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ConfigValueImpl.h"
#include "Observers.h"
#include "ServiceFixture.h"
#include "chain/DisableP2PCallOnFips.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FipsRule : public ServiceFixture {
protected:
    static std::wstring read(const std::wstring& key, std::wstring value) {
        DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key, value);
        return value;
    }
};

TEST_F(FipsRule, MakesTheKeyReadFalseInAnyCase) {
    world.setFips(true);
    EXPECT_EQ(read(L"telephony_p2p_enabled", L"true"), L"false");
    EXPECT_EQ(read(L"Telephony_P2P_Enabled", L"true"), L"false");
    EXPECT_EQ(read(L"TELEPHONY_P2P_ENABLED", L""), L"false");
}

TEST_F(FipsRule, LeavesEveryOtherKeyAlone) {
    world.setFips(true);
    EXPECT_EQ(read(L"telephony_enabled", L"true"), L"true");
    EXPECT_EQ(read(L"telephony_p2p_enabled ", L"true"), L"true");
    EXPECT_EQ(read(L"", L"telephony_p2p_enabled"), L"telephony_p2p_enabled");
}

TEST_F(FipsRule, IsOffOutsideFipsMode) { EXPECT_EQ(read(L"telephony_p2p_enabled", L"true"), L"true"); }

TEST_F(FipsRule, AsksForTheModeOnlyOnceTheKeyHasMatchedAndThenEachTime) {
    int asked = 0;
    world.change([&](platform::World& changed) {
        changed.fipsMode = [&asked] {
            ++asked;
            return true;
        };
    });
    read(L"other", L"true");
    EXPECT_EQ(asked, 0);
    read(L"telephony_p2p_enabled", L"true");
    read(L"telephony_p2p_enabled", L"true");
    EXPECT_EQ(asked, 2);
}

TEST_F(FipsRule, ReadsWithoutACopyTheSame) {
    const std::wstring value = L"true";
    EXPECT_EQ(&DisableP2PCallOnFips::valueAsRead(L"telephony_p2p_enabled", value), &value);
    world.setFips(true);
    EXPECT_EQ(DisableP2PCallOnFips::valueAsRead(L"Telephony_P2P_enabled", value), L"false");
    EXPECT_EQ(&DisableP2PCallOnFips::valueAsRead(L"other", value), &value);
}

TEST_F(FipsRule, HidesTheStoredTextOfALiveObject) {
    ConfigValueImpl object(factory, L"Telephony_P2P_Enabled", L"true", L"true", false, L"S", L"S");
    EXPECT_TRUE(object.equals(L"true"));
    EXPECT_FALSE(object.isValueLocal());
    world.setFips(true);
    EXPECT_EQ(object.getValue(), L"false");
    EXPECT_FALSE(object.equals(L"true"));
    EXPECT_TRUE(object.equals(L"FALSE"));
    EXPECT_TRUE(object.isValueLocal()) << "the filtered text takes part";
    EXPECT_EQ(object.getOriginalValue(), L"true");
    world.setFips(false);
    EXPECT_EQ(object.getValue(), L"true");
}

TEST_F(FipsRule, APushOfTrueIsToldEachTimeAndAPushOfFalseNever) {
    world.setFips(true);
    ConfigValueImpl object(factory, L"telephony_p2p_enabled", L"true", L"", true, L"S", L"");
    const auto observer = std::make_shared<RecordingValueObserver>();
    object.addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    object.update(L"true", L"", true, true, L"S", L"");
    object.update(L"true", L"", true, true, L"S", L"");
    EXPECT_THAT(observer->told, ElementsAre("Value", "Value"));
    object.update(L"false", L"", true, true, L"S", L"");
    EXPECT_THAT(observer->told, ElementsAre("Value", "Value"));
    world.setFips(false);
    EXPECT_EQ(object.getValue(), L"true") << "the push of false changed nothing";
}

TEST_F(FipsRule, ASilentPushOfTrueIsMarkedEachTime) {
    world.setFips(true);
    ConfigValueImpl object(factory, L"telephony_p2p_enabled", L"true", L"", true, L"S", L"");
    const auto observer = std::make_shared<RecordingValueObserver>();
    object.addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    object.silentUpdate(L"true", L"", true, true, L"S", L"");
    object.fireRequired();
    EXPECT_THAT(observer->told, ElementsAre("Value"));
    object.silentUpdate(L"false", L"", true, true, L"S", L"");
    object.fireRequired();
    EXPECT_THAT(observer->told, ElementsAre("Value"));
}

TEST_F(FipsRule, ForAnObjectComparesItsValueAndNotItsKey) {
    const auto byValue =
        std::make_shared<ConfigValueImpl>(factory, L"Other", L"Telephony_P2P_Enabled", L"", true, L"S", L"");
    const auto byKey =
        std::make_shared<ConfigValueImpl>(factory, L"telephony_p2p_enabled", L"true", L"", true, L"S", L"");
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(byValue);
    EXPECT_EQ(byValue->getValue(), L"Telephony_P2P_Enabled") << "outside FIPS mode";
    const auto observer = std::make_shared<RecordingValueObserver>();
    byValue->addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    world.setFips(true);
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(byValue);
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(byKey);
    EXPECT_THAT(observer->told, IsEmpty());
    world.setFips(false);
    EXPECT_EQ(byValue->getValue(), L"false") << "set for good";
    EXPECT_EQ(byKey->getValue(), L"true") << "its stored text is untouched";
}

TEST_F(FipsRule, ForAnObjectIsAppliedToEveryObjectHandedOut) {
    report(L"First", L"telephony_p2p_enabled");
    report(L"Second", L"telephony_p2p_enabled");
    world.setFips(true);
    EXPECT_EQ(service->getConfig(L"First")->getValue(), L"false");
    world.setFips(false);
    EXPECT_EQ(service->getConfig(L"First")->getValue(), L"false");
    EXPECT_EQ(service->getConfig(L"Second")->getValue(), L"telephony_p2p_enabled");
    world.setFips(true);
    const auto all = service->getAllConfig();
    world.setFips(false);
    EXPECT_EQ(all->at(1)->getKey(), L"Second");
    EXPECT_EQ(all->at(1)->getValue(), L"false");
}

}  // namespace
