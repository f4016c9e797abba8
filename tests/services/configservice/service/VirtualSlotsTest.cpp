// Where the virtual operations of the service's and the live values' classes, and of the interfaces by whose tables
// other modules call and are called, stand in their tables. The compiler gives them places in the order of their
// declarations, so a line that is moved in a header moves a slot.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "ConfigFeatureSet.h"
#include "ConfigServiceImpl.h"
#include "ConfigStore.h"
#include "ConfigValueImpl.h"

namespace {

using ::testing::ElementsAreArray;

/// The destructor has two, first of all where nothing else is said.
constexpr std::ptrdiff_t DESTRUCTOR_SLOTS = 2;

/// What stands before a class's own operations: the destructor, and six operations of every business object.
constexpr std::ptrdiff_t FRAMEWORK_SLOTS = DESTRUCTOR_SLOTS + 6;

/// The slots of operations, which a pointer to each of them tells.
template <typename... Operations>
std::vector<std::ptrdiff_t> slotsOf(Operations... operations) {
    constexpr auto slotSize = static_cast<std::ptrdiff_t>(sizeof(void*));
    return {std::bit_cast<std::array<std::ptrdiff_t, 2>>(operations)[0] / slotSize...};
}

std::vector<std::ptrdiff_t> consecutiveFrom(std::ptrdiff_t first, std::size_t count) {
    std::vector<std::ptrdiff_t> slots(count);
    std::iota(slots.begin(), slots.end(), first);
    return slots;
}

TEST(VirtualSlots, OfABusinessObjectLieInTheirOrder) {
    const auto slots =
        slotsOf(&UnifiedBusinessObjectImpl::addObserver, &UnifiedBusinessObjectImpl::removeObserver,
                &UnifiedBusinessObjectImpl::getUnifiedBusinessObjectNotifiers, &UnifiedBusinessObjectImpl::getGuid,
                &UnifiedBusinessObjectImpl::toString, &UnifiedBusinessObjectImpl::getInterfaceName);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
    EXPECT_EQ(slots.back() + 1, FRAMEWORK_SLOTS);
}

TEST(VirtualSlots, OfALiveValueLieInTheirOrder) {
    const auto slots = slotsOf(
        &ConfigValueBaseImpl::initNotifiers, &ConfigValueBaseImpl::getKey, &ConfigValueBaseImpl::setKey,
        &ConfigValueBaseImpl::getValue, &ConfigValueBaseImpl::setValue, &ConfigValueBaseImpl::getOriginalValue,
        &ConfigValueBaseImpl::setOriginalValue, &ConfigValueBaseImpl::getisOverridden,
        &ConfigValueBaseImpl::setisOverridden, &ConfigValueBaseImpl::getisDefined, &ConfigValueBaseImpl::setisDefined,
        &ConfigValueBaseImpl::getValueStoreName, &ConfigValueBaseImpl::setValueStoreName,
        &ConfigValueBaseImpl::getOriginalValueStoreName, &ConfigValueBaseImpl::setOriginalValueStoreName,
        &ConfigValueBaseImpl::addObserver, &ConfigValueBaseImpl::removeObserver,
        &ConfigValueBaseImpl::getConfigValueNotifiers, &ConfigValueImpl::setConfig, &ConfigValueImpl::equals,
        &ConfigValueImpl::reset, &ConfigValueImpl::isValueLocal);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(FRAMEWORK_SLOTS, slots.size())));
    EXPECT_EQ(slotsOf(&ConfigValueImpl::getValue), slotsOf(&ConfigValueBaseImpl::getValue));
}

