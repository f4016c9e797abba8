#include "journal/ChangePrinter.h"

#include <ostream>

#include "journal/JournalPrinting.h"
#include "journal/JournalText.h"
#include "output/Answers.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "quill/StringUtils.h"
#include "session/Interruption.h"

namespace corvidctl {

ChangePrinter::ChangePrinter(const Invocation& invocation, Output& output, ProgressLine& progress,
                             Interruption& interruption)
    : invocation_(invocation),
      output_(output),
      progress_(progress),
      interruption_(interruption),
      selection_(invocation.arguments, KeyNames()) {}

void ChangePrinter::printHeadings() {
    const Format format = invocation_.format;
    output_.out << (invocation_.batch ? journaltext::headings(format) : answers::changeHeadings(format)) << std::flush;
}

void ChangePrinter::tell(const ChangeView& change) {
    if (invocation_.batch || !isAskedFor(change.value.key)) {
        return;
    }
    print([&] {
        if (isForMachines(invocation_.format)) {
            output_.out << answers::change(change, invocation_.format);
        } else {
            printChange(output_, change);
        }
    });
}

void ChangePrinter::tell(JournalBatch batch) {
    std::erase_if(batch.changes, [this](const JournalChange& change) { return !isAskedFor(change.key); });
    if (!invocation_.batch || batch.changes.empty()) {
        return;
    }
    print([&] {
        if (isForMachines(invocation_.format)) {
            output_.out << journaltext::batch(batch, invocation_.format);
        } else {
            printBatch(output_, batch);
        }
    });
}

bool ChangePrinter::isAskedFor(const std::string& key) const {
    return selection_.contains(QuillCoreUtils::toWideString(key));
}

void ChangePrinter::print(const std::function<void()>& printing) {
    progress_.aside([&] {
        printing();
        output_.out.flush();
    });
    if (!output_.out) {
        interruption_.end();  // nobody reads any more
    }
}

}  // namespace corvidctl
