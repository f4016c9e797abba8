#pragma once

#include <string>

/// Base of every observer of a business object.
///
/// Observers are held weakly by the object that they observe. Every operation is called on the dispatcher thread,
/// synchronously inside the fire that tells of the change; an observer may call back into the object, add or remove
/// observers, or drop its own last reference from inside it. The default of every operation does nothing.
class UnifiedBusinessObjectObserver {
public:
    virtual ~UnifiedBusinessObjectObserver() = default;

    /// Anything about the object may have changed.
    virtual void OnInfoChanged() {}

    /// The object's identifier has changed.
    virtual void OnGuidChanged() {}

    /// The name of the most derived observer interface.
    virtual std::string getInterfaceName() const { return "UnifiedBusinessObjectObserver"; }
};
