#pragma once

#include <memory>

#include "ConfigServiceNotifiers.h"
#include "ConfigServiceObserver.h"
#include "UnifiedServiceNotifiersImpl.h"

/// The notifiers of the configuration service. Dispatcher thread only.
class ConfigServiceNotifiersImpl : public UnifiedServiceNotifiersImpl,
                                   public virtual ConfigServiceNotifiers,
                                   public virtual ConfigServiceObserver {
public:
    std::shared_ptr<PropertyNotifier> getConfigReadyNotifier() override;

    void OnInfoChanged() override;
    void OnConfigReadyChanged() override;

private:
    std::shared_ptr<PropertyNotifierImpl> configReadyNotifier_;
};
