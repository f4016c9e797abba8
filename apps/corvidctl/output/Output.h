#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "output/Table.h"
#include "reading/Views.h"

namespace corvidctl {

class DescriptorStream;

/// Where a command writes, and how.
struct Output {
    std::ostream& out;
    std::ostream& error;
    bool colours;                            ///< on out
    bool terminal;                           ///< out is one
    DescriptorStream* descriptor = nullptr;  ///< out, where it is one of these
    std::size_t columns = 0;                 ///< of the terminal that out is; 0: it is none, or does not tell
};

/// One line on standard error, with the program's name before it and everything that could act on a terminal visible.
void printError(Output& output, const std::string& line);

/// The table of keys, for people: value, store, the administrator's, and what is remarkable.
void printValues(Output& output, const std::vector<ValueView>& views);

/// One change of a key, for people, on a line of its own.
void printChange(Output& output, const ChangeView& change);

/// Sentences for people, each on a line of its own. On a terminal no word is torn apart at the end of a line.
void printSentences(Output& output, const std::string& sentences);

/// A text in quotation marks, shortened and harmless, for a sentence.
std::string quoted(const std::string& text);

}  // namespace corvidctl
