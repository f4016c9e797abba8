#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "Observers.h"
#include "ServiceFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Call = fakes::ScriptedFeatureSet::Call;

using ServiceForwarding = ServiceFixture;

TEST_F(ServiceForwarding, PassesEveryRequestOnUnchanged) {
    const auto featureSet = registerFeatureSet();
    service->setConfig(L"Key", L" Value ");
    service->setInMemoryConfig(L"Memory", L"");
    service->resetConfig(L"Key");
    service->setKeySensitive(L"Secret");
    service->removeConfigStoreAndCache(L"St\u00f6re");
    service->removeAllCachedConfigStores();
    service->refreshConfigFeatureSet();
    service->setUrlProvisioningData(L"link");
    service->resetAllowUriProvisioningData();
    EXPECT_THAT(featureSet->calls(),
                ElementsAre(Call{"setConfig", {L"Key", L" Value "}}, Call{"setInMemoryConfig", {L"Memory", L""}},
                            Call{"resetConfig", {L"Key"}}, Call{"setKeySensitive", {L"Secret"}},
                            Call{"removeConfigStore", {L"St\u00f6re"}}, Call{"removeAllCachedConfigStores", {}},
                            Call{"refreshConfigFeatureSet", {}}, Call{"setUrlProvisioningData", {L"link"}},
                            Call{"resetAllowUriProvisioningData", {}}));
}

TEST_F(ServiceForwarding, GivesTheAnswersBack) {
    const auto featureSet = registerFeatureSet();
    EXPECT_TRUE(service->removeConfigStoreAndCache(L"Store"));
    EXPECT_TRUE(service->setUrlProvisioningData(L"link"));
    EXPECT_TRUE(service->resetAllowUriProvisioningData());
    featureSet->answer(false);
    EXPECT_FALSE(service->removeConfigStoreAndCache(L"Store"));
    EXPECT_FALSE(service->setUrlProvisioningData(L"link"));
    EXPECT_FALSE(service->resetAllowUriProvisioningData());
}

TEST_F(ServiceForwarding, WithoutAFeatureSetDoesNothingSilently) {
    const auto object = service->getConfig(L"Key");
    service->setConfig(L"Key", L"Value");
    service->setInMemoryConfig(L"Key", L"Value");
    service->resetConfig(L"Key");
    service->setKeySensitive(L"Key");
    service->removeAllCachedConfigStores();
    service->refreshConfigFeatureSet();
    EXPECT_FALSE(service->removeConfigStoreAndCache(L"Store"));
    EXPECT_FALSE(service->setUrlProvisioningData(L"link"));
    EXPECT_FALSE(service->resetAllowUriProvisioningData());
    EXPECT_EQ(object->getValue(), L"");
    EXPECT_FALSE(object->getisDefined());
    EXPECT_FALSE(service->isKeySensitive(L"Key"));
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ServiceForwarding, LeavesTheLiveObjectToTheReport) {
    const auto featureSet = registerFeatureSet();
    const auto object = service->getConfig(L"Key");
    service->setConfig(L"Key", L"Value");
    EXPECT_EQ(object->getValue(), L"");
    featureSet->during("setConfig", [this](const Call& call) { report(call.arguments[0], call.arguments[1]); });
    service->setConfig(L"Key", L"Value");
    EXPECT_EQ(object->getValue(), L"Value");
}

TEST_F(ServiceForwarding, FindsTheFeatureSetAnewForEachCall) {
    const auto object = service->getConfig(L"Key");
    const auto callEachOperation = [&] {
        service->setConfig(L"Key", L"Value");
        service->setInMemoryConfig(L"Key", L"Value");
        service->resetConfig(L"Key");
        service->setKeySensitive(L"Key");
        service->removeConfigStoreAndCache(L"Store");
        service->removeAllCachedConfigStores();
        service->refreshConfigFeatureSet();
        service->setUrlProvisioningData(L"link");
        service->resetAllowUriProvisioningData();
        object->setConfig(L"Value");
        object->reset();
    };
    const auto former = registerFeatureSet();
    callEachOperation();
    const auto calls = former->calls();
    EXPECT_EQ(calls.size(), 11U);
    const auto current = registerFeatureSet();
    callEachOperation();
    EXPECT_EQ(former->calls(), calls);
    EXPECT_EQ(current->calls(), calls);
}

TEST_F(ServiceForwarding, LogsNoValue) {
    registerFeatureSet();
    service->setConfig(L"Key", L"Value");
    service->setInMemoryConfig(L"Key", L"Value");
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ServiceForwarding, PassesTheRealValueOfASensitiveKeyDown) {
    const auto featureSet = registerFeatureSet();
    service->updateSensitiveKeyList(L"Secret");
    service->setConfig(L"Secret", L"hunter2");
    service->setInMemoryConfig(L"Secret", L"hunter3");
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"setConfig", {L"Secret", L"hunter2"}},
                                                 Call{"setInMemoryConfig", {L"Secret", L"hunter3"}}));
}

TEST_F(ServiceForwarding, KnowsASensitiveKeyOnlyWhenTheMarkHasComeBack) {
    const auto featureSet = registerFeatureSet();
    service->setKeySensitive(L"Secret");
    EXPECT_FALSE(service->isKeySensitive(L"Secret"));
    featureSet->during("setKeySensitive",
                       [this](const Call& call) { service->updateSensitiveKeyList(call.arguments[0]); });
    service->setKeySensitive(L"Secret");
    EXPECT_TRUE(service->isKeySensitive(L"Secret"));
}

