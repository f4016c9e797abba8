#include "cli/ManualPage.h"

#include <sstream>
#include <utility>
#include <vector>

#include "cli/Definitions.h"

namespace corvidctl {

namespace {

constexpr const char* BOLD = "\\fB";
constexpr const char* ITALIC = "\\fI";
constexpr const char* ROMAN = "\\fR";

/// The text as it is to be read: what the macros would take for themselves is escaped.
std::string plain(const std::string& text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '\\':
            result += "\\e";
            break;
        case '-':
            result += "\\-";
            break;
        case '\'':
            result += "\\(aq";
            break;
        case '~':
            result += "\\(ti";
            break;
        default:
            result += character;
        }
    }
    const bool isRequest = !result.empty() && result.front() == '.';
    return (isRequest ? "\\&" : "") + result;
}

std::string bold(const std::string& text) { return BOLD + plain(text) + ROMAN; }
std::string italic(const std::string& text) { return ITALIC + plain(text) + ROMAN; }

/// Arguments as the help shows them, with their names set off: "[GLOB...]".
std::string argumentNames(const std::string& arguments) {
    std::string result;
    std::istringstream words(arguments);
    for (std::string word; words >> word;) {
        const std::size_t begin = word.find_first_not_of('[');
        const std::size_t end = word.find_first_of(".]", begin);
        const std::string name = word.substr(begin, end - begin);
        const std::string styledName = name.front() == '-' ? bold(name) : italic(name);
        result += " " + word.substr(0, begin) + styledName + (end == std::string::npos ? "" : word.substr(end));
    }
    return result;
}

class Page {
public:
    void title() {
        text_ += ".TH CORVIDCTL 1 \"" CORVID_BUILD_DAY "\" \"corvidctl " CORVID_VERSION "\" \"User Commands\"\n";
    }

    void section(const std::string& name) { text_ += ".SH " + name + "\n"; }
    void subsection(const std::string& name) { text_ += ".SS " + plain(name) + "\n"; }
    void line(const std::string& markedUp) { text_ += markedUp + "\n"; }

    /// An explanation under a term that is marked up already.
    void term(const std::string& markedUp, const std::string& explanation) {
        text_ += ".TP\n" + markedUp + "\n" + plain(explanation) + "\n";
    }

    void option(const OptionDefinition& option) {
        std::string names;
        for (const std::string& name : namesOf(option)) {
            names += (names.empty() ? "" : ", ") + bold(name);
        }
        const std::string value = *option.valueName == '\0' ? "" : " " + italic(option.valueName);
        term(names + value, std::string(option.help) + ".");
    }

    void command(const CommandDefinition& command) {
        term(bold(command.name) + argumentNames(command.arguments), std::string(command.summary) + ".");
        std::istringstream lines(command.description);
        for (std::string paragraph; std::getline(lines, paragraph);) {
            text_ += paragraph.empty() ? "" : ".IP\n" + plain(paragraph) + "\n";
        }
        if (!command.choices.empty()) {
            text_ += ".IP\n" + italic(command.arguments) + " is one of: " + choicesOf(command) + ".\n";
        }
        if (!command.options.empty()) {
            text_ += ".RS\n";
            for (const OptionDefinition& one : command.options) {
                option(one);
            }
            text_ += ".RE\n";
        }
    }

    void example(const ExampleDefinition& example) {
        term(bold("corvidctl " + std::string(example.words)), std::string(example.what) + ".");
    }

    const std::string& text() const { return text_; }

private:
    static std::string choicesOf(const CommandDefinition& command) {
        std::string choices;
        for (const char* const choice : command.choices) {
            choices += (choices.empty() ? "" : ", ") + bold(choice);
        }
        return choices;
    }

    std::string text_;
};

void addTop(Page& page) {
    page.title();
    page.section("NAME");
    page.line("corvidctl \\- look into, try out and drive the configuration service");
    page.section("SYNOPSIS");
    page.line(bold("corvidctl") + " [" + italic("global options") + "] " + italic("COMMAND") + " [" +
              italic("arguments") + "]");
    page.section("DESCRIPTION");
    page.line(plain("Starts the configuration service on a configuration directory, does one thing, waits until what "
                    "it changed is on disk, takes everything down and leaves."));
    page.line(".PP");
    page.line(plain("A key's value comes from a chain of stores: the first one that holds the key wins."));
    page.line(".PP");
    page.line(
        plain("Standard output is for answers; remarks and the log go to standard error. Options may stand before "
              "or behind the command; what follows two dashes is no option."));
}

void addCommands(Page& page) {
    page.section("COMMANDS");
    for (const CommandGroup& group : commandGroups()) {
        page.subsection(group.heading);
        for (const CommandDefinition* const command : group.commands) {
            page.command(*command);
        }
    }
}

void addOptions(Page& page) {
    page.section("GLOBAL OPTIONS");
    for (const auto& options : {globalOptions(), answeringOptions()}) {
        for (const OptionDefinition& option : options) {
            page.option(option);
        }
    }
}

void addStatuses(Page& page) {
    page.section("EXIT STATUS");
    page.term(bold("0"), "Done.");
    page.term(bold("1"), "The answer is no: a key that is not defined, a link refused, a download failed, a document "
                         "that is not valid.");
    page.term(bold("2"), "Wrong use, told in one line on standard error. Nothing has been changed.");
}

void addFiles(Page& page) {
    page.section("FILES");
    page.line("In the configuration directory, " + italic("$XDG_CONFIG_HOME/corvid") + " or " +
              italic("~/.config/corvid") + ":");
    page.term(italic("corvidLocalConfig.xml"), "The user's own values.");
    page.term(italic("corvid-config-user.xml"), "What overrides everything else.");
    page.term(italic("Cache/cachedTFTPConfigStore.xml"),
              "The last server's file as it is kept for the next start, without its secrets.");
    page.line(".PP");
    page.line("In the installation directory:");
    page.term(italic("corvid-config-defaults.xml"), "The installation's defaults.");
    page.term(italic("bootstrap.properties"), "What the installer was told, the servers among it.");
}

void addEnvironment(Page& page) {
    page.section("ENVIRONMENT");
    page.term(bold("XDG_CONFIG_HOME") + ", " + bold("HOME"),
              "Where the configuration directory lies, unless --config-dir names it. XDG_CONFIG_HOME counts if it is "
              "an absolute path.");
    page.term(bold("NO_COLOR"), "Colours are off if it is set to anything.");
    page.term(bold("TERM"), "The kind of the terminal. Without it, and if it says dumb, nothing but plain lines is "
                            "written.");
    page.term(bold("TMPDIR"), "Where temporary folders are made, and those removed that a killed run has left.");
}

void addExamples(Page& page) {
    page.section("EXAMPLES");
    for (const ExampleDefinition& example : examplesOfTheTool()) {
        page.example(example);
    }
    for (const CommandGroup& group : commandGroups()) {
        for (const CommandDefinition* const command : group.commands) {
            page.subsection(command->name);
            for (const ExampleDefinition& example : command->examples) {
                page.example(example);
            }
        }
    }
}

}  // namespace

std::string manualPage() {
    Page page;
    for (const auto add : {addTop, addCommands, addOptions, addStatuses, addFiles, addEnvironment, addExamples}) {
        add(page);
    }
    return page.text();
}

}  // namespace corvidctl
