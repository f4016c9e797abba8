#pragma once

#include <string>

/// Something that the framework tells a feature set when it starts or stops it.
class ServiceEvent {
public:
    virtual ~ServiceEvent() = default;

    /// A text for diagnosis.
    virtual std::string toString() const = 0;
};