TEST_F(ServiceForwarding, KnowsASensitiveKeyInAnyCaseAndKeepsItForGood) {
    service->updateSensitiveKeyList(L"Secret");
    service->updateSensitiveKeyList(L"SECRET");
    service->reset();
    EXPECT_TRUE(service->isKeySensitive(L"sEcReT"));
    EXPECT_FALSE(service->isKeySensitive(L"Secret2"));
}

TEST_F(ServiceForwarding, ChecksTheThreadBeforeAnythingIsTouched) {
    const auto featureSet = registerFeatureSet();
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(service->getConfig(L"Key"), std::logic_error);
    EXPECT_THROW(service->setConfig(L"Key", L"Value"), std::logic_error);
    EXPECT_THROW(service->setInMemoryConfig(L"Key", L"Value"), std::logic_error);
    EXPECT_THROW(service->resetConfig(L"Key"), std::logic_error);
    EXPECT_THROW(service->isKeySensitive(L"Key"), std::logic_error);
    EXPECT_THROW(service->setKeySensitive(L"Key"), std::logic_error);
    EXPECT_THROW(service->updateSensitiveKeyList(L"Key"), std::logic_error);
    EXPECT_THROW(service->removeConfigStoreAndCache(L"Store"), std::logic_error);
    EXPECT_THROW(service->removeAllCachedConfigStores(), std::logic_error);
    EXPECT_THROW(service->setupConfigKeyAliases({{L"Key", L"Current"}}), std::logic_error);
    EXPECT_THROW(report(L"Key", L"Value"), std::logic_error);
    EXPECT_THROW(report(L"Key", L"Value", true), std::logic_error);
    EXPECT_THROW(service->reset(), std::logic_error);
    EXPECT_THROW(service->refreshConfigFeatureSet(), std::logic_error);
    EXPECT_THROW(service->logConfig(), std::logic_error);
    EXPECT_THROW(service->buildMasterReport(), std::logic_error);
    dispatcher->setUpdateAccess(true);
    EXPECT_THAT(featureSet->calls(), IsEmpty());
    EXPECT_THAT(*service->getAllConfig(), IsEmpty());
    EXPECT_FALSE(service->isKeySensitive(L"Key"));
    EXPECT_EQ(service->getConfig(L"Key")->getKey(), L"Key");
    EXPECT_THAT(log->texts(4), IsEmpty());
}

TEST_F(ServiceForwarding, ChecksTheThreadForKeysThatAreKnownToo) {
    service->setupConfigKeyAliases({{L"Former", L"Key"}});
    report(L"Key", L"Value");
    const std::size_t lines = log->texts(4).size();
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(service->getConfig(L"Key"), std::logic_error);
    EXPECT_THROW(report(L"Former", L"Other"), std::logic_error);
    dispatcher->setUpdateAccess(true);
    EXPECT_EQ(log->texts(4).size(), lines) << "a key was looked up";
    EXPECT_EQ(service->getConfig(L"Key")->getValue(), L"Value");
}

TEST_F(ServiceForwarding, LeavesTheOtherOperationsUnchecked) {
    registerFeatureSet();
    report(L"Key", L"Value");
    dispatcher->setUpdateAccess(false);
    std::wstring target;
    EXPECT_EQ(service->getAllConfig()->size(), 1U);
    EXPECT_NO_THROW(service->FireIfRequired(L"Key"));
    EXPECT_NE(service->findConfig(L"Key"), nullptr);
    EXPECT_NE(service->findConfigFromKey(L"Key"), nullptr);
    EXPECT_FALSE(service->isKeyAlias(L"Key", target));
    EXPECT_TRUE(service->setUrlProvisioningData(L"link"));
    EXPECT_TRUE(service->resetAllowUriProvisioningData());
    dispatcher->setUpdateAccess(true);
    EXPECT_THAT(log->texts(2), IsEmpty());
}

TEST_F(ServiceForwarding, TakesProvisioningFromAnotherThread) {
    const auto featureSet = registerFeatureSet();
    bool taken = false;
    bool reopened = false;
    std::thread([&] {
        taken = service->setUrlProvisioningData(L"link");
        reopened = service->resetAllowUriProvisioningData();
    }).join();
    EXPECT_TRUE(taken);
    EXPECT_TRUE(reopened);
    EXPECT_THAT(featureSet->calls(),
                ElementsAre(Call{"setUrlProvisioningData", {L"link"}}, Call{"resetAllowUriProvisioningData", {}}));
}

TEST_F(ServiceForwarding, WorksForEveryThreadInAHostWithoutADispatcher) {
    const auto bare = std::make_shared<UnifiedFactory>(nullptr, nullptr);
    const auto other = std::make_shared<ConfigServiceImpl>(bare);
    std::thread([&] { EXPECT_FALSE(other->getConfig(L"Key")->getisDefined()); }).join();
}

TEST_F(ServiceForwarding, ContactsNobodyWhenItEnds) {
    const auto featureSet = registerFeatureSet();
    auto other = std::make_shared<ConfigServiceImpl>(factory);
    const auto object = other->getConfig(L"Key");
    const std::weak_ptr<ConfigServiceImpl> weak = other;
    other.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_THAT(featureSet->calls(), IsEmpty());
    EXPECT_EQ(object->getKey(), L"Key") << "a client keeps its object";
}

}  // namespace
