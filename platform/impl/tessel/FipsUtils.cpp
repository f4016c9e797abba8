#include "tessel/FipsUtils.h"

#include "system/World.h"

namespace tessel::common {

bool FipsUtils::isFipsEnabled() {
    const auto world = platform::getWorld();
    return world->fipsMode && world->fipsMode();
}

}  // namespace tessel::common
