#include "impl/unified/DlModuleLoader.h"

#include <dlfcn.h>

#include <utility>

#include "tessel/TesselLogger.h"

namespace {

using EntryPoint = void (*)(const std::shared_ptr<UnifiedFactory>&);

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("ModuleLoader");
    return instance;
}

/// What the last failing dl function says of it.
std::string lastError() {
    const char* const text = dlerror();
    return text == nullptr ? "unknown reason" : text;
}

/// The entry point, or null after a log line.
EntryPoint findEntryPoint(const std::string& libraryPath, const std::string& entryPoint) {
    void* const library = dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        TesselLog(logger(), 2, __FILE__, __LINE__, __func__,
                  "Cannot load module [" + libraryPath + "]: " + lastError());
        return nullptr;
    }
    void* const symbol = dlsym(library, entryPoint.c_str());
    if (symbol == nullptr) {
        TesselLog(logger(), 2, __FILE__, __LINE__, __func__,
                  "No entry point [" + entryPoint + "] in module [" + libraryPath + "]: " + lastError());
        return nullptr;
    }
    return reinterpret_cast<EntryPoint>(symbol);
}

}  // namespace

void DlModuleLoader::addModule(std::string typeName, std::string libraryPath, std::string entryPoint) {
    const tessel::ScopedLock lock(mutex_);
    modules_[std::move(typeName)] = {std::move(libraryPath), std::move(entryPoint)};
}

void DlModuleLoader::loadService(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) {
    load(typeName, factory);
}

void DlModuleLoader::loadFeatureSet(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) {
    load(typeName, factory);
}

void DlModuleLoader::load(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) {
    Module module;
    if (!takeModule(typeName, module)) {
        return;
    }
    if (const EntryPoint entryPoint = findEntryPoint(module.libraryPath, module.entryPoint)) {
        try {
            entryPoint(factory);
        } catch (...) {
            const tessel::ScopedLock lock(mutex_);
            taken_.erase(module);
            throw;
        }
    }
}

bool DlModuleLoader::takeModule(const std::string& typeName, Module& module) {
    const tessel::ScopedLock lock(mutex_);
    const auto found = modules_.find(typeName);
    if (found == modules_.end()) {
        return false;
    }
    module = found->second;
    // A module that asks for its own feature set while it registers itself comes back here.
    return taken_.insert(module).second;
}
