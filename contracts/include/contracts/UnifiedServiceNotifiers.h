#pragma once

#include "contracts/UnifiedBusinessObjectNotifiers.h"

/// The notifiers of what every service has. Dispatcher thread only.
class UnifiedServiceNotifiers : public virtual UnifiedBusinessObjectNotifiers {
public:
    /// Fires when UnifiedService::getBulkUpdateInProgress() changes. Never null.
    virtual std::shared_ptr<PropertyNotifier> getBulkUpdateInProgressNotifier() = 0;
};
