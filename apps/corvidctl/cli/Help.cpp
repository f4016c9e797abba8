#include "cli/Help.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "output/Text.h"
#include "output/Wrapping.h"

namespace corvidctl {

namespace {

constexpr std::size_t USUAL_COLUMNS = 80;
constexpr std::size_t MOST_COLUMNS = 100;
constexpr std::size_t LEAST_COLUMNS = 40;
constexpr std::size_t INDENT = 2;
constexpr std::size_t GAP = 3;
constexpr std::size_t LONGEST_TERM = 24;  ///< behind a longer one, its text begins on the next line

/// Something with an explanation beside it.
using Term = std::pair<std::string, std::string>;

std::string termOf(const OptionDefinition& option) {
    std::string term;
    for (const std::string& name : namesOf(option)) {
        term += (term.empty() ? "" : ", ") + name;
    }
    return term + (*option.valueName == '\0' ? "" : " ") + option.valueName;
}

std::vector<Term> termsOf(const std::vector<OptionDefinition>& options) {
    std::vector<Term> terms;
    for (const OptionDefinition& option : options) {
        terms.emplace_back(termOf(option), option.help);
    }
    return terms;
}

std::vector<Term> termsOf(const CommandGroup& group) {
    std::vector<Term> terms;
    for (const CommandDefinition* const command : group.commands) {
        terms.emplace_back(command->name, command->summary);
    }
    return terms;
}

class HelpText {
public:
    explicit HelpText(std::size_t columns)
        : columns_(columns == 0 ? USUAL_COLUMNS : std::clamp(columns, LEAST_COLUMNS, MOST_COLUMNS)) {}

    void usage(const std::string& words) { text_ += "Usage: corvidctl [global options] " + words + "\n"; }

    void heading(const std::string& words) { text_ += "\n" + words + ":\n"; }

    void paragraph(const std::string& words) { text_ += "\n" + indented(words, 0, columns_); }

    /// Explanations stand under each other, beside the longest term that is not too long.
    void terms(const std::vector<Term>& list) { terms(list, widthOf(list)); }

    /// @param width of the terms that an explanation stands beside.
    void terms(const std::vector<Term>& terms, std::size_t width) {
        for (const auto& [term, explanation] : terms) {
            const std::size_t column = INDENT + width + GAP;
            const std::string lines = indented(explanation, column, columns_);
            const std::string line = std::string(INDENT, ' ') + term;
            const bool fits = displayWidth(term) <= width;
            text_ += fits ? padded(line, column) + lines.substr(column) : line + '\n' + lines;
        }
    }

    void examples(const std::vector<ExampleDefinition>& examples) {
        heading("Examples");
        for (const ExampleDefinition& example : examples) {
            text_ += std::string(INDENT, ' ') + "corvidctl " + example.words + "\n";
            text_ += indented(example.what, 3 * INDENT, columns_);
        }
    }

    void paragraphs(const std::string& description) {
        for (std::size_t begin = 0; begin < description.size();) {
            const std::size_t end = std::min(description.find("\n\n", begin), description.size());
            paragraph(description.substr(begin, end - begin));
            begin = end + 2;
        }
    }

    const std::string& text() const { return text_; }

    /// Of the longest term that is not too long.
    static std::size_t widthOf(const std::vector<Term>& terms) {
        std::size_t width = 0;
        for (const Term& term : terms) {
            const std::size_t own = displayWidth(term.first);
            width = own > LONGEST_TERM ? width : std::max(width, own);
        }
        return width;
    }

private:
    const std::size_t columns_;
    std::string text_;
};

}  // namespace

std::string helpOfTheTool(std::size_t columns) {
    HelpText help(columns);
    help.usage("COMMAND [arguments]");
    help.paragraph("Looks into, tries out and drives the configuration service.");
    const std::vector<CommandGroup> groups = commandGroups();
    std::size_t width = 0;
    for (const CommandGroup& group : groups) {
        width = std::max(width, HelpText::widthOf(termsOf(group)));
    }
    for (const CommandGroup& group : groups) {
        help.heading(group.heading);
        help.terms(termsOf(group), width);
    }
    help.heading("Global options, before or behind the command");
    std::vector<Term> options = termsOf(globalOptions());
    const std::vector<Term> answering = termsOf(answeringOptions());
    options.insert(options.end(), answering.begin(), answering.end());
    help.terms(options);
    help.examples(examplesOfTheTool());
    help.heading("Exit status");
    help.terms({{"0", "done"},
                {"1", "the answer is no: a key that is not defined, a link refused, a download failed, a document that "
                      "is not valid"},
                {"2", "wrong use, told in one line; nothing has been changed"}});
    help.paragraph("corvidctl COMMAND --help tells more about a command, corvidctl manual is all there is to read.");
    return help.text();
}

std::string helpOf(const CommandDefinition& command, std::size_t columns) {
    HelpText help(columns);
    const std::string usage = usageOf(command);
    help.usage(usage.substr(usage.find(' ') + 1));
    help.paragraph(std::string(command.summary) + ".");
    help.paragraphs(command.description);
    if (!command.choices.empty()) {
        std::string choices;
        for (const char* const choice : command.choices) {
            choices += (choices.empty() ? "" : ", ") + std::string(choice);
        }
        help.paragraph(std::string(command.arguments) + " is one of: " + choices + ".");
    }
    if (!command.options.empty()) {
        help.heading("Options");
        help.terms(termsOf(command.options));
    }
    if (!command.examples.empty()) {
        help.examples(command.examples);
    }
    help.paragraph("corvidctl --help lists the global options.");
    return help.text();
}

}  // namespace corvidctl
