#pragma once

#include <atomic>
#include <memory>

#include "fakes/TemporaryDirectory.h"
#include "system/World.h"

namespace fakes {

/// A world of the test's own: a configuration directory ("config") and an installation directory ("install") in a
/// temporary folder, FIPS off until switched on, no pool, no power events. The empty world is back afterwards.
class ScopedWorld {
public:
    ScopedWorld();
    ~ScopedWorld();

    ScopedWorld(const ScopedWorld&) = delete;
    ScopedWorld& operator=(const ScopedWorld&) = delete;

    const TemporaryDirectory& directory() const { return directory_; }
    std::string configDirectory() const { return directory_.path("config"); }
    std::string installationDirectory() const { return directory_.path("install"); }
    std::string bootstrapFilePath() const { return directory_.path("install/bootstrap.properties"); }

    void setFips(bool on) { *fips_ = on; }

    /// Changes the world in place: set a pool, a monitor, other paths.
    void change(const std::function<void(platform::World&)>& change);

private:
    TemporaryDirectory directory_;
    std::shared_ptr<std::atomic<bool>> fips_ = std::make_shared<std::atomic<bool>>(false);
    platform::World world_;
};

}  // namespace fakes
