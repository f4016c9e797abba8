#include "UnifiedServiceNotifiersImpl.h"

std::shared_ptr<PropertyNotifier> UnifiedServiceNotifiersImpl::getBulkUpdateInProgressNotifier() {
    return getOrMake(bulkUpdateInProgressNotifier_);
}

void UnifiedServiceNotifiersImpl::OnInfoChanged() { fireIfMade(bulkUpdateInProgressNotifier_); }

void UnifiedServiceNotifiersImpl::OnBulkUpdateInProgressChanged() { fireIfMade(bulkUpdateInProgressNotifier_); }
