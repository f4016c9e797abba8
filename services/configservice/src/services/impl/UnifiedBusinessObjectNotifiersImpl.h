#pragma once

#include <memory>

#include "PropertyNotifierImpl.h"
#include "contracts/UnifiedBusinessObjectNotifiers.h"
#include "contracts/UnifiedBusinessObjectObserver.h"

/// The notifiers of a business object: an observer of it that passes each change on to the property's notifier.
/// Dispatcher thread only.
class UnifiedBusinessObjectNotifiersImpl : public virtual UnifiedBusinessObjectNotifiers,
                                           public virtual UnifiedBusinessObjectObserver,
                                           public std::enable_shared_from_this<UnifiedBusinessObjectNotifiersImpl> {
public:
    std::shared_ptr<PropertyNotifier> getGuidNotifier() override;

    /// Here and in the derived classes: fires the properties of that class alone, not those that it inherits.
    void OnInfoChanged() override;
    void OnGuidChanged() override;

protected:
    /// The notifier in the field, made now if nobody has asked for it before.
    static std::shared_ptr<PropertyNotifier> getOrMake(std::shared_ptr<PropertyNotifierImpl>& notifier);

    /// Fires the notifier, if anybody has ever asked for it.
    static void fireIfMade(const std::shared_ptr<PropertyNotifierImpl>& notifier);

private:
    std::shared_ptr<PropertyNotifierImpl> guidNotifier_;
};
