#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <type_traits>

#include "ConfigServiceImpl.h"
#include "ConfigServiceNotifiersImpl.h"
#include "ConfigValueNotifiersImpl.h"
#include "PropertyNotifierConnectionImpl.h"
#include "ServiceFixture.h"

namespace {

// A virtual base cannot be cast down from statically, and a base that stands once can always be reached.
template <typename Base, typename Derived>
concept StaticDownCast = requires(Base* base) {
    static_cast<Derived*>(base);
};

template <typename Base, typename Derived>
constexpr bool isVirtualBase = std::is_convertible_v<Derived*, Base*> && !StaticDownCast<Base, Derived>;

template <typename Base, typename Derived>
constexpr bool isPlainBase = std::is_convertible_v<Derived*, Base*>&& StaticDownCast<Base, Derived>;

static_assert(isVirtualBase<UnifiedBusinessObject, UnifiedService>);
static_assert(isVirtualBase<UnifiedBusinessObjectObserver, UnifiedServiceObserver>);
static_assert(isVirtualBase<UnifiedBusinessObjectNotifiers, UnifiedServiceNotifiers>);
static_assert(isVirtualBase<UnifiedService, UnifiedServiceImpl>);
static_assert(isPlainBase<UnifiedBusinessObjectImpl, UnifiedServiceImpl>);
static_assert(isVirtualBase<UnifiedService, ConfigService>);
static_assert(isVirtualBase<UnifiedServiceObserver, ConfigServiceObserver>);
static_assert(isVirtualBase<UnifiedServiceNotifiers, ConfigServiceNotifiers>);
static_assert(isPlainBase<UnifiedServiceImpl, ConfigServiceBaseImpl>);
static_assert(isPlainBase<ConfigService, ConfigServiceBaseImpl>);
static_assert(isPlainBase<ConfigServiceBaseImpl, ConfigServiceImpl>);
static_assert(isVirtualBase<UnifiedBusinessObject, ConfigValue>);
static_assert(isVirtualBase<UnifiedBusinessObjectObserver, ConfigValueObserver>);
static_assert(isVirtualBase<UnifiedBusinessObjectNotifiers, ConfigValueNotifiers>);
static_assert(isPlainBase<UnifiedBusinessObjectImpl, ConfigValueBaseImpl>);
static_assert(isPlainBase<ConfigValue, ConfigValueBaseImpl>);
static_assert(isPlainBase<ConfigValueBaseImpl, ConfigValueImpl>);
static_assert(isVirtualBase<UnifiedBusinessObjectNotifiers, UnifiedBusinessObjectNotifiersImpl>);
static_assert(isVirtualBase<UnifiedBusinessObjectObserver, UnifiedBusinessObjectNotifiersImpl>);
static_assert(isPlainBase<UnifiedBusinessObjectNotifiersImpl, UnifiedServiceNotifiersImpl>);
static_assert(isVirtualBase<UnifiedServiceNotifiers, UnifiedServiceNotifiersImpl>);
static_assert(isVirtualBase<UnifiedServiceObserver, UnifiedServiceNotifiersImpl>);
static_assert(isPlainBase<UnifiedServiceNotifiersImpl, ConfigServiceNotifiersImpl>);
static_assert(isVirtualBase<ConfigServiceNotifiers, ConfigServiceNotifiersImpl>);
static_assert(isVirtualBase<ConfigServiceObserver, ConfigServiceNotifiersImpl>);
static_assert(isPlainBase<UnifiedBusinessObjectNotifiersImpl, ConfigValueNotifiersImpl>);
static_assert(isVirtualBase<ConfigValueNotifiers, ConfigValueNotifiersImpl>);
static_assert(isVirtualBase<ConfigValueObserver, ConfigValueNotifiersImpl>);
static_assert(isVirtualBase<PropertyNotifier, PropertyNotifierImpl>);
static_assert(isPlainBase<PropertyNotifierConnection, PropertyNotifierConnectionImpl<std::function<void()>>>);

template <typename T>
concept ObservedByPlainObservers = requires(T& object, std::weak_ptr<UnifiedBusinessObjectObserver> observer) {
    object.addObserver(observer);
};

// An observer of another layer does not compile.
static_assert(!ObservedByPlainObservers<UnifiedService>);
static_assert(!ObservedByPlainObservers<ConfigService>);
static_assert(!ObservedByPlainObservers<ConfigServiceImpl>);
static_assert(!ObservedByPlainObservers<ConfigValue>);
static_assert(!ObservedByPlainObservers<ConfigValueImpl>);

TEST(ClassTree, MakesNotifiersShareableFromThemselves) {
    const auto notifiers = std::make_shared<ConfigServiceNotifiersImpl>();
    EXPECT_EQ(notifiers->shared_from_this(), notifiers);
    const auto notifier = std::make_shared<PropertyNotifierImpl>();
    EXPECT_EQ(notifier->shared_from_this(), notifier);
}

using Identity = ServiceFixture;

TEST_F(Identity, AnswersTheNameOfTheMostDerivedInterface) {
    EXPECT_EQ(service->getInterfaceName(), "ConfigService");
    EXPECT_EQ(service->getConfig(L"Key")->getInterfaceName(), "ConfigValue");
    EXPECT_EQ(UnifiedServiceImpl(factory, "Any").getInterfaceName(), "UnifiedService");
    EXPECT_EQ(UnifiedBusinessObjectObserver().getInterfaceName(), "UnifiedBusinessObjectObserver");
    EXPECT_EQ(UnifiedServiceObserver().getInterfaceName(), "UnifiedServiceObserver");
    EXPECT_EQ(ConfigServiceObserver().getInterfaceName(), "ConfigServiceObserver");
    EXPECT_EQ(ConfigValueObserver().getInterfaceName(), "ConfigValueObserver");
}

TEST_F(Identity, AnswersTheInterfaceOfABareBusinessObject) {
    class BareObject : public UnifiedBusinessObjectImpl {
    public:
        using UnifiedBusinessObjectImpl::UnifiedBusinessObjectImpl;
    };
    EXPECT_EQ(BareObject(factory, "BareObject").getInterfaceName(), "UnifiedBusinessObject");
}

TEST_F(Identity, AnswersTheObserverNameOnNotifiersToo) {
    EXPECT_EQ(UnifiedBusinessObjectNotifiersImpl().getInterfaceName(), "UnifiedBusinessObjectObserver");
    EXPECT_EQ(UnifiedServiceNotifiersImpl().getInterfaceName(), "UnifiedServiceObserver");
    EXPECT_EQ(ConfigServiceNotifiersImpl().getInterfaceName(), "ConfigServiceObserver");
    EXPECT_EQ(ConfigValueNotifiersImpl().getInterfaceName(), "ConfigValueObserver");
}

TEST_F(Identity, AnswersTheClassNames) {
    EXPECT_EQ(service->getClassName(), "UnifiedServiceImpl");
    EXPECT_STREQ(ConfigServiceBaseImpl::className, "ConfigServiceBaseImpl");
    EXPECT_STREQ(ConfigValueBaseImpl::className, "ConfigValueBaseImpl");
    EXPECT_NE(service->toString().find("ConfigServiceBaseImpl"), std::string::npos);
    EXPECT_NE(service->getConfig(L"Key")->toString().find("ConfigValueBaseImpl"), std::string::npos);
}

TEST_F(Identity, GivesEachObjectAnIdentifierOfItsOwnThatStays) {
    const auto first = service->getConfig(L"First");
    const auto second = service->getConfig(L"Second");
    EXPECT_FALSE(first->getGuid().empty());
    EXPECT_NE(first->getGuid(), second->getGuid());
    EXPECT_NE(first->getGuid(), service->getGuid());
    EXPECT_EQ(first->getGuid(), first->getGuid());
}

}  // namespace
