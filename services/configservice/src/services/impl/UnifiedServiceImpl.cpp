#include "UnifiedServiceImpl.h"

#include "UnifiedServiceNotifiersImpl.h"

UnifiedServiceImpl::UnifiedServiceImpl(const std::shared_ptr<UnifiedFactory>& factory, const char* className)
    : UnifiedBusinessObjectImpl(factory, className), bulkUpdateInProgress_(false) {}

UnifiedServiceImpl::UnifiedServiceImpl(const std::shared_ptr<UnifiedFactory>& factory, bool checksAccess,
                                       const char* className)
    : UnifiedBusinessObjectImpl(factory, checksAccess, className), bulkUpdateInProgress_(false) {}

void UnifiedServiceImpl::initNotifiers() {
    if (notifiers_ != nullptr) {
        return;
    }
    const auto notifiers = std::make_shared<UnifiedServiceNotifiersImpl>();
    notifiers_ = notifiers;
    addObserver(std::weak_ptr<UnifiedServiceObserver>(notifiers));
}

std::string UnifiedServiceImpl::getClassName() const { return "UnifiedServiceImpl"; }

void UnifiedServiceImpl::addObserver(std::weak_ptr<UnifiedServiceObserver> observer) {
    UnifiedBusinessObjectImpl::addObserver(observer);
}

void UnifiedServiceImpl::removeObserver(std::weak_ptr<UnifiedServiceObserver> observer) {
    UnifiedBusinessObjectImpl::removeObserver(observer);
}

std::shared_ptr<UnifiedServiceNotifiers> UnifiedServiceImpl::getUnifiedServiceNotifiers() {
    initNotifiers();
    return std::dynamic_pointer_cast<UnifiedServiceNotifiers>(notifiers_);
}

bool UnifiedServiceImpl::getBulkUpdateInProgress() const { return bulkUpdateInProgress_; }
