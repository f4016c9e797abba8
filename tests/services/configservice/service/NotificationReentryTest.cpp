#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "Observers.h"
#include "ServiceFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Call = fakes::ScriptedFeatureSet::Call;

/// A service over a feature set that reports each write and erasure before it returns, as the chain does on the
/// dispatcher thread.
class NotificationReentry : public ServiceFixture {
protected:
    NotificationReentry() {
        featureSet->during("setConfig", [this](const Call& call) { report(call.arguments[0], call.arguments[1]); });
        featureSet->during("resetConfig", [this](const Call& call) { reportGone(call.arguments[0]); });
        observer->hook = [this](const std::string& property) {
            if (property == "Value" && !std::exchange(entered, true)) {
                inside();
            }
        };
        service->getConfig(L"Key")->addObserver(observer);
    }

    const std::shared_ptr<fakes::ScriptedFeatureSet> featureSet = registerFeatureSet();
    std::shared_ptr<RecordingValueObserver> observer = std::make_shared<RecordingValueObserver>();
    /// Run inside the first notification of "Key"'s value.
    std::function<void()> inside = [] {};
    bool entered = false;
};

TEST_F(NotificationReentry, AnObserverWritesAnotherKey) {
    inside = [this] { service->setConfig(L"Other", L"2"); };
    service->setConfig(L"Key", L"1");
    EXPECT_EQ(service->getConfig(L"Key")->getValue(), L"1");
    EXPECT_EQ(service->getConfig(L"Other")->getValue(), L"2");
}

TEST_F(NotificationReentry, AnObserverWritesTheSameKey) {
    inside = [this] { service->getConfig(L"Key")->setConfig(L"2"); };
    service->setConfig(L"Key", L"1");
    EXPECT_EQ(service->getConfig(L"Key")->getValue(), L"2");
    EXPECT_THAT(observer->told, ElementsAre("Value", "Value", "isOverridden", "isDefined", "ValueStoreName"));
}

TEST_F(NotificationReentry, AnObserverErasesTheKeyAndNothingOfTheOlderStateLandsOnTop) {
    inside = [this] { service->getConfig(L"Key")->reset(); };
    service->setConfig(L"Key", L"1");
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"setConfig", {L"Key", L"1"}}, Call{"resetConfig", {L"Key"}}));
    const auto key = service->getConfig(L"Key");
    EXPECT_EQ(key->getValue(), L"");
    EXPECT_FALSE(key->getisDefined());
    EXPECT_FALSE(key->getisOverridden());
    EXPECT_EQ(key->getValueStoreName(), L"");
    EXPECT_THAT(observer->told, ElementsAre("Value", "Value"));
}

TEST_F(NotificationReentry, OfTwoNewerStatesTheLastIsNotCoveredByWhatIsLeftOfTheOlderOne) {
    inside = [this] {
        report(L"Key", L"2", true);
        reportGone(L"Key");
    };
    report(L"Key", L"1");
    const auto key = service->getConfig(L"Key");
    EXPECT_EQ(key->getValue(), L"");
    EXPECT_FALSE(key->getisDefined());
    EXPECT_FALSE(key->getisOverridden());
    EXPECT_EQ(key->getValueStoreName(), L"");
}

TEST_F(NotificationReentry, AnObserverAsksForOtherValues) {
    std::size_t known = 0;
    inside = [&] {
        for (int i = 0; i < 100; ++i) {
            service->getConfig(L"New" + std::to_wstring(i));
        }
        known = service->getAllConfig()->size();
    };
    report(L"Key", L"1");
    EXPECT_EQ(known, 101U);
}

TEST_F(NotificationReentry, AnObserverRemovesItself) {
    inside = [this] { service->getConfig(L"Key")->removeObserver(observer); };
    report(L"Key", L"1");
    EXPECT_THAT(observer->told, ElementsAre("Value")) << "the fires that follow take no notice of it any more";
}

