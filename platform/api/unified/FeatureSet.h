#pragma once

/// Base of the interface under which a module offers its feature set to the rest of the client.
class FeatureSet {
public:
    virtual ~FeatureSet() = default;
};