TEST(VirtualSlots, OfTheServiceLieInTheirOrder) {
    const auto slots =
        slotsOf(&UnifiedServiceImpl::initNotifiers, &UnifiedServiceImpl::getClassName, &UnifiedServiceImpl::addObserver,
                &UnifiedServiceImpl::removeObserver, &UnifiedServiceImpl::getUnifiedServiceNotifiers,
                &UnifiedServiceImpl::getBulkUpdateInProgress, &ConfigServiceBaseImpl::getConfigReady,
                &ConfigServiceBaseImpl::setConfigReady, &ConfigServiceBaseImpl::addObserver,
                &ConfigServiceBaseImpl::removeObserver, &ConfigServiceBaseImpl::getConfigServiceNotifiers,
                &ConfigServiceImpl::getConfig, &ConfigServiceImpl::setConfig, &ConfigServiceImpl::setInMemoryConfig,
                &ConfigServiceImpl::getAllConfig, &ConfigServiceImpl::resetConfig,
                &ConfigServiceImpl::removeConfigStoreAndCache, &ConfigServiceImpl::removeAllCachedConfigStores,
                &ConfigServiceImpl::logConfig, &ConfigServiceImpl::setKeySensitive, &ConfigServiceImpl::isKeySensitive,
                &ConfigServiceImpl::setUrlProvisioningData, &ConfigServiceImpl::resetAllowUriProvisioningData);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(FRAMEWORK_SLOTS, slots.size())));
    EXPECT_EQ(slotsOf(&ConfigServiceBaseImpl::initNotifiers), slotsOf(&UnifiedServiceImpl::initNotifiers));
}

TEST(VirtualSlots, OfTheInterfaceOfTheServiceLieInTheirOrder) {
    const auto slots =
        slotsOf(&UnifiedBusinessObject::addObserver, &UnifiedBusinessObject::removeObserver,
                &UnifiedBusinessObject::getUnifiedBusinessObjectNotifiers, &UnifiedBusinessObject::getGuid,
                &UnifiedBusinessObject::toString, &UnifiedBusinessObject::getInterfaceName,
                &UnifiedService::addObserver, &UnifiedService::removeObserver,
                &UnifiedService::getUnifiedServiceNotifiers, &UnifiedService::getBulkUpdateInProgress,
                &ConfigService::addObserver, &ConfigService::removeObserver, &ConfigService::getConfigServiceNotifiers,
                &ConfigService::getConfigReady, &ConfigService::getConfig, &ConfigService::setConfig,
                &ConfigService::setInMemoryConfig, &ConfigService::getAllConfig, &ConfigService::resetConfig,
                &ConfigService::removeConfigStoreAndCache, &ConfigService::removeAllCachedConfigStores,
                &ConfigService::logConfig, &ConfigService::setKeySensitive, &ConfigService::isKeySensitive,
                &ConfigService::setUrlProvisioningData, &ConfigService::resetAllowUriProvisioningData);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
}

TEST(VirtualSlots, OfTheInterfaceOfALiveValueLieInTheirOrder) {
    const auto slots = slotsOf(
        &ConfigValue::addObserver, &ConfigValue::removeObserver, &ConfigValue::getConfigValueNotifiers,
        &ConfigValue::getKey, &ConfigValue::getValue, &ConfigValue::getOriginalValue, &ConfigValue::getisOverridden,
        &ConfigValue::getisDefined, &ConfigValue::getValueStoreName, &ConfigValue::getOriginalValueStoreName,
        &ConfigValue::setConfig, &ConfigValue::equals, &ConfigValue::reset, &ConfigValue::isValueLocal);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(FRAMEWORK_SLOTS, slots.size())));
}

TEST(VirtualSlots, OfTheObserverOfTheServiceLieInTheirOrder) {
    const auto slots =
        slotsOf(&UnifiedBusinessObjectObserver::OnInfoChanged, &UnifiedBusinessObjectObserver::OnGuidChanged,
                &UnifiedBusinessObjectObserver::getInterfaceName,
                &UnifiedServiceObserver::OnBulkUpdateInProgressChanged, &ConfigServiceObserver::OnConfigReadyChanged);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
}

TEST(VirtualSlots, OfTheObserverOfALiveValueLieInTheirOrder) {
    const auto slots =
        slotsOf(&UnifiedBusinessObjectObserver::OnInfoChanged, &UnifiedBusinessObjectObserver::OnGuidChanged,
                &UnifiedBusinessObjectObserver::getInterfaceName, &ConfigValueObserver::OnKeyChanged,
                &ConfigValueObserver::OnValueChanged, &ConfigValueObserver::OnOriginalValueChanged,
                &ConfigValueObserver::OnisOverriddenChanged, &ConfigValueObserver::OnisDefinedChanged,
                &ConfigValueObserver::OnValueStoreNameChanged, &ConfigValueObserver::OnOriginalValueStoreNameChanged);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
}

