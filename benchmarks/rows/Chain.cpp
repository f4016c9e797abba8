#include "support/Harness.h"
#include "support/ModuleChain.h"
#include "support/Subjects.h"

namespace bench {

void addModuleChain(const Scale& scale) {
    addLookups<ModuleChain>(scale, "corvid");
    addAnswer<ModuleChain>(scale, "corvid");
}

}  // namespace bench
