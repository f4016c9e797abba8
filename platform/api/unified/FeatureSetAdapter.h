#pragma once

#include <memory>
#include <vector>

#include "unified/ServiceEvent.h"

/// The framework's side of a feature set: how it is started and stopped. Any thread.
class FeatureSetAdapter {
public:
    /// What the framework tells along with a start or a stop; may be null.
    using ServiceEvents = std::shared_ptr<std::vector<std::shared_ptr<ServiceEvent>>>;

    /// Begins to work, unless it does. @param featureSetId an adapter ignores identifiers other than its own.
    /// @param events may be null.
    virtual void StartFeatureSet(unsigned featureSetId, ServiceEvents events) = 0;

    /// Ends what the start has begun; another start may follow. Parameters as there.
    virtual void StopFeatureSet(unsigned featureSetId, ServiceEvents events) = 0;

    /// Ends what the feature set holds, at shut-down or when the machine powers down.
    virtual void Destroy() = 0;

    /// True from a start on, until the next stop.
    virtual bool IsFeatureSetStarted(unsigned featureSetId) = 0;

    /// True if the feature set may be started.
    virtual bool IsFeatureSetProvisioned(unsigned featureSetId) = 0;

    /// Identifiers of the feature sets that must be started before this one.
    virtual std::vector<unsigned> GetFeatureSetDependencies(unsigned featureSetId) = 0;

    virtual ~FeatureSetAdapter() = default;
};
