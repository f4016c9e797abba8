#include "unified/UnifiedBusinessObjectImpl.h"

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "impl/unified/WeakObservers.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("UnifiedBusinessObject");
    return instance;
}

std::uint64_t nextNumber() {
    static std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

UnifiedBusinessObjectImpl::UnifiedBusinessObjectImpl(std::shared_ptr<UnifiedFactory> factory, const char* className)
    : UnifiedBusinessObjectImpl(std::move(factory), true, className) {}

UnifiedBusinessObjectImpl::UnifiedBusinessObjectImpl(std::shared_ptr<UnifiedFactory> factory, bool checksAccess,
                                                     const char* className)
    : factory_(std::move(factory)), className_(className), checksAccess_(checksAccess), number_(nextNumber()) {}

UnifiedBusinessObjectImpl::~UnifiedBusinessObjectImpl() = default;

void UnifiedBusinessObjectImpl::addObserver(std::weak_ptr<UnifiedBusinessObjectObserver> observer) {
    const std::shared_ptr<UnifiedBusinessObjectObserver> added = observer.lock();
    std::vector<std::shared_ptr<UnifiedBusinessObjectObserver>> outlivesLock;
    const tessel::ScopedLock lock(mutex_);
    outlivesLock = platform::addAlive(observers_, added);
    noteOnlyObserver();
}

void UnifiedBusinessObjectImpl::removeObserver(std::weak_ptr<UnifiedBusinessObjectObserver> observer) {
    const std::shared_ptr<UnifiedBusinessObjectObserver> removed = observer.lock();
    std::vector<std::shared_ptr<UnifiedBusinessObjectObserver>> outlivesLock;
    const tessel::ScopedLock lock(mutex_);
    outlivesLock = platform::removeAlive(observers_, removed);
    noteOnlyObserver();
}

std::shared_ptr<UnifiedBusinessObjectNotifiers> UnifiedBusinessObjectImpl::getUnifiedBusinessObjectNotifiers() {
    return notifiers_;
}

std::string UnifiedBusinessObjectImpl::getGuid() const { return std::to_string(number_); }

std::string UnifiedBusinessObjectImpl::toString() const { return className_ + (" " + getGuid()); }

std::vector<std::shared_ptr<UnifiedBusinessObjectObserver>> UnifiedBusinessObjectImpl::lockObservers() {
    const tessel::ScopedLock lock(mutex_);
    auto alive = platform::lockAlive(observers_);
    noteOnlyObserver();
    return alive;
}

void UnifiedBusinessObjectImpl::noteOnlyObserver() {
    const UnifiedBusinessObjectObserver* only = nullptr;
    if (observers_.size() == 1) {
        only = observers_.front().lock().get();
    }
    onlyObserver_.store(only, std::memory_order_release);
}

void UnifiedBusinessObjectImpl::EnsureUpdateAccess(bool required) const {
    if (!required || !checksAccess_ || factory_ == nullptr) {
        return;
    }
    const std::shared_ptr<ServicesDispatcher>& dispatcher = factory_->getServicesDispatcher();
    if (dispatcher == nullptr || dispatcher->checkForUpdateAccess()) {
        return;
    }
    const std::string text =
        std::string(className_) + " called without update access; call it on the dispatcher thread";
    TesselLog(logger(), 2, __FILE__, __LINE__, __func__, text);
    throw std::logic_error(text);
}
