#pragma once

#include <memory>

#include "contracts/PropertyNotifier.h"

/// The per-property notifiers of a business object. Each notifier comes into being at the first request and stays.
/// Dispatcher thread only.
class UnifiedBusinessObjectNotifiers {
public:
    virtual ~UnifiedBusinessObjectNotifiers() = default;

    /// Fires when the object's identifier changes. Never null.
    virtual std::shared_ptr<PropertyNotifier> getGuidNotifier() = 0;
};
