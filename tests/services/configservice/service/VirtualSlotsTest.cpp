// Where the virtual operations of the service's and the live values' classes stand in the tables of those classes. The
// compiler gives them places in the order of their declarations, so a line that is moved in a header moves a slot.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <numeric>
#include <vector>

#include "ConfigServiceImpl.h"
#include "ConfigValueImpl.h"

namespace {

using ::testing::ElementsAreArray;

/// What stands before a class's own operations: two slots of the destructor, and six operations of every business
/// object.
constexpr std::ptrdiff_t FRAMEWORK_SLOTS = 8;

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
    EXPECT_THAT(slots, ElementsAreArray(consecutiveFrom(2, slots.size()))) << "the destructor comes first";
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

}  // namespace
