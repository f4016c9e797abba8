#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "ConfigValueImpl.h"
#include "ConfigValueNotifiersImpl.h"
#include "Observers.h"
#include "ServiceFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// One row of the property table of a value, with texts for all types: a bool is set to true.
struct Property {
    const char* name;
    void (*set)(ConfigValueBaseImpl&);
    bool (*isSet)(const ConfigValueBaseImpl&);
    bool (*isInitial)(const ConfigValueBaseImpl&);
    void (ConfigValueBaseImpl::*fire)();
    void (ConfigValueObserver::*changed)();
    std::shared_ptr<PropertyNotifier> (ConfigValueNotifiers::*notifier)();
};

#define TEXT_PROPERTY(Name)                                                                                            \
    Property {                                                                                                         \
#Name, [](ConfigValueBaseImpl& object) { object.set##Name(L"text of " #Name); },                            \
            [](const ConfigValueBaseImpl& object) { return object.get##Name() == L"text of " #Name; },              \
            [](const ConfigValueBaseImpl& object) { return object.get##Name().empty(); },                           \
            &ConfigValueBaseImpl::fire##Name, &ConfigValueObserver::On##Name##Changed,                              \
            &ConfigValueNotifiers::get##Name##Notifier          \
    }
#define FLAG_PROPERTY(Name)                                                                                            \
    Property {                                                                                                         \
#Name, [](ConfigValueBaseImpl& object) { object.set##Name(true); },                                         \
            [](const ConfigValueBaseImpl& object) { return object.get##Name(); },                                   \
            [](const ConfigValueBaseImpl& object) { return !object.get##Name(); }, &ConfigValueBaseImpl::fire##Name, \
            &ConfigValueObserver::On##Name##Changed, &ConfigValueNotifiers::get##Name##Notifier          \
    }

const std::vector<Property>& properties() {
    static const std::vector<Property> table = {
        TEXT_PROPERTY(Key),
        TEXT_PROPERTY(Value),
        TEXT_PROPERTY(OriginalValue),
        FLAG_PROPERTY(isOverridden),
        FLAG_PROPERTY(isDefined),
        TEXT_PROPERTY(ValueStoreName),
        TEXT_PROPERTY(OriginalValueStoreName),
    };
    return table;
}

#undef TEXT_PROPERTY
#undef FLAG_PROPERTY

class ConfigValueProperties : public HostFixture {
protected:
    std::shared_ptr<RecordingValueObserver> observe() {
        const auto observer = std::make_shared<RecordingValueObserver>();
        object->addObserver(std::weak_ptr<ConfigValueObserver>(observer));
        return observer;
    }

    const std::shared_ptr<ConfigValueImpl> object = std::make_shared<ConfigValueImpl>(factory, L"");
};

TEST_F(ConfigValueProperties, StartEmptyAndFalse) {
    for (const Property& property : properties()) {
        EXPECT_TRUE(property.isInitial(*object)) << property.name;
    }
}

TEST_F(ConfigValueProperties, GiveBackWhatWasSetAndNothingElseChanges) {
    for (const Property& property : properties()) {
        ConfigValueImpl fresh(factory, L"");
        property.set(fresh);
        for (const Property& other : properties()) {
            EXPECT_EQ(other.isSet(fresh), other.name == property.name) << property.name << " and " << other.name;
        }
    }
}

TEST_F(ConfigValueProperties, SettersFireNothing) {
    const auto observer = observe();
    for (const Property& property : properties()) {
        property.set(*object);
    }
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueProperties, EachFireTellsItsOwnOperation) {
    for (const Property& property : properties()) {
        const auto observer = observe();
        (*object.*property.fire)();
        EXPECT_THAT(observer->told, ElementsAre(property.name));
    }
}

TEST_F(ConfigValueProperties, EachNotifierIsMadeOnceAndFiredByItsOwnOperation) {
    for (const Property& property : properties()) {
        const auto notifiers = object->getConfigValueNotifiers();
        const auto notifier = (*notifiers.*property.notifier)();
        EXPECT_EQ((*notifiers.*property.notifier)(), notifier);
        int fired = 0;
        const auto connection = notifier->connect([&] { ++fired; });
        for (const Property& other : properties()) {
            fired = 0;
            (*object.*other.fire)();
            EXPECT_EQ(fired, other.name == property.name ? 1 : 0) << property.name << " and " << other.name;
        }
        connection.lock()->disconnect();
    }
}

TEST_F(ConfigValueProperties, AreGuardedByTheThreadCheckOneByOne) {
    const auto observer = observe();
    for (const Property& property : properties()) {
        dispatcher->setUpdateAccess(false);
        EXPECT_THROW(property.set(*object), std::logic_error) << property.name;
        EXPECT_THROW(property.isSet(*object), std::logic_error) << property.name;
        EXPECT_THROW((*object.*property.fire)(), std::logic_error) << property.name;
        dispatcher->setUpdateAccess(true);
        EXPECT_TRUE(property.isInitial(*object)) << property.name;
    }
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueProperties, AreFreeOfTheCheckInAnObjectThatGuardsItself) {
    class FreeValue : public ConfigValueBaseImpl {
    public:
        explicit FreeValue(const std::shared_ptr<UnifiedFactory>& host) : ConfigValueBaseImpl(host, false) {}
        void setConfig(std::wstring) override {}
        bool equals(std::wstring) override { return false; }
        void reset() override {}
        bool isValueLocal() override { return false; }
    };
    FreeValue free(factory);
    dispatcher->setUpdateAccess(false);
    for (const Property& property : properties()) {
        EXPECT_NO_THROW(property.set(free)) << property.name;
        EXPECT_TRUE(property.isSet(free)) << property.name;
        EXPECT_NO_THROW((free.*property.fire)()) << property.name;
    }
}

TEST_F(ConfigValueProperties, InfoFiresThemAllInTheirOrderButNotTheIdentifier) {
    const auto notifiers = std::make_shared<ConfigValueNotifiersImpl>();
    std::vector<std::string> fired;
    std::vector<std::weak_ptr<PropertyNotifierConnection>> connections;
    connections.push_back(notifiers->getGuidNotifier()->connect([&] { fired.push_back("Guid"); }));
    for (const Property& property : properties()) {
        const auto notifier = (*notifiers.*property.notifier)();
        connections.push_back(notifier->connect([&fired, &property] { fired.push_back(property.name); }));
    }
    notifiers->OnInfoChanged();
    EXPECT_THAT(fired, ElementsAre("Key", "Value", "OriginalValue", "isOverridden", "isDefined", "ValueStoreName",
                                   "OriginalValueStoreName"));
    fired.clear();
    notifiers->OnGuidChanged();
    EXPECT_THAT(fired, ElementsAre("Guid"));
    for (const auto& connection : connections) {
        connection.lock()->disconnect();
    }
}

TEST_F(ConfigValueProperties, NobodyIsToldWhenNobodyAskedForANotifier) {
    ConfigValueNotifiersImpl notifiers;
    EXPECT_NO_THROW(notifiers.OnInfoChanged());
    for (const Property& property : properties()) {
        EXPECT_NO_THROW((notifiers.*property.changed)()) << property.name;
    }
}

TEST_F(ConfigValueProperties, AFireWithoutObserversMakesNoNotifiers) {
    object->fireValue();
    EXPECT_EQ(object->getUnifiedBusinessObjectNotifiers(), nullptr);
}

TEST_F(ConfigValueProperties, TheFirstRequestMakesTheNotifiersForGood) {
    const auto notifiers = object->getConfigValueNotifiers();
    ASSERT_NE(notifiers, nullptr);
    EXPECT_EQ(object->getConfigValueNotifiers(), notifiers);
    EXPECT_EQ(object->getUnifiedBusinessObjectNotifiers(), notifiers);
}

TEST_F(ConfigValueProperties, ChangesBeforeTheFirstRequestAreNotReplayed) {
    object->update(L"early", L"", false, true, L"", L"");
    int fired = 0;
    const auto connection = object->getConfigValueNotifiers()->getValueNotifier()->connect([&] { ++fired; });
    EXPECT_EQ(fired, 0);
    object->update(L"late", L"", false, true, L"", L"");
    EXPECT_EQ(fired, 1);
    connection.lock()->disconnect();
}

TEST_F(ConfigValueProperties, NotifiersStandInLineWithObserversInTheOrderOfRegistration) {
    std::vector<std::string> order;
    const auto before = observe();
    before->hook = [&](const std::string&) { order.push_back("before"); };
    const auto connection =
        object->getConfigValueNotifiers()->getValueNotifier()->connect([&] { order.push_back("notifier"); });
    const auto after = observe();
    after->hook = [&](const std::string&) { order.push_back("after"); };
    object->fireValue();
    EXPECT_THAT(order, ElementsAre("before", "notifier", "after"));
    connection.lock()->disconnect();
}

TEST_F(ConfigValueProperties, AnObserverOfTheWrongTypeIsSkipped) {
    const auto plain = std::make_shared<PlainObserver>();
    static_cast<UnifiedBusinessObject&>(*object).addObserver(plain);
    const auto service = std::make_shared<RecordingServiceObserver>();
    static_cast<UnifiedBusinessObject&>(*object).addObserver(std::weak_ptr<UnifiedBusinessObjectObserver>(service));
    const auto right = observe();
    object->fireValue();
    EXPECT_EQ(plain->told, 0);
    EXPECT_THAT(service->told, IsEmpty());
    EXPECT_THAT(right->told, ElementsAre("Value"));
}

TEST_F(ConfigValueProperties, AnObserverCountsOnceAndIsHeldWeakly) {
    auto observer = observe();
    object->addObserver(std::weak_ptr<ConfigValueObserver>(observer));
    object->fireValue();
    EXPECT_THAT(observer->told, ElementsAre("Value"));
    const std::weak_ptr<RecordingValueObserver> weak = observer;
    observer.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_NO_THROW(object->fireValue());
}

TEST_F(ConfigValueProperties, ARemovedObserverIsToldNoMore) {
    const auto observer = observe();
    object->removeObserver(std::weak_ptr<ConfigValueObserver>(observer));
    object->fireValue();
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ConfigValueProperties, AnObserverThatDropsItsOwnLastReferenceLivesToTheEndOfTheFire) {
    auto observer = observe();
    const std::weak_ptr<RecordingValueObserver> weak = observer;
    bool aliveAfterDrop = false;
    observer->hook = [&](const std::string&) {
        observer.reset();
        aliveAfterDrop = !weak.expired();
    };
    object->fireValue();
    EXPECT_TRUE(aliveAfterDrop);
    EXPECT_TRUE(weak.expired());
}

TEST_F(ConfigValueProperties, AnObserverAddedDuringAFireIsToldFromTheNextOneOn) {
    const auto first = observe();
    std::shared_ptr<RecordingValueObserver> second;
    first->hook = [&](const std::string&) {
        if (second == nullptr) {
            second = observe();
        }
    };
    object->fireValue();
    EXPECT_THAT(second->told, IsEmpty());
    object->fireValue();
    EXPECT_THAT(second->told, ElementsAre("Value"));
}

TEST_F(ConfigValueProperties, AnExceptionOfAnObserverGoesOnToTheCaller) {
    const auto first = observe();
    first->hook = [](const std::string&) { throw std::runtime_error("observer"); };
    EXPECT_THROW(object->fireValue(), std::runtime_error);
}

}  // namespace
