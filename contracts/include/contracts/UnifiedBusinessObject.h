#pragma once

#include <memory>
#include <string>

#include "contracts/UnifiedBusinessObjectNotifiers.h"
#include "contracts/UnifiedBusinessObjectObserver.h"

/// Base interface of every object that a client of the framework holds.
///
/// Operations may be called on the dispatcher thread only, unless they say otherwise.
class UnifiedBusinessObject {
public:
    virtual ~UnifiedBusinessObject() = default;

    /// Registers an observer, held weakly. The same observer counts once.
    virtual void addObserver(std::weak_ptr<UnifiedBusinessObjectObserver> observer) = 0;

    /// Removes an observer; one that is not registered is no error.
    virtual void removeObserver(std::weak_ptr<UnifiedBusinessObjectObserver> observer) = 0;

    /// The notifiers of the properties that every business object has. May be null for an object that has none.
    virtual std::shared_ptr<UnifiedBusinessObjectNotifiers> getUnifiedBusinessObjectNotifiers() = 0;

    /// An identifier that is unique in this process and stays the same for the object's life. Any thread.
    virtual std::string getGuid() const = 0;

    /// A text for diagnosis: class name and identifier. Any thread.
    virtual std::string toString() const = 0;

    /// The name of the most derived interface. Any thread.
    virtual std::string getInterfaceName() const { return "UnifiedBusinessObject"; }
};
