#include "TracedDeeds.h"

#include "Tracer.h"

namespace torture {

bool tracingIsAllowed(Trial& trial) {
    const bool isAllowed = runTraced("/", [] { return 0; }, {}).allowed;
    if (!isAllowed) {
        trial.remark(tracingIsNotAllowed);
    }
    return isAllowed;
}

int startAndPerform(const Scene& scene, Deed deed, int state) {
    Client client(scene);
    markBegin();
    perform(client, deed, state);
    markEnd();
    return 0;
}

}  // namespace torture
