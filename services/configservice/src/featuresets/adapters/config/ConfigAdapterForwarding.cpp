#include <utility>

#include "ConfigAdapter.h"
#include "ConfigServiceImpl.h"

// Reports that wait hold the service weakly: one that is still queued when the service has gone is told to nobody. What
// is told at once is told inside a call of the chain, which this object and with it the service outlives.

namespace {

// Readers of the dispatcher's diagnostics know the tasks by these names.
constexpr const char* CHANGE_TASK = "ConfigServiceImpl::OnConfigChanged";
constexpr const char* FIRE_TASK = "ConfigServiceImpl::FireIfRequired";

}  // namespace

void ConfigAdapter::onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue,
                                           bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                           std::wstring originalValueStoreName, bool silent) {
    const FoldedKey folded(key);
    takeReport({folded, value, originalValue, isOverridden, isDefined, valueStoreName, originalValueStoreName, silent});
}

void ConfigAdapter::onFireIfRequired(std::wstring key) { fireIfRequired(FoldedKey(key)); }

void ConfigAdapter::takeReport(const KeyReport& report) {
    reportGate_->pass(
        [&] {
            if (configService_ != nullptr) {
                configService_->takeReport(report);
            }
        },
        [&]() -> ReportGate::Delivery {
            return [weak = std::weak_ptr<ConfigServiceImpl>(configService_), key = report.key.text(),
                    value = report.value, originalValue = report.originalValue, isOverridden = report.isOverridden,
                    isDefined = report.isDefined, valueStoreName = report.valueStoreName,
                    originalValueStoreName = report.originalValueStoreName, silent = report.silent]() mutable {
                // A delivery runs once.
                if (const auto service = weak.lock()) {
                    service->OnConfigChanged(std::move(key), std::move(value), std::move(originalValue), isOverridden,
                                             isDefined, std::move(valueStoreName), std::move(originalValueStoreName),
                                             silent);
                }
            };
        },
        CHANGE_TASK);
}

void ConfigAdapter::fireIfRequired(const FoldedKey& key) {
    reportGate_->pass(
        [&] {
            if (configService_ != nullptr) {
                configService_->fireIfRequired(key);
            }
        },
        [&]() -> ReportGate::Delivery {
            return [weak = std::weak_ptr<ConfigServiceImpl>(configService_), key = key.text()]() mutable {
                if (const auto service = weak.lock()) {
                    service->FireIfRequired(std::move(key));
                }
            };
        },
        FIRE_TASK);
}

void ConfigAdapter::expect(std::span<const FoldedKey> keys) {
    // Elsewhere the live objects may change meanwhile.
    if (configService_ != nullptr && reportGate_->nothingIsAhead()) {
        configService_->expect(keys);
    }
}

void ConfigAdapter::onSensitiveKeyAddedOrUpdated(std::wstring key) {
    // The name is that of another operation.
    reportGate_->passFirst(
        [weak = std::weak_ptr<ConfigServiceImpl>(configService_), key = std::move(key)] {
            if (const auto service = weak.lock()) {
                service->updateSensitiveKeyList(key);
            }
        },
        CHANGE_TASK);
}

void ConfigAdapter::notifyConfigKeyAliases() {
    reportGate_->passFirst(
        [weak = std::weak_ptr<ConfigServiceImpl>(configService_), aliases = configStoreManager_->getAliasMap()] {
            if (const auto service = weak.lock()) {
                service->setupConfigKeyAliases(aliases);
            }
        },
        "ConfigServiceImpl::setupConfigKeyAliases");
}
