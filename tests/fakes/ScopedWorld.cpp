#include "fakes/ScopedWorld.h"

namespace fakes {

ScopedWorld::ScopedWorld() {
    world_.configDirectory = configDirectory();
    world_.installationDirectory = installationDirectory();
    world_.bootstrapFilePath = bootstrapFilePath();
    world_.fipsMode = [fips = fips_] { return fips->load(); };
    std::filesystem::create_directories(world_.configDirectory);
    std::filesystem::create_directories(world_.installationDirectory);
    platform::setWorld(std::make_shared<platform::World>(world_));
}

ScopedWorld::~ScopedWorld() { platform::setWorld(std::make_shared<platform::World>()); }

void ScopedWorld::change(const std::function<void(platform::World&)>& change) {
    change(world_);
    platform::setWorld(std::make_shared<platform::World>(world_));
}

}  // namespace fakes
