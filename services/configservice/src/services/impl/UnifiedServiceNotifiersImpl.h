#pragma once

#include <memory>

#include "UnifiedBusinessObjectNotifiersImpl.h"
#include "contracts/UnifiedServiceNotifiers.h"
#include "contracts/UnifiedServiceObserver.h"

/// The notifiers of what every service has. Dispatcher thread only.
class UnifiedServiceNotifiersImpl : public UnifiedBusinessObjectNotifiersImpl,
                                    public virtual UnifiedServiceNotifiers,
                                    public virtual UnifiedServiceObserver {
public:
    std::shared_ptr<PropertyNotifier> getBulkUpdateInProgressNotifier() override;

    void OnInfoChanged() override;
    void OnBulkUpdateInProgressChanged() override;

private:
    std::shared_ptr<PropertyNotifierImpl> bulkUpdateInProgressNotifier_;
};