TEST(VirtualSlots, OfTheNotifiersOfTheServiceLieInTheirOrder) {
    const auto slots = slotsOf(&UnifiedBusinessObjectNotifiers::getGuidNotifier,
                               &UnifiedServiceNotifiers::getBulkUpdateInProgressNotifier,
                               &ConfigServiceNotifiers::getConfigReadyNotifier);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
}

TEST(VirtualSlots, OfTheNotifiersOfALiveValueLieInTheirOrder) {
    const auto slots = slotsOf(
        &UnifiedBusinessObjectNotifiers::getGuidNotifier, &ConfigValueNotifiers::getKeyNotifier,
        &ConfigValueNotifiers::getValueNotifier, &ConfigValueNotifiers::getOriginalValueNotifier,
        &ConfigValueNotifiers::getisOverriddenNotifier, &ConfigValueNotifiers::getisDefinedNotifier,
        &ConfigValueNotifiers::getValueStoreNameNotifier, &ConfigValueNotifiers::getOriginalValueStoreNameNotifier);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
}

TEST(VirtualSlots, OfAPropertysNotifierAndItsConnectionsLieInTheirOrderAheadOfTheDestructor) {
    EXPECT_THAT(slotsOf(&PropertyNotifier::connect, &PropertyNotifier::addConnection),
                ElementsAreArray(consecutiveFrom(0, 2)));
    EXPECT_THAT(slotsOf(&PropertyNotifierConnection::disconnect, &PropertyNotifierConnection::connected),
                ElementsAreArray(consecutiveFrom(0, 2)));
}

TEST(VirtualSlots, OfAStoreLieInTheirOrder) {
    const auto slots =
        slotsOf(&ConfigStore::getValue, &ConfigStore::storeValue, &ConfigStore::getKeys, &ConfigStore::removeValue,
                &ConfigStore::removeAllValues, &ConfigStore::isReadOnly, &ConfigStore::getName,
                &ConfigStore::getPriority, &ConfigStore::persistValues, &ConfigStore::destroy, &ConfigStore::isLocal,
                &ConfigStore::waitForStoreReady, &ConfigStore::shouldCacheConfigStore, &ConfigStore::getCachedPriority);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
}

TEST(VirtualSlots, OfTheFeatureSetLieInTheirOrder) {
    using GetValue = bool (ConfigFeatureSet::*)(const std::wstring&, std::wstring&, bool);
    using GetValueAndStore = bool (ConfigFeatureSet::*)(const std::wstring&, std::wstring&, std::wstring&, bool&, bool);
    using SetOne = bool (ConfigFeatureSet::*)(const std::wstring&, const std::wstring&);
    using SetSeveral = bool (ConfigFeatureSet::*)(std::map<std::wstring, std::wstring>);
    const auto slots = slotsOf(
        &ConfigFeatureSet::addConfigStore, &ConfigFeatureSet::removeConfigStore,
        &ConfigFeatureSet::removeAllCachedConfigStores, static_cast<GetValue>(&ConfigFeatureSet::getConfig),
        static_cast<GetValueAndStore>(&ConfigFeatureSet::getConfig), static_cast<SetOne>(&ConfigFeatureSet::setConfig),
        static_cast<SetSeveral>(&ConfigFeatureSet::setConfig), &ConfigFeatureSet::setInMemoryConfig,
        &ConfigFeatureSet::resetConfig, &ConfigFeatureSet::isKeySensitive, &ConfigFeatureSet::setKeySensitive,
        &ConfigFeatureSet::startTftpConfigSource, &ConfigFeatureSet::stopTftpConfigSource,
        &ConfigFeatureSet::refreshConfigFeatureSet, &ConfigFeatureSet::setUrlProvisioningData,
        &ConfigFeatureSet::resetAllowUriProvisioningData);
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(DESTRUCTOR_SLOTS, slots.size())));
}

}  // namespace
