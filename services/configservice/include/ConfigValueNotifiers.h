#pragma once

#include "contracts/UnifiedBusinessObjectNotifiers.h"

/// The per-property notifiers of a ConfigValue, owned by it. Each comes into being at the first request and is never
/// null; changes before that are not replayed. Dispatcher thread only. A client that connects must disconnect.
class ConfigValueNotifiers : public virtual UnifiedBusinessObjectNotifiers {
public:
    /// Fires when ConfigValue::getKey() changes.
    virtual std::shared_ptr<PropertyNotifier> getKeyNotifier() = 0;
    /// Fires when ConfigValue::getValue() changes.
    virtual std::shared_ptr<PropertyNotifier> getValueNotifier() = 0;
    /// Fires when ConfigValue::getOriginalValue() changes.
    virtual std::shared_ptr<PropertyNotifier> getOriginalValueNotifier() = 0;
    /// Fires when ConfigValue::getisOverridden() changes.
    virtual std::shared_ptr<PropertyNotifier> getisOverriddenNotifier() = 0;
    /// Fires when ConfigValue::getisDefined() changes.
    virtual std::shared_ptr<PropertyNotifier> getisDefinedNotifier() = 0;
    /// Fires when ConfigValue::getValueStoreName() changes.
    virtual std::shared_ptr<PropertyNotifier> getValueStoreNameNotifier() = 0;
    /// Fires when ConfigValue::getOriginalValueStoreName() changes.
    virtual std::shared_ptr<PropertyNotifier> getOriginalValueStoreNameNotifier() = 0;
};
