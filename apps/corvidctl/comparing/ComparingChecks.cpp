#include "comparing/ComparingChecks.h"

#include "comparing/DeltaTypes.h"
#include "comparing/Operand.h"
#include "comparing/SimulationPlan.h"

namespace corvidctl {

namespace {

std::string checkDelta(const Invocation& invocation) {
    const std::optional<std::string> wrong = wrongDeltaType(invocation.types);
    return wrong ? "--type '" + *wrong + "': expected overridden, shadowed, equal or extended" : std::string();
}

std::string checkDiff(const Invocation& invocation) {
    for (const std::string& word : invocation.arguments) {
        const std::string problem =
            word.empty() ? "A and B must not be empty, expected a store, a path or live" : readOperand(word).problem;
        if (!problem.empty()) {
            return "diff: " + problem;
        }
    }
    return {};
}

}  // namespace

bool comparesTwoConfigurations(const Invocation& invocation) {
    bool needsLive = false;
    int others = 0;
    for (const std::string& word : invocation.arguments) {
        const Operand::Kind kind = readOperand(word).kind;
        needsLive = needsLive || kind == Operand::Kind::Live || kind == Operand::Kind::Store;
        others += kind == Operand::Kind::Directory ? 1 : 0;
    }
    return others + (needsLive ? 1 : 0) > 1;
}

std::string checkComparing(const Invocation& invocation) {
    if (invocation.command == "delta") {
        return checkDelta(invocation);
    }
    if (invocation.command == "diff") {
        return checkDiff(invocation);
    }
    return invocation.command == "simulate" ? readPlan(invocation).problem : std::string();
}

}  // namespace corvidctl
