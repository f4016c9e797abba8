#include "commands/Commands.h"
#include "explaining/Explainer.h"
#include "explaining/ExplanationAnswers.h"
#include "explaining/ExplanationText.h"
#include "session/ExplainingSession.h"

#include <ostream>

namespace corvidctl {

int runStores(const Invocation& invocation, Output& output) {
    std::vector<StoreReport> stores;
    explainInSession(invocation,
                     [&stores](const Explainer& explainer, const ChainReader&) { stores = explainer.stores(); });
    if (isForMachines(invocation.format)) {
        output.out << answers::stores(stores, invocation.format);
    } else {
        print(stores, std::chrono::system_clock::now(), output);
    }
    return Status::Done;
}

}  // namespace corvidctl
