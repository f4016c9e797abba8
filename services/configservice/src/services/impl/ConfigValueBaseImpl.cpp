#include "ConfigValueBaseImpl.h"

#include "ConfigValueNotifiersImpl.h"

const char* const ConfigValueBaseImpl::className = "ConfigValueBaseImpl";

ConfigValueBaseImpl::ConfigValueBaseImpl(const std::shared_ptr<UnifiedFactory>& factory)
    : UnifiedBusinessObjectImpl(factory, className) {}

ConfigValueBaseImpl::ConfigValueBaseImpl(const std::shared_ptr<UnifiedFactory>& factory, bool checksAccess)
    : UnifiedBusinessObjectImpl(factory, checksAccess, className) {}

TesselLogger* ConfigValueBaseImpl::logger() {
    static TesselLogger* const logger = TesselLogger_getLogger("ConfigValue-Base-Impl");
    return logger;
}

void ConfigValueBaseImpl::initNotifiers() {
    if (notifiers_ != nullptr) {
        return;
    }
    const auto notifiers = std::make_shared<ConfigValueNotifiersImpl>();
    notifiers_ = notifiers;
    ownNotifiers_ = notifiers.get();
    addObserver(std::weak_ptr<ConfigValueObserver>(notifiers));
}

std::wstring ConfigValueBaseImpl::getKey() const {
    EnsureUpdateAccess(true);
    return key_;
}

void ConfigValueBaseImpl::setKey(const std::wstring& key) {
    EnsureUpdateAccess(true);
    key_ = key;
}

std::wstring ConfigValueBaseImpl::getValue() const {
    EnsureUpdateAccess(true);
    return value_;
}

void ConfigValueBaseImpl::setValue(const std::wstring& value) {
    EnsureUpdateAccess(true);
    storeValue(value);
}

std::wstring ConfigValueBaseImpl::getOriginalValue() const {
    EnsureUpdateAccess(true);
    return originalValue_;
}

void ConfigValueBaseImpl::setOriginalValue(const std::wstring& originalValue) {
    EnsureUpdateAccess(true);
    storeOriginalValue(originalValue);
}

bool ConfigValueBaseImpl::getisOverridden() const {
    EnsureUpdateAccess(true);
    return isOverridden_;
}

void ConfigValueBaseImpl::setisOverridden(bool isOverridden) {
    EnsureUpdateAccess(true);
    storeIsOverridden(isOverridden);
}

bool ConfigValueBaseImpl::getisDefined() const {
    EnsureUpdateAccess(true);
    return isDefined_;
}

void ConfigValueBaseImpl::setisDefined(bool isDefined) {
    EnsureUpdateAccess(true);
    storeIsDefined(isDefined);
}

std::wstring ConfigValueBaseImpl::getValueStoreName() const {
    EnsureUpdateAccess(true);
    return valueStoreName_.text();
}

void ConfigValueBaseImpl::setValueStoreName(const std::wstring& valueStoreName) {
    EnsureUpdateAccess(true);
    storeValueStoreName(valueStoreName);
}

std::wstring ConfigValueBaseImpl::getOriginalValueStoreName() const {
    EnsureUpdateAccess(true);
    return originalValueStoreName_.text();
}

void ConfigValueBaseImpl::setOriginalValueStoreName(const std::wstring& originalValueStoreName) {
    EnsureUpdateAccess(true);
    storeOriginalValueStoreName(originalValueStoreName);
}

void ConfigValueBaseImpl::addObserver(std::weak_ptr<ConfigValueObserver> observer) {
    UnifiedBusinessObjectImpl::addObserver(observer);
}

void ConfigValueBaseImpl::removeObserver(std::weak_ptr<ConfigValueObserver> observer) {
    UnifiedBusinessObjectImpl::removeObserver(observer);
}

std::shared_ptr<ConfigValueNotifiers> ConfigValueBaseImpl::getConfigValueNotifiers() {
    initNotifiers();
    return std::dynamic_pointer_cast<ConfigValueNotifiers>(notifiers_);
}

void ConfigValueBaseImpl::fire(void (ConfigValueObserver::*changed)()) {
    EnsureUpdateAccess(true);
    tell(changed);
}

void ConfigValueBaseImpl::tell(void (ConfigValueObserver::*changed)()) {
    // Most objects have no other observer, and those that a snapshot keeps alive this object does.
    if (ownNotifiers_ != nullptr && isObservedOnlyBy(ownNotifiers_)) {
        ConfigValueObserver& own = *ownNotifiers_;
        (own.*changed)();
        return;
    }
    for (const auto& observer : lockObservers()) {
        if (auto* const valueObserver = dynamic_cast<ConfigValueObserver*>(observer.get())) {
            (valueObserver->*changed)();
        }
    }
}

bool ConfigValueBaseImpl::fetchNotifiersAhead(unsigned step) const {
    return ownNotifiers_ != nullptr && ownNotifiers_->fetchAhead(step);
}

void ConfigValueBaseImpl::fireKey() { fire(&ConfigValueObserver::OnKeyChanged); }

void ConfigValueBaseImpl::fireValue() { fire(&ConfigValueObserver::OnValueChanged); }

void ConfigValueBaseImpl::fireOriginalValue() { fire(&ConfigValueObserver::OnOriginalValueChanged); }

void ConfigValueBaseImpl::fireisOverridden() { fire(&ConfigValueObserver::OnisOverriddenChanged); }

void ConfigValueBaseImpl::fireisDefined() { fire(&ConfigValueObserver::OnisDefinedChanged); }

void ConfigValueBaseImpl::fireValueStoreName() { fire(&ConfigValueObserver::OnValueStoreNameChanged); }

void ConfigValueBaseImpl::fireOriginalValueStoreName() { fire(&ConfigValueObserver::OnOriginalValueStoreNameChanged); }
