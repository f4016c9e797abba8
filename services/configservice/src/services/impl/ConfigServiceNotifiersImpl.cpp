#include "ConfigServiceNotifiersImpl.h"

std::shared_ptr<PropertyNotifier> ConfigServiceNotifiersImpl::getConfigReadyNotifier() {
    return getOrMake(configReadyNotifier_);
}

void ConfigServiceNotifiersImpl::OnInfoChanged() { fireIfMade(configReadyNotifier_); }

void ConfigServiceNotifiersImpl::OnConfigReadyChanged() { fireIfMade(configReadyNotifier_); }