TEST_F(NotificationReentry, AnObserverDropsItsOwnLastReference) {
    const std::weak_ptr<RecordingValueObserver> weak = observer;
    inside = [this] { observer.reset(); };
    report(L"Key", L"1");
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(service->getConfig(L"Key")->getValueStoreName(), L"LocalFileConfigStore");
}

TEST_F(NotificationReentry, AnObserverRemovesALaterOneWhichHearsOnlyOfTheFireUnderWay) {
    const auto later = std::make_shared<RecordingValueObserver>();
    service->getConfig(L"Key")->addObserver(later);
    inside = [&] { service->getConfig(L"Key")->removeObserver(later); };
    report(L"Key", L"1");
    EXPECT_THAT(later->told, ElementsAre("Value"));
}

TEST_F(NotificationReentry, AnObserverEmptiesTheCacheWhileItsObjectIsUpdated) {
    const std::weak_ptr<ConfigValue> weak = service->getConfig(L"Key");
    bool aliveInside = false;
    inside = [&] {
        service->reset();
        aliveInside = !weak.expired();
    };
    report(L"Key", L"1");
    EXPECT_TRUE(aliveInside);
    EXPECT_TRUE(weak.expired());
    EXPECT_THAT(observer->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
}

TEST_F(NotificationReentry, AnObserverEmptiesTheCacheWhileItsObjectFiresWhatIsPending) {
    const std::weak_ptr<ConfigValue> weak = service->getConfig(L"Key");
    inside = [&] { service->reset(); };
    report(L"Key", L"1", true);
    service->FireIfRequired(L"Key");
    EXPECT_TRUE(weak.expired());
    EXPECT_THAT(observer->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
}

TEST_F(NotificationReentry, AnObserverCausesAnotherBatchOfTheSameKey) {
    inside = [this] {
        report(L"Key", L"2", true);
        service->FireIfRequired(L"Key");
    };
    report(L"Key", L"1", true);
    service->FireIfRequired(L"Key");
    EXPECT_EQ(service->getConfig(L"Key")->getValue(), L"2");
    EXPECT_THAT(observer->told, ElementsAre("Value", "Value", "isOverridden", "isDefined", "ValueStoreName"));
}

TEST_F(NotificationReentry, ACallbackDisconnectsItselfAndAnotherAndConnectsAThird) {
    const auto notifier = service->getConfig(L"Key")->getConfigValueNotifiers()->getValueNotifier();
    std::vector<std::string> called;
    std::weak_ptr<PropertyNotifierConnection> first;
    std::weak_ptr<PropertyNotifierConnection> second;
    std::weak_ptr<PropertyNotifierConnection> third;
    first = notifier->connect([&] {
        called.push_back("first");
        first.lock()->disconnect();
        second.lock()->disconnect();
        third = notifier->connect([&] { called.push_back("third"); });
    });
    second = notifier->connect([&] { called.push_back("second"); });
    report(L"Key", L"1");
    EXPECT_THAT(called, ElementsAre("first"));
    report(L"Key", L"2");
    EXPECT_THAT(called, ElementsAre("first", "third"));
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(second.expired());
    third.lock()->disconnect();
}

TEST_F(NotificationReentry, AnObserverAsksForTheNotifiersWhileItIsTold) {
    int fired = 0;
    std::weak_ptr<PropertyNotifierConnection> connection;
    inside = [&] {
        connection =
            service->getConfig(L"Key")->getConfigValueNotifiers()->getisDefinedNotifier()->connect([&] { ++fired; });
    };
    report(L"Key", L"1");
    EXPECT_EQ(fired, 1) << "isDefined comes after the value in the same report";
    connection.lock()->disconnect();
}

TEST_F(NotificationReentry, AnObserverThatThrowsKeepsBackNeitherTheStoringNorTheTellingOfTheRest) {
    const auto ahead = std::make_shared<RecordingValueObserver>();
    const auto key = service->getConfig(L"Key");
    key->removeObserver(observer);
    key->addObserver(ahead);
    key->addObserver(observer);
    inside = [] { throw std::runtime_error("observer"); };
    EXPECT_THROW(service->OnConfigChanged(L"Key", L"1", L"2", true, true, L"Local", L"Server", false),
                 std::runtime_error);
    EXPECT_EQ(key->getValue(), L"1");
    EXPECT_EQ(key->getOriginalValue(), L"2");
    EXPECT_TRUE(key->getisOverridden());
    EXPECT_TRUE(key->getisDefined());
    EXPECT_EQ(key->getValueStoreName(), L"Local");
    EXPECT_EQ(key->getOriginalValueStoreName(), L"Server");
    const auto all =
        ElementsAre("Value", "OriginalValue", "isOverridden", "isDefined", "ValueStoreName", "OriginalValueStoreName");
    EXPECT_THAT(ahead->told, all);
    EXPECT_THAT(observer->told, all);
}

TEST_F(NotificationReentry, OfSeveralExceptionsAboutOneReportTheFirstLeavesAndTheOthersAreLogged) {
    observer->hook = [](const std::string& property) { throw std::runtime_error(property); };
    const auto expectTheFirst = [](const auto& operation) {
        try {
            operation();
            FAIL() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Value");
        }
    };
    const auto theOthers = ElementsAre("A further observer threw: isOverridden", "A further observer threw: isDefined",
                                       "A further observer threw: ValueStoreName");
    expectTheFirst([this] { report(L"Key", L"1"); });
    EXPECT_THAT(log->texts(2), theOthers);
    log->clear();
    const auto other = service->getConfig(L"Other");
    other->addObserver(observer);
    report(L"Other", L"1", true);
    expectTheFirst([this] { service->FireIfRequired(L"Other"); });
    EXPECT_THAT(log->texts(2), theOthers);
}

TEST_F(NotificationReentry, AnObserverThatThrowsInABatchLeavesNothingToTellTwice) {
    inside = [] { throw std::runtime_error("observer"); };
    report(L"Key", L"1", true);
    EXPECT_THROW(service->FireIfRequired(L"Key"), std::runtime_error);
    EXPECT_THAT(observer->told, ElementsAre("Value", "isOverridden", "isDefined", "ValueStoreName"));
    observer->told.clear();
    report(L"Key", L"1", true);
    service->FireIfRequired(L"Key");
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(NotificationReentry, AnObserverThatWritesTheSameKeyAndThrowsLeavesTheNewerStateInFull) {
    inside = [this] {
        service->OnConfigChanged(L"Key", L"2", L"newer", false, true, L"Newer", L"", false);
        throw std::runtime_error("observer");
    };
    EXPECT_THROW(service->OnConfigChanged(L"Key", L"1", L"older", true, true, L"Older", L"Older", false),
                 std::runtime_error);
    const auto key = service->getConfig(L"Key");
    EXPECT_EQ(key->getValue(), L"2");
    EXPECT_EQ(key->getOriginalValue(), L"newer");
    EXPECT_FALSE(key->getisOverridden());
    EXPECT_TRUE(key->getisDefined());
    EXPECT_EQ(key->getValueStoreName(), L"Newer");
    EXPECT_EQ(key->getOriginalValueStoreName(), L"");
    EXPECT_THAT(observer->told, ElementsAre("Value", "Value", "OriginalValue", "isDefined", "ValueStoreName"));
}

TEST_F(NotificationReentry, AClientThatDisconnectsInsideANotificationLeavesNothingBehind) {
    std::weak_ptr<PropertyNotifierConnection> connection;
    const auto held = std::make_shared<int>(0);
    connection = service->getConfig(L"Key")->getConfigValueNotifiers()->getValueNotifier()->addConnection(
        [&connection, held] { connection.lock()->disconnect(); });
    report(L"Key", L"1");
    EXPECT_TRUE(connection.expired());
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
