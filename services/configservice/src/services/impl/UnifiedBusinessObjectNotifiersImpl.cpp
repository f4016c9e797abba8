#include "UnifiedBusinessObjectNotifiersImpl.h"

std::shared_ptr<PropertyNotifier> UnifiedBusinessObjectNotifiersImpl::getGuidNotifier() {
    return getOrMake(guidNotifier_);
}

void UnifiedBusinessObjectNotifiersImpl::OnInfoChanged() { fireIfMade(guidNotifier_); }

void UnifiedBusinessObjectNotifiersImpl::OnGuidChanged() { fireIfMade(guidNotifier_); }

std::shared_ptr<PropertyNotifier>
UnifiedBusinessObjectNotifiersImpl::getOrMake(std::shared_ptr<PropertyNotifierImpl>& notifier) {
    if (notifier == nullptr) {
        notifier = std::make_shared<PropertyNotifierImpl>();
    }
    return notifier;
}

void UnifiedBusinessObjectNotifiersImpl::fireIfMade(const std::shared_ptr<PropertyNotifierImpl>& notifier) {
    if (notifier != nullptr) {
        notifier->fire();
    }
}
