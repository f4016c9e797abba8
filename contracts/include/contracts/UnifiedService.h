#pragma once

#include "contracts/UnifiedBusinessObject.h"
#include "contracts/UnifiedServiceNotifiers.h"
#include "contracts/UnifiedServiceObserver.h"

// Each layer of the interface has observers of its own type. The overloads of a derived layer hide those of its base on
// purpose: an observer of the wrong layer does not compile.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

/// Base interface of every service that a module registers with the factory.
class UnifiedService : public virtual UnifiedBusinessObject {
public:
    /// As UnifiedBusinessObject::addObserver(), for observers of this layer.
    virtual void addObserver(std::weak_ptr<UnifiedServiceObserver> observer) = 0;

    /// One that is not registered is no error.
    virtual void removeObserver(std::weak_ptr<UnifiedServiceObserver> observer) = 0;

    /// The notifiers of this layer, made at the first request. Never null.
    virtual std::shared_ptr<UnifiedServiceNotifiers> getUnifiedServiceNotifiers() = 0;

    /// True while the service applies a large batch of changes. Any thread.
    virtual bool getBulkUpdateInProgress() const = 0;

    std::string getInterfaceName() const override { return "UnifiedService"; }
};

#pragma GCC diagnostic pop
