#include "ConfigValueNotifiersImpl.h"

#include "chain/FetchAhead.h"

std::shared_ptr<PropertyNotifier> ConfigValueNotifiersImpl::getKeyNotifier() { return getOrMake(keyNotifier_); }

std::shared_ptr<PropertyNotifier> ConfigValueNotifiersImpl::getValueNotifier() { return getOrMake(valueNotifier_); }

std::shared_ptr<PropertyNotifier> ConfigValueNotifiersImpl::getOriginalValueNotifier() {
    return getOrMake(originalValueNotifier_);
}

std::shared_ptr<PropertyNotifier> ConfigValueNotifiersImpl::getisOverriddenNotifier() {
    return getOrMake(isOverriddenNotifier_);
}

std::shared_ptr<PropertyNotifier> ConfigValueNotifiersImpl::getisDefinedNotifier() {
    return getOrMake(isDefinedNotifier_);
}

std::shared_ptr<PropertyNotifier> ConfigValueNotifiersImpl::getValueStoreNameNotifier() {
    return getOrMake(valueStoreNameNotifier_);
}

std::shared_ptr<PropertyNotifier> ConfigValueNotifiersImpl::getOriginalValueStoreNameNotifier() {
    return getOrMake(originalValueStoreNameNotifier_);
}

void ConfigValueNotifiersImpl::OnInfoChanged() {
    fireIfMade(keyNotifier_);
    fireIfMade(valueNotifier_);
    fireIfMade(originalValueNotifier_);
    fireIfMade(isOverriddenNotifier_);
    fireIfMade(isDefinedNotifier_);
    fireIfMade(valueStoreNameNotifier_);
    fireIfMade(originalValueStoreNameNotifier_);
}

void ConfigValueNotifiersImpl::OnKeyChanged() { fireIfMade(keyNotifier_); }

void ConfigValueNotifiersImpl::OnValueChanged() { fireIfMade(valueNotifier_); }

void ConfigValueNotifiersImpl::OnOriginalValueChanged() { fireIfMade(originalValueNotifier_); }

void ConfigValueNotifiersImpl::OnisOverriddenChanged() { fireIfMade(isOverriddenNotifier_); }

void ConfigValueNotifiersImpl::OnisDefinedChanged() { fireIfMade(isDefinedNotifier_); }

void ConfigValueNotifiersImpl::OnValueStoreNameChanged() { fireIfMade(valueStoreNameNotifier_); }

void ConfigValueNotifiersImpl::OnOriginalValueStoreNameChanged() { fireIfMade(originalValueStoreNameNotifier_); }

bool ConfigValueNotifiersImpl::fetchAhead(unsigned step) const {
    if (step == 0) {
        FetchAhead::bytes(this, sizeof(*this));
        return true;
    }
    return valueNotifier_ != nullptr && valueNotifier_->fetchAhead(step - 1);
}
