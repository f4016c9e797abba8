#include "system/World.h"

#include <mutex>
#include <utility>

namespace {

struct Holder {
    std::mutex mutex;
    std::shared_ptr<const platform::World> world = std::make_shared<const platform::World>();
};

/// Never destroyed: threads and destructors of a host that ends late may still ask.
Holder& holder() {
    static Holder* const instance = new Holder;
    return *instance;
}

}  // namespace

void platform::setWorld(std::shared_ptr<const World> world) {
    if (world == nullptr) {
        world = std::make_shared<const World>();
    }
    // The old world goes after the lock: its pool may run functions as it ends, and they may ask for the world.
    const std::lock_guard<std::mutex> lock(holder().mutex);
    std::swap(holder().world, world);
}

std::shared_ptr<const platform::World> platform::getWorld() {
    const std::lock_guard<std::mutex> lock(holder().mutex);
    return holder().world;
}
