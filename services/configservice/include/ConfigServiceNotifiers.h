#pragma once

#include "contracts/UnifiedServiceNotifiers.h"

/// The notifiers of the configuration service. Dispatcher thread only.
class ConfigServiceNotifiers : public virtual UnifiedServiceNotifiers {
public:
    virtual std::shared_ptr<PropertyNotifier> getConfigReadyNotifier() = 0;
};
