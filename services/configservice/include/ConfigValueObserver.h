#pragma once

#include "contracts/UnifiedBusinessObjectObserver.h"

/// Observer of a ConfigValue: one operation for each property, called after the property has changed. Dispatcher
/// thread, synchronously inside the change. A single change is told property by property as it is applied, so an
/// observer of the value may still see the former original value; a batch (a store that comes or goes) is applied in
/// full before the first observer hears of it. An observer that changes the same key from inside its notification has
/// the newer state applied, and told, before its call returns; what was left of the older state is then dropped.
///
/// An observer that throws keeps the change of that property from whoever observes it behind it, and nothing else back:
/// the value's other properties change and are told, the operation that made the change is done to its end, on all its
/// keys, and throws then. Of several exceptions it throws the first one, each further one is a level 2 line.
///
/// What an operation on the dispatcher thread throws need not be about its own change: ahead of that it has told what
/// waited to be told, changes of other threads and, inside a notification, that of the operation around it. An
/// operation of another thread throws none of this; what is told after it, by a task of its own, is all lines.
class ConfigValueObserver : public virtual UnifiedBusinessObjectObserver {
public:
    /// ConfigValue::getKey() has changed.
    virtual void OnKeyChanged() {}
    /// ConfigValue::getValue() has changed.
    virtual void OnValueChanged() {}
    /// ConfigValue::getOriginalValue() has changed.
    virtual void OnOriginalValueChanged() {}
    /// ConfigValue::getisOverridden() has changed.
    virtual void OnisOverriddenChanged() {}
    /// ConfigValue::getisDefined() has changed.
    virtual void OnisDefinedChanged() {}
    /// ConfigValue::getValueStoreName() has changed.
    virtual void OnValueStoreNameChanged() {}
    /// ConfigValue::getOriginalValueStoreName() has changed.
    virtual void OnOriginalValueStoreNameChanged() {}

    std::string getInterfaceName() const override { return "ConfigValueObserver"; }
};
