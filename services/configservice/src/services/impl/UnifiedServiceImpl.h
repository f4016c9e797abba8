#pragma once

#include <memory>
#include <string>

#include "contracts/UnifiedService.h"
#include "unified/UnifiedBusinessObjectImpl.h"

// An observer of another layer does not compile: the overloads hide those of the base on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

/// What every service has.
class UnifiedServiceImpl : public virtual UnifiedService, public UnifiedBusinessObjectImpl {
public:
    /// @param className of the most derived layer, for diagnosis; a literal.
    UnifiedServiceImpl(const std::shared_ptr<UnifiedFactory>& factory, const char* className);

    /// @param checksAccess false: the object's operations may be called on any thread.
    UnifiedServiceImpl(const std::shared_ptr<UnifiedFactory>& factory, bool checksAccess, const char* className);

    /// Makes the notifiers of the most derived layer and lets them observe this object, once.
    virtual void initNotifiers();

    virtual std::string getClassName() const;

    void addObserver(std::weak_ptr<UnifiedServiceObserver> observer) override;
    void removeObserver(std::weak_ptr<UnifiedServiceObserver> observer) override;
    std::shared_ptr<UnifiedServiceNotifiers> getUnifiedServiceNotifiers() override;
    bool getBulkUpdateInProgress() const override;

private:
    const bool bulkUpdateInProgress_;
};

#pragma GCC diagnostic pop
