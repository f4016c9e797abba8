#pragma once

#include "contracts/UnifiedServiceObserver.h"

/// Observer of the configuration service. Dispatcher thread.
class ConfigServiceObserver : public virtual UnifiedServiceObserver {
public:
    virtual void OnConfigReadyChanged() {}

    std::string getInterfaceName() const override { return "ConfigServiceObserver"; }
};
