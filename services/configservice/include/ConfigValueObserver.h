#pragma once

#include "contracts/UnifiedBusinessObjectObserver.h"

/// Observer of a ConfigValue: one operation for each property, called after the property has changed. Dispatcher
/// thread, synchronously inside the change. A single change is told property by property as it is applied, so an
/// observer of the value may still see the former original value; a batch (a store that comes or goes) is applied in
/// full before the first observer hears of it. An observer that changes the same key from inside its notification has
/// the newer state applied, and told, before its call returns; what was left of the older state is then dropped.
class ConfigValueObserver : public virtual UnifiedBusinessObjectObserver {
public:
    virtual void OnKeyChanged() {}
    virtual void OnValueChanged() {}
    virtual void OnOriginalValueChanged() {}
    virtual void OnisOverriddenChanged() {}
    virtual void OnisDefinedChanged() {}
    virtual void OnValueStoreNameChanged() {}
    virtual void OnOriginalValueStoreNameChanged() {}

    std::string getInterfaceName() const override { return "ConfigValueObserver"; }
};
