#include "cli/ManualPage.h"

#include "cli/Definitions.h"
#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

using namespace corvidctl;
using testing::HasSubstr;

namespace {

std::string withDashesForRoff(std::string text) {
    for (std::size_t at = text.find('-'); at != std::string::npos; at = text.find('-', at + 2)) {
        text.insert(at, 1, '\\');
    }
    return text;
}

/// The page as a reader sees it, without emphasis, on one line.
std::string read() {
    const fakes::TemporaryDirectory directory;
    const std::string file = directory.write("corvidctl.1", manualPage());
    const support::Ended ended = support::runProgram({MANDOC_PROGRAM, "-T", "utf8", "-O", "width=500,indent=0", file});
    EXPECT_EQ(ended.status, 0) << ended.error;
    std::string text;
    for (const char character : ended.out) {
        if (character == '\b') {
            text.pop_back();  // a letter is made bold by printing it twice
        } else {
            text += character;
        }
    }
    return text;
}

}  // namespace

TEST(ManualPage, IsWrittenAsItsReadersWantIt) {
    const fakes::TemporaryDirectory directory;
    const std::string file = directory.write("corvidctl.1", manualPage());
    const support::Ended ended = support::runProgram({MANDOC_PROGRAM, "-T", "lint", "-W", "warning", file});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out + ended.error, "");
}

TEST(ManualPage, HasTheSectionsThatManualPagesHave) {
    const std::string page = manualPage();
    std::size_t last = 0;
    for (const std::string section : {"NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "GLOBAL OPTIONS", "EXIT STATUS",
                                      "FILES", "ENVIRONMENT", "EXAMPLES"}) {
        const std::size_t found = page.find(".SH " + section + "\n");
        ASSERT_NE(found, std::string::npos) << section;
        EXPECT_GT(found, last) << section;
        last = found;
    }
}

TEST(ManualPage, TellsOfEveryCommandAndOption) {
    const std::string text = read();
    for (const CommandDefinition& command : commandDefinitions()) {
        const std::string term = ".TP\n\\fB" + withDashesForRoff(command.name) + "\\fR";
        EXPECT_EQ(manualPage().find(term) != std::string::npos, !command.isHidden) << command.name;
        if (command.isHidden) {
            continue;
        }
        const std::string usage = usageOf(command);
        EXPECT_THAT(text, HasSubstr(" " + usage.substr(usage.find(' ') + 1)));
        EXPECT_THAT(text, HasSubstr(std::string(command.summary) + "."));
        for (const OptionDefinition& option : command.options) {
            EXPECT_THAT(text, HasSubstr(namesOf(option).back()));
            EXPECT_THAT(text, HasSubstr(std::string(option.help) + "."));
        }
        for (const ExampleDefinition& example : command.examples) {
            EXPECT_THAT(text, HasSubstr(std::string("corvidctl ") + example.words + "\n"));
        }
    }
    for (const auto& options : {globalOptions(), answeringOptions()}) {
        for (const OptionDefinition& option : options) {
            EXPECT_THAT(text, HasSubstr(namesOf(option).back()));
            EXPECT_THAT(text, HasSubstr(std::string(option.help) + "."));
        }
    }
}

TEST(ManualPage, KeepsWhatIsToBeTypedAsItIsTyped) {
    EXPECT_THAT(manualPage(), HasSubstr("\\fBcorvidctl list \\(aq*voicemail*\\(aq\\fR\n"));
    EXPECT_THAT(manualPage(), HasSubstr("\\fBcorvidctl \\-o tsv list\\fR\n"));
    EXPECT_THAT(manualPage(), HasSubstr("\\(ti/.config/fish/"));
}

TEST(ManualPage, TellsOfTheEnvironment) {
    const std::string text = read();
    for (const std::string name : {"XDG_CONFIG_HOME", "HOME", "NO_COLOR", "TERM", "TMPDIR"}) {
        EXPECT_THAT(text.substr(text.find("\nENVIRONMENT")), HasSubstr(name));
    }
}

TEST(ManualPage, IsPrintedByTheTool) {
    EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "manual"}).out, manualPage());
}
