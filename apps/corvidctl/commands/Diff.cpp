#include <algorithm>
#include <exception>
#include <ostream>

#include "commands/Commands.h"
#include "comparing/ComparingAnswers.h"
#include "comparing/ComparingText.h"
#include "comparing/Sides.h"
#include "output/InterruptibleOutput.h"

namespace corvidctl {

namespace {

using Kind = ContentsDifference::Kind;

std::vector<ContentsDifference> compare(const Invocation& invocation, Sides& sides) {
    const Contents a = sides.read(readOperand(invocation.arguments[0]));
    const Contents b = sides.read(readOperand(invocation.arguments[1]));
    return differencesOf(a, b);
}

void printForPeople(const Invocation& invocation, const std::vector<ContentsDifference>& differences, std::size_t equal,
                    Output& output) {
    if (!differences.empty()) {
        printDifferences(differences, invocation.arguments[0], invocation.arguments[1], invocation.reveal, output);
    }
    if (differences.size() == (invocation.all ? equal : 0)) {
        output.out << "Nothing differs: " << equal << (equal == 1 ? " key is" : " keys are") << " the same.\n";
    }
}

}  // namespace

int runDiff(const Invocation& invocation, Output& output) {
    Rehearsal rehearsal(output);
    const InterruptibleOutput interruptibly(output, rehearsal.interruption());
    Sides sides(invocation, rehearsal);
    std::vector<ContentsDifference> differences;
    try {
        const ExitOnInterruption exit = rehearsal.endingOnTheSpot();
        differences = compare(invocation, sides);
    } catch (const std::exception& error) {
        printError(output, std::string("diff: ") + error.what());
        return Status::WrongUse;  // 1 says that both could be read, and differ
    }
    const auto isEqual = [](const ContentsDifference& difference) { return difference.kind == Kind::Equal; };
    const auto equal = static_cast<std::size_t>(std::count_if(differences.begin(), differences.end(), isEqual));
    const bool differ = equal != differences.size();
    if (!invocation.all) {
        std::erase_if(differences, isEqual);
    }
    if (isForMachines(invocation.format)) {
        output.out << answers::differences(differences, invocation.reveal, invocation.format);
    } else {
        printForPeople(invocation, differences, equal, output);
    }
    printRemarks(sides.remarks(), invocation.format, output);
    return differ ? Status::AnswerIsNo : Status::Done;
}

}  // namespace corvidctl
