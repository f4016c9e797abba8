#include "ConfigValueImpl.h"

#include <utility>

#include "ConfigFeatureSet.h"
#include "chain/DisableP2PCallOnFips.h"
#include "chain/FetchAhead.h"
#include "quill/FirstException.h"
#include "quill/StringUtils.h"

using QuillCoreUtils::FirstException;

namespace {

constexpr const char* LOGGER = "ConfigValueImpl";

}  // namespace

ConfigValueImpl::ConfigValueImpl(const std::shared_ptr<UnifiedFactory>& factory, const std::wstring& key)
    : ConfigValueBaseImpl(factory) {
    initialize(key, {}, {}, false, false, {}, {});
}

ConfigValueImpl::ConfigValueImpl(const std::shared_ptr<UnifiedFactory>& factory, const std::wstring& key,
                                 const std::wstring& value, const std::wstring& originalValue, bool isOverridden,
                                 const std::wstring& valueStoreName, const std::wstring& originalValueStoreName)
    : ConfigValueBaseImpl(factory) {
    initialize(key, value, originalValue, isOverridden, true, valueStoreName, originalValueStoreName);
}

void ConfigValueImpl::initialize(const std::wstring& key, const std::wstring& value, const std::wstring& originalValue,
                                 bool isOverridden, bool isDefined, const std::wstring& valueStoreName,
                                 const std::wstring& originalValueStoreName) {
    setKey(key);
    setValue(value);
    setOriginalValue(originalValue);
    setisOverridden(isOverridden);
    setisDefined(isDefined);
    setValueStoreName(valueStoreName);
    setOriginalValueStoreName(originalValueStoreName);
    pendingValueFire_ = false;
    pendingOriginalValueFire_ = false;
    pendingisOverriddenFire_ = false;
    pendingisDefinedFire_ = false;
    pendingValueStoreNameFire_ = false;
    pendingOriginalValueStoreNameFire_ = false;
}

const std::wstring& ConfigValueImpl::currentValue() const {
    return DisableP2PCallOnFips::valueAsRead(storedKey(), storedValue());
}

std::wstring ConfigValueImpl::getValue() const {
    EnsureUpdateAccess(true);
    return currentValue();
}

void ConfigValueImpl::setConfig(std::wstring value) {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->setConfig(getKey(), value);
    }
}

bool ConfigValueImpl::equals(std::wstring value) {
    EnsureUpdateAccess(true);
    return QuillCoreUtils::caseInsensitiveStringEquals(currentValue(), value);
}

void ConfigValueImpl::reset() {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->resetConfig(getKey());
    }
}

bool ConfigValueImpl::isValueLocal() {
    EnsureUpdateAccess(true);
    return storedOriginalValue() != currentValue() || storedOriginalValueStoreName() != storedValueStoreName();
}

void ConfigValueImpl::update(const std::wstring& value, const std::wstring& originalValue, bool isOverridden,
                             bool isDefined, const std::wstring& valueStoreName,
                             const std::wstring& originalValueStoreName) {
    EnsureUpdateAccess(true);
    // An observer may change the key from inside its notification, and the newer state is then applied in full before
    // the fire returns. What is left of this older one must not land on top of it.
    const std::uint64_t state = ++newestState_;
    FirstException thrown(LOGGER);
    if (value != currentValue()) {
        storeValue(value);
        tellAndKeep(&ConfigValueObserver::OnValueChanged, thrown);
    }
    if (state == newestState_ && originalValue != storedOriginalValue()) {
        storeOriginalValue(originalValue);
        tellAndKeep(&ConfigValueObserver::OnOriginalValueChanged, thrown);
    }
    if (state == newestState_ && isOverridden != storedIsOverridden()) {
        storeIsOverridden(isOverridden);
        tellAndKeep(&ConfigValueObserver::OnisOverriddenChanged, thrown);
    }
    if (state == newestState_ && isDefined != storedIsDefined()) {
        storeIsDefined(isDefined);
        tellAndKeep(&ConfigValueObserver::OnisDefinedChanged, thrown);
    }
    if (state == newestState_ && valueStoreName != storedValueStoreName()) {
        storeValueStoreName(valueStoreName);
        tellAndKeep(&ConfigValueObserver::OnValueStoreNameChanged, thrown);
    }
    if (state == newestState_ && originalValueStoreName != storedOriginalValueStoreName()) {
        storeOriginalValueStoreName(originalValueStoreName);
        tellAndKeep(&ConfigValueObserver::OnOriginalValueStoreNameChanged, thrown);
    }
    thrown.rethrow();
}

void ConfigValueImpl::silentUpdate(const std::wstring& value, const std::wstring& originalValue, bool isOverridden,
                                   bool isDefined, const std::wstring& valueStoreName,
                                   const std::wstring& originalValueStoreName) {
    EnsureUpdateAccess(true);
    ++newestState_;
    if (value != currentValue()) {
        storeValue(value);
        pendingValueFire_ = true;
    }
    if (originalValue != storedOriginalValue()) {
        storeOriginalValue(originalValue);
        pendingOriginalValueFire_ = true;
    }
    if (isOverridden != storedIsOverridden()) {
        storeIsOverridden(isOverridden);
        pendingisOverriddenFire_ = true;
    }
    // Unlike update(): a batch can define a key but never undefine it, and a key that stays undefined is told anew.
    if (!storedIsDefined()) {
        storeIsDefined(isDefined);
        pendingisDefinedFire_ = true;
    }
    if (valueStoreName != storedValueStoreName()) {
        storeValueStoreName(valueStoreName);
        pendingValueStoreNameFire_ = true;
    }
    if (originalValueStoreName != storedOriginalValueStoreName()) {
        storeOriginalValueStoreName(originalValueStoreName);
        pendingOriginalValueStoreNameFire_ = true;
    }
}

bool ConfigValueImpl::fetchAhead(unsigned step) const {
    if (step == 0) {
        FetchAhead::bytes(this, sizeof(*this));
        return true;
    }
    if (step == 1) {
        FetchAhead::text(storedKey());
        FetchAhead::line(storedValue().data());
        FetchAhead::line(storedOriginalValue().data());
    }
    return pendingValueFire_ && fetchNotifiersAhead(step - 1);
}

void ConfigValueImpl::fireRequired() {
    FirstException thrown(LOGGER);
    const auto fireIf = [&](bool& pending, void (ConfigValueObserver::*changed)()) {
        if (pending) {
            EnsureUpdateAccess(true);
            tellAndKeep(changed, thrown);
            // Behind the fire, so that an observer which causes the same mark again causes no second fire.
            pending = false;
        }
    };
    fireIf(pendingValueFire_, &ConfigValueObserver::OnValueChanged);
    fireIf(pendingOriginalValueFire_, &ConfigValueObserver::OnOriginalValueChanged);
    fireIf(pendingisOverriddenFire_, &ConfigValueObserver::OnisOverriddenChanged);
    fireIf(pendingisDefinedFire_, &ConfigValueObserver::OnisDefinedChanged);
    fireIf(pendingValueStoreNameFire_, &ConfigValueObserver::OnValueStoreNameChanged);
    fireIf(pendingOriginalValueStoreNameFire_, &ConfigValueObserver::OnOriginalValueStoreNameChanged);
    thrown.rethrow();
}

void ConfigValueImpl::tellAndKeep(void (ConfigValueObserver::*changed)(), FirstException& thrown) {
    thrown.keepOf([&] { tell(changed); }, "A further observer threw");
}
