#include <ostream>

#include "commands/Commands.h"
#include "explaining/Explainer.h"
#include "explaining/ExplanationAnswers.h"
#include "explaining/ExplanationText.h"
#include "quill/StringUtils.h"
#include "session/ExplainingSession.h"

namespace corvidctl {

namespace {

int explainOne(const Invocation& invocation, Output& output) {
    Explanation key;
    explainInSession(invocation, [&](const Explainer& explainer, const ChainReader&) {
        key = explainer.explain(QuillCoreUtils::toWideString(invocation.arguments[0]));
    });
    if (isForMachines(invocation.format)) {
        output.out << answers::explanation(key, invocation.format);
    } else {
        print(key, std::chrono::system_clock::now(), output);
    }
    return key.value.isDefined ? Status::Done : Status::AnswerIsNo;
}

int explainAllStores(const Invocation& invocation, Output& output) {
    std::vector<Explanation> keys;
    explainInSession(invocation, [&](const Explainer& explainer, const ChainReader& reader) {
        keys = explainer.explainShared(KeySelection(invocation.arguments, reader));
    });
    if (isForMachines(invocation.format)) {
        output.out << answers::explanations(keys, invocation.format);
    } else if (keys.empty()) {
        output.out << "No key that matches is held by more than one store.\n";
    } else {
        print(keys, output);
    }
    return Status::Done;
}

}  // namespace

int runExplain(const Invocation& invocation, Output& output) {
    return invocation.allStores ? explainAllStores(invocation, output) : explainOne(invocation, output);
}

}  // namespace corvidctl
