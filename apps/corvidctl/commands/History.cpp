#include "journal/History.h"

#include <ostream>
#include <string>
#include <vector>

#include "commands/Commands.h"
#include "journal/JournalPrinting.h"
#include "journal/JournalReader.h"
#include "journal/JournalText.h"
#include "output/Output.h"
#include "reading/KeySelection.h"

namespace corvidctl {

namespace {

void complainOf(const JournalReading::Damage& damage, Output& output) {
    printError(output, damage.file + ", line " + std::to_string(damage.line) +
                           (damage.isTorn ? ": the file ends in the midst of this batch, which is left out"
                                          : ": no batch that can be read, left out"));
}

std::string nothingFound(const Invocation& invocation, const std::vector<JournalBatch>& batches) {
    std::string keys;
    for (const std::string& argument : invocation.arguments) {
        keys += (keys.empty() ? " of " : ", ") + (argument.empty() ? quoted(argument) : argument);
    }
    return batches.empty()
               ? "the journal holds no batch yet"
               : "the journal knows no change" + keys + " since " + journaltext::timeText(batches.front().time);
}

/// What the keys that were asked for have been, as long as they are few.
void tellWhatStayed(const std::vector<LastAnswer>& answers, Output& output) {
    constexpr std::size_t FEW = 10;
    if (answers.size() > FEW) {
        return;
    }
    for (const LastAnswer& answer : answers) {
        printError(output, answer.change.key + " has been " + quoted(answer.change.newValue) + ", from " +
                               answer.change.newStore + ", since " + journaltext::timeText(answer.since));
    }
}

void print(const Invocation& invocation, const std::vector<JournalBatch>& history, Output& output) {
    if (isForMachines(invocation.format)) {
        output.out << (invocation.batch ? journaltext::batches(history, invocation.format)
                                        : journaltext::changes(history, invocation.format));
    } else if (invocation.batch) {
        for (const JournalBatch& batch : history) {
            printBatch(output, batch);
        }
    } else if (!history.empty()) {
        printChanges(output, history);
    }
}

}  // namespace

int runHistory(const Invocation& invocation, Output& output) {
    const JournalReading reading = readJournal(*invocation.journal);
    if (reading.batches.empty() && !reading.damages.empty()) {
        printError(output, "--journal '" + *invocation.journal +
                               "': expected a journal that corvidctl watch --journal has written");
        return Status::WrongUse;
    }
    for (const JournalReading::Damage& damage : reading.damages) {
        complainOf(damage, output);
    }
    const KeySelection selection(invocation.arguments, KeyNames());
    const auto isWanted = [&selection](const std::wstring& key) { return selection.contains(key); };
    const std::vector<JournalBatch> history = historyOf(reading.batches, isWanted, invocation.reveal);
    print(invocation, history, output);
    if (history.empty()) {
        printError(output, nothingFound(invocation, reading.batches));
        if (!invocation.arguments.empty()) {
            tellWhatStayed(lastAnswersOf(reading.batches, isWanted, invocation.reveal), output);
        }
        return Status::AnswerIsNo;
    }
    return Status::Done;
}

}  // namespace corvidctl
