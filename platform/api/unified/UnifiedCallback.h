#pragma once

#include <string>

/// Base of the callbacks that a module registers with a provider of the host.
class UnifiedCallback {
public:
    virtual ~UnifiedCallback() = default;

    /// The name of the most derived interface.
    virtual std::string getInterfaceName() const = 0;
};
