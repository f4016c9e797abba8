#include "cli/Help.h"

#include <sstream>

#include "output/Text.h"

using namespace corvidctl;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::size_t widestLineOf(const std::string& text) {
    std::size_t widest = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        widest = std::max(widest, displayWidth(line));
    }
    return widest;
}

/// The text with every run of blanks and line ends as one blank, for sentences that may be parted anywhere.
std::string flowing(const std::string& text) {
    std::string result;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        result += (result.empty() ? "" : " ") + word;
    }
    return result;
}

const CommandDefinition SAMPLE = {"sample",
                                  "[GLOB...]",
                                  0,
                                  ANY_NUMBER,
                                  WordKind::Key,
                                  "Show how it looks",
                                  "The first paragraph.\n\nThe second one.",
                                  {{"-s,--short", "", "A switch", &Invocation::all},
                                   {"--with-a-very-long-name", "VALUE", "An option", &Invocation::store}},
                                  {{"sample 'a*'", "Show some"}}};

}  // namespace

TEST(Help, OfACommandIsLaidOutLikeThis) {
    EXPECT_EQ(helpOf(SAMPLE, 80), "Usage: corvidctl [global options] sample [GLOB...]\n"
                                  "\n"
                                  "Show how it looks.\n"
                                  "\n"
                                  "The first paragraph.\n"
                                  "\n"
                                  "The second one.\n"
                                  "\n"
                                  "Options:\n"
                                  "  -s, --short   A switch\n"
                                  "  --with-a-very-long-name VALUE\n"
                                  "                An option\n"
                                  "\n"
                                  "Examples:\n"
                                  "  corvidctl sample 'a*'\n"
                                  "      Show some\n"
                                  "\n"
                                  "corvidctl --help lists the global options.\n");
}

TEST(Help, OfACommandTellsTheWordsThatItTakes) {
    EXPECT_THAT(helpOf(commandDefinition("completions"), 80), HasSubstr("\nSHELL is one of: bash, zsh, fish.\n"));
}

TEST(Help, OfEveryCommandTellsAllThatIsDefined) {
    for (const CommandDefinition& command : commandDefinitions()) {
        const std::string help = helpOf(command, 0);
        const std::string usage = usageOf(command);
        EXPECT_THAT(help, StartsWith("Usage: corvidctl [global options]" + usage.substr(usage.find(' ')) + "\n"));
        EXPECT_THAT(help, HasSubstr(std::string("\n") + command.summary));
        EXPECT_THAT(flowing(help), HasSubstr(flowing(command.description)));
        for (const OptionDefinition& option : command.options) {
            EXPECT_THAT(help, HasSubstr(namesOf(option).back()));
            EXPECT_THAT(flowing(help), HasSubstr(option.help));
        }
        for (const ExampleDefinition& example : command.examples) {
            EXPECT_THAT(help, HasSubstr(std::string("\n  corvidctl ") + example.words + "\n"));
            EXPECT_THAT(flowing(help), HasSubstr(example.what));
        }
    }
}

TEST(Help, OfTheToolTellsEveryCommandAndGlobalOption) {
    const std::string help = helpOfTheTool(0);
    for (const CommandDefinition& command : commandDefinitions()) {
        const bool isListed = help.find(std::string("\n  ") + command.name + " ") != std::string::npos;
        EXPECT_EQ(isListed, !command.isHidden) << command.name;
        if (!command.isHidden) {
            EXPECT_THAT(flowing(help), HasSubstr(command.summary));
        }
    }
    for (const auto& options : {globalOptions(), answeringOptions()}) {
        for (const OptionDefinition& option : options) {
            EXPECT_THAT(help, HasSubstr(namesOf(option).back()));
            EXPECT_THAT(flowing(help), HasSubstr(option.help));
        }
    }
}

TEST(Help, FitsTheTerminal) {
    for (const std::size_t columns : {60U, 72U, 80U, 90U}) {
        EXPECT_LE(widestLineOf(helpOfTheTool(columns)), columns);
    }
    for (const CommandDefinition& command : commandDefinitions()) {
        EXPECT_LE(widestLineOf(helpOf(command, 80)), 80U) << command.name;
    }
}

TEST(Help, TakesEightyColumnsWhereTheWidthIsUnknown) { EXPECT_EQ(helpOfTheTool(0), helpOfTheTool(80)); }

TEST(Help, GrowsNoWiderThanIsComfortable) {
    EXPECT_EQ(helpOfTheTool(1000), helpOfTheTool(100));
    EXPECT_NE(helpOfTheTool(1000), helpOfTheTool(80));
}

TEST(Help, StaysReadableInASliverOfATerminal) { EXPECT_EQ(helpOfTheTool(1), helpOfTheTool(40)); }
