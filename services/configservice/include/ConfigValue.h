#pragma once

#include <memory>
#include <string>

#include "ConfigValueNotifiers.h"
#include "ConfigValueObserver.h"
#include "contracts/UnifiedBusinessObject.h"

// An observer of another layer does not compile: the overloads hide those of the base on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

/// The live object of one configuration key.
///
/// There is one for each key; it holds what the chain last said about the key and changes when the chain's answer
/// changes. An object of a key that no store holds is undefined, with empty texts, and becomes defined when a value
/// arrives: a client that observes it needs no retry.
///
/// Dispatcher thread only, for reading as well: off that thread the properties' getters and the operations that act on
/// them throw an exception derived from std::logic_error. The registration of observers and the notifiers are not
/// checked; the thread is the caller's duty there. Shared with the service, which updates the object for as long as the
/// service lives.
class ConfigValue : public virtual UnifiedBusinessObject {
public:
    /// Held weakly. Told of every change on the dispatcher thread.
    virtual void addObserver(std::weak_ptr<ConfigValueObserver> observer) = 0;

    /// One that is not registered is no error.
    virtual void removeObserver(std::weak_ptr<ConfigValueObserver> observer) = 0;

    /// The notifiers of this object, made at the first request. Never null.
    virtual std::shared_ptr<ConfigValueNotifiers> getConfigValueNotifiers() = 0;

    /// The key, under its current name, in the spelling of the first request for it.
    virtual std::wstring getKey() const = 0;

    /// The effective value: what the chain resolved by priority. The real text for a sensitive key too. In FIPS mode
    /// "telephony_p2p_enabled" always reads "false".
    virtual std::wstring getValue() const = 0;

    /// The administrator's value: that of the first store that the user cannot write and that has a text for the key.
    /// Empty if none has.
    virtual std::wstring getOriginalValue() const = 0;

    /// True if a store that the user can write stands ahead of those with a text for this key that the user cannot
    /// write, or if there are none of those.
    virtual bool getisOverridden() const = 0;

    /// True if some store holds the key. A store that leaves the chain does not turn this off: the object then keeps
    /// isDefined, with an empty value and empty store names, until the key is reported singly.
    virtual bool getisDefined() const = 0;

    /// Name of the store that gave the value; empty if none did.
    virtual std::wstring getValueStoreName() const = 0;

    /// Name of the store that gave the administrator's value; empty if none did. It may be a store whose text for the
    /// key is empty.
    virtual std::wstring getOriginalValueStoreName() const = 0;

    /// Asks the feature set to store a user value. This object changes when the change comes back from the chain: on
    /// this thread before the call returns. A value that does not win changes nothing here, nor does one that no store
    /// takes: neither is an error, and getValue() tells what holds.
    virtual void setConfig(std::wstring value) = 0;

    /// True if the effective value equals the text without regard to case.
    virtual bool equals(std::wstring value) = 0;

    /// Asks the feature set to remove the user's value, under all names of the key and from memory too.
    virtual void reset() = 0;

    /// True if the value does not come straight from the administrator: it differs from the administrator's, case
    /// included, or comes from another store. False for a key that no store holds.
    virtual bool isValueLocal() = 0;

    std::string getInterfaceName() const override { return "ConfigValue"; }
};

#pragma GCC diagnostic pop
