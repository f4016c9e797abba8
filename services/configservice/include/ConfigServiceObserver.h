#pragma once

#include "contracts/UnifiedServiceObserver.h"

/// Observer of the configuration service. Dispatcher thread, synchronously inside the change.
class ConfigServiceObserver : public virtual UnifiedServiceObserver {
public:
    /// The service fires this once, in its constructor, before anybody can observe it.
    virtual void OnConfigReadyChanged() {}

    std::string getInterfaceName() const override { return "ConfigServiceObserver"; }
};
