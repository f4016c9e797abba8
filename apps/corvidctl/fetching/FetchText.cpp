#include "fetching/FetchText.h"

#include <algorithm>
#include <ostream>

#include "output/Text.h"

namespace corvidctl {

void printDelivered(const FetchView& view, Output& output) {
    output.out << styled(escaped(view.server), Style::Strong, output.colours) << " delivered the file over "
               << view.protocol << ": " << view.keys << (view.keys == 1 ? " key.\n" : " keys.\n");
    output.out << "  URL      " << escaped(view.url) << '\n';
    output.out << "  version  " << escaped(view.version) << ", " << escaped(view.versionSource) << '\n';
    for (std::size_t i = 0; i + 1 < view.attempts.size(); ++i) {
        output.out << "  before   " << escaped(view.attempts[i].url) << ": " << view.attempts[i].result << '\n';
    }
}

void printFailure(const FetchView& view, Output& output) {
    Table table({{"SERVER", 0, false, 12, 1}, {"ASKED FOR", 0, false, 32}, {"RESULT", 0, false, 16}});
    for (const AttemptView& attempt : view.attempts) {
        table.addRow({attempt.server, attempt.url, {attempt.result, Style::Warning}});
    }
    if (!view.attempts.empty()) {
        table.print(output.out, output.colours, output.columns);
    }
    if (!view.advice.empty()) {
        std::string advice = view.advice;
        if (output.columns != 0) {
            std::replace(advice.begin(), advice.end(), '\n', ' ');  // a terminal has lines of its own length
        }
        printSentences(output, advice + '\n');
    }
}

}  // namespace corvidctl
