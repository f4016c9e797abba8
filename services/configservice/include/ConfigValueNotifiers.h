#pragma once

#include "contracts/UnifiedBusinessObjectNotifiers.h"

/// The per-property notifiers of a ConfigValue, owned by it. Each comes into being at the first request and is never
/// null; changes before that are not replayed. Dispatcher thread only. A client that connects must disconnect.
class ConfigValueNotifiers : public virtual UnifiedBusinessObjectNotifiers {
public:
    virtual std::shared_ptr<PropertyNotifier> getKeyNotifier() = 0;
    virtual std::shared_ptr<PropertyNotifier> getValueNotifier() = 0;
    virtual std::shared_ptr<PropertyNotifier> getOriginalValueNotifier() = 0;
    virtual std::shared_ptr<PropertyNotifier> getisOverriddenNotifier() = 0;
    virtual std::shared_ptr<PropertyNotifier> getisDefinedNotifier() = 0;
    virtual std::shared_ptr<PropertyNotifier> getValueStoreNameNotifier() = 0;
    virtual std::shared_ptr<PropertyNotifier> getOriginalValueStoreNameNotifier() = 0;
};
