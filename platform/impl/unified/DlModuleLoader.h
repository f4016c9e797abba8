#pragma once

#include <compare>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "tessel/Mutex.h"
#include "unified/ModuleLoader.h"

/// Loads modules from shared libraries, each at most once in the life of the loader, even if it brings several types.
/// A library that was loaded stays loaded until the process ends: objects of its code may live that long.
///
/// One loader serves one factory. Any thread. Failures are logged at level 2 with the path and the reason.
class DlModuleLoader : public ModuleLoader {
public:
    /// Tells which library brings a type, over what was told of the type before.
    /// @param typeName as typeMapName() gives it.
    /// @param libraryPath as dlopen() takes it.
    /// @param entryPoint a function of the library with C linkage: void entry(const std::shared_ptr<UnifiedFactory>&).
    ///                   It runs on the thread that asked for the type. What it throws goes on to that caller, and
    ///                   whoever asks next for a type of the library's runs it anew. What it has registered by then
    ///                   stays, and asking for that runs nothing.
    void addModule(std::string typeName, std::string libraryPath, std::string entryPoint);

    void loadService(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) override;
    void loadFeatureSet(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) override;

private:
    struct Module {
        std::string libraryPath;
        std::string entryPoint;

        auto operator<=>(const Module&) const = default;
    };

    void load(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory);
    bool takeModule(const std::string& typeName, Module& module);

    tessel::Mutex mutex_;
    std::map<std::string, Module> modules_ TESSEL_GUARDED_BY(mutex_);
    std::set<Module> taken_ TESSEL_GUARDED_BY(mutex_);  ///< those that have been loaded, or that are being loaded
};
