#pragma once

#include "contracts/UnifiedServiceNotifiers.h"

/// The notifiers of the configuration service, owned by it. Dispatcher thread only. A client that connects must
/// disconnect.
class ConfigServiceNotifiers : public virtual UnifiedServiceNotifiers {
public:
    /// Never null, made at the first request. It stays silent: the service is ready from its construction on.
    virtual std::shared_ptr<PropertyNotifier> getConfigReadyNotifier() = 0;
};
