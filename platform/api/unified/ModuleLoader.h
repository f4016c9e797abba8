#pragma once

#include <memory>
#include <string>

class UnifiedFactory;

/// How a factory finds the module that brings a service or a feature set that was asked for and is not there.
class ModuleLoader {
public:
    virtual ~ModuleLoader() = default;

    /// Loads the module that brings the type, and lets it register itself with the factory. Called without any lock of
    /// the factory, on the thread that asked, and once for each type and kind, unless this call throws, or another one
    /// that is under way at the same time, on whichever thread: then the next miss calls anew. What is thrown goes on
    /// to whoever asked, each time anew: a type that no module brings is no error, and a loader does not throw for one
    /// that it will never have.
    /// @param typeName as typeMapName() gives it.
    virtual void loadService(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) = 0;

    /// The same for the feature set of the type.
    virtual void loadFeatureSet(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) = 0;
};
