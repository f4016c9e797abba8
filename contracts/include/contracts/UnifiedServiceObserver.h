#pragma once

#include "contracts/UnifiedBusinessObjectObserver.h"

/// Observer of what every service has.
class UnifiedServiceObserver : public virtual UnifiedBusinessObjectObserver {
public:
    /// UnifiedService::getBulkUpdateInProgress() has changed.
    virtual void OnBulkUpdateInProgressChanged() {}

    std::string getInterfaceName() const override { return "UnifiedServiceObserver"; }
};
