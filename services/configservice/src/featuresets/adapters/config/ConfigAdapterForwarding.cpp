#include <utility>

#include "ConfigAdapter.h"
#include "ConfigServiceImpl.h"

// The reports hold the service weakly: one that is still queued when the service has gone is told to nobody.

void ConfigAdapter::onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue,
                                           bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                           std::wstring originalValueStoreName, bool silent) {
    reportGate_->pass(
        [weak = std::weak_ptr<ConfigServiceImpl>(configService_), key = std::move(key), value = std::move(value),
         originalValue = std::move(originalValue), isOverridden, isDefined, valueStoreName = std::move(valueStoreName),
         originalValueStoreName = std::move(originalValueStoreName), silent]() mutable {
            // A delivery runs once.
            if (const auto service = weak.lock()) {
                service->OnConfigChanged(std::move(key), std::move(value), std::move(originalValue), isOverridden,
                                         isDefined, std::move(valueStoreName), std::move(originalValueStoreName),
                                         silent);
            }
        },
        "ConfigServiceImpl::OnConfigChanged");
}

void ConfigAdapter::onFireIfRequired(std::wstring key) {
    reportGate_->pass(
        [weak = std::weak_ptr<ConfigServiceImpl>(configService_), key = std::move(key)]() mutable {
            if (const auto service = weak.lock()) {
                service->FireIfRequired(std::move(key));
            }
        },
        "ConfigServiceImpl::FireIfRequired");
}

void ConfigAdapter::onSensitiveKeyAddedOrUpdated(std::wstring key) {
    // The name is that of another operation; readers of the dispatcher's diagnostics know it so.
    reportGate_->passBeside(
        [weak = std::weak_ptr<ConfigServiceImpl>(configService_), key = std::move(key)] {
            if (const auto service = weak.lock()) {
                service->updateSensitiveKeyList(key);
            }
        },
        "ConfigServiceImpl::OnConfigChanged");
}

void ConfigAdapter::notifyConfigKeyAliases() {
    reportGate_->passBeside(
        [weak = std::weak_ptr<ConfigServiceImpl>(configService_), aliases = configStoreManager_->getAliasMap()] {
            if (const auto service = weak.lock()) {
                service->setupConfigKeyAliases(aliases);
            }
        },
        "ConfigServiceImpl::setupConfigKeyAliases");
}
