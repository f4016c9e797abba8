#include "impl/system/ResetDataProviderImpl.h"

#include <algorithm>
#include <utility>

#include "quill/FirstException.h"

void ResetDataProviderImpl::registerResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) {
    if (callback == nullptr) {
        return;
    }
    const tessel::ScopedLock lock(mutex_);
    if (std::find(callbacks_.begin(), callbacks_.end(), callback) == callbacks_.end()) {
        callbacks_.push_back(std::move(callback));
    }
}

void ResetDataProviderImpl::removeResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) {
    // The caller's reference outlives the lock, so nothing is destroyed under it.
    const tessel::ScopedLock lock(mutex_);
    callbacks_.erase(std::remove(callbacks_.begin(), callbacks_.end(), callback), callbacks_.end());
}

void ResetDataProviderImpl::invokeResetData() {
    Callbacks callbacks;
    {
        const tessel::ScopedLock lock(mutex_);
        callbacks = callbacks_;
    }
    QuillCoreUtils::FirstException thrown("ResetDataProviderImpl");
    for (const std::shared_ptr<ProviderResetDataCallback>& callback : callbacks) {
        thrown.keepOf([&] { callback->InvokeResetData(); }, "A further callback threw");
    }
    thrown.rethrow();
}

void ResetDataProviderImpl::clear() {
    Callbacks dropped;  // destroyed after the lock: a callback may come back as it goes
    const tessel::ScopedLock lock(mutex_);
    dropped.swap(callbacks_);
}
