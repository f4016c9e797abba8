#include "cli/completions/Completions.h"
#include "cli/completions/ShellWords.h"

namespace corvidctl {

namespace {

std::string quotedForFish(const std::string& text) {
    std::string result = "'";
    for (const char character : text) {
        result += character == '\'' || character == '\\' ? "\\" : "";
        result += character;
    }
    return result + "'";
}

/// The arguments of "complete" that offer a kind of words.
std::string offer(WordKind kind, const std::vector<const char*>& choices) {
    switch (kind) {
    case WordKind::Key:
        return " -a '(__corvidctl_ask keys)'";
    case WordKind::Store:
        return " -a '(__corvidctl_ask stores)'";
    case WordKind::Side:
        return " -F -a '(__corvidctl_ask sides)'";
    case WordKind::Replacement:
        return " -a '(__corvidctl_replacements)'";
    case WordKind::File:
        return " -F";
    case WordKind::Directory:
        return " -a '(__fish_complete_directories)'";
    case WordKind::Choice:
        return " -a " + quotedForFish(listed(choices));
    case WordKind::Text:
    case WordKind::None:
        break;
    }
    return {};
}

/// @param condition where the options may stand; empty for everywhere.
std::string optionLines(const std::vector<OptionDefinition>& options, const std::string& condition) {
    std::string text;
    for (const OptionDefinition& option : options) {
        text += "complete -c corvidctl" + (condition.empty() ? "" : " -n " + quotedForFish(condition));
        for (const std::string& name : namesOf(option)) {
            const bool isLong = name.rfind("--", 0) == 0;
            text += isLong ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
        text += (!takesValue(option)             ? ""
                 : option.kind == WordKind::File ? " -r"
                                                 : " -x") +
                offer(option.kind, option.choices) + " -d " + quotedForFish(option.help) + "\n";
    }
    return text;
}

std::string commandLines(const CommandDefinition& command) {
    const std::string name = command.name;
    std::string text = "\ncomplete -c corvidctl -n '__corvidctl_at 0' -a " + name + " -d " +
                       quotedForFish(command.summary) + "\n" +
                       optionLines(command.options, "__corvidctl_command_is " + name);
    const std::string words = offer(command.argumentKind, command.choices);
    if (completableArguments(command) != 0 && !words.empty()) {
        text += "complete -c corvidctl -n '__corvidctl_command_is " + name + "; and __corvidctl_at " +
                std::to_string(completableArguments(command)) + "'" + words + "\n";
    }
    return text;
}

/// The names of all options that take a value, of any command.
std::string namesWithValues() {
    std::vector<OptionDefinition> options;
    const auto add = [&options](const std::vector<OptionDefinition>& more) {
        for (const OptionDefinition& option : more) {
            if (takesValue(option)) {
                options.push_back(option);
            }
        }
    };
    add(globalOptions());
    for (const CommandDefinition* const command : shownCommands()) {
        add(command->options);
    }
    return listedNames(options);
}

constexpr const char* WORDS_BEGIN =
    R"script(# The command that was typed and its arguments, each on a line, without the options.
function __corvidctl_words
    set -l words (commandline -opc)
    set -l skip no
    for word in $words[2..-1]
        if test $skip = yes
            set skip no
            continue
        end
        switch $word
            case )script";

constexpr const char* WORDS_END = R"script(
                set skip yes
            case '-*'
            case '*'
                echo $word
        end
    end
end

function __corvidctl_command_is
    set -l words (__corvidctl_words)
    test "$words[1]" = $argv[1]
end

# MOST: true until the command and that many arguments have been typed; for 0, until the command has been.
function __corvidctl_at
    set -l words (__corvidctl_words)
    test (count $words) -le $argv[1]
end

# WHAT: what the tool knows in the directories that the command line names.
function __corvidctl_ask
    set -l words (commandline -opc)
    set -l places
    for i in (seq 2 (count $words))
        switch $words[$i]
            case --config-dir --install-dir --bootstrap
                set -l next (math $i + 1)
                if set -q words[$next]
                    set -a places $words[$i] (string replace -r '^~/' $HOME/ -- $words[$next])
                end
            case '--config-dir=*' '--install-dir=*' '--bootstrap=*'
                set -a places $words[$i]
        end
    end
    set -l program (string replace -r '^~/' $HOME/ -- $words[1])
    command $program $places --log-level 2 complete $argv[1] 2>/dev/null
end

# The stores to be replaced, or behind the "=" the files to replace one with.
function __corvidctl_replacements
    set -l parts (string split -m 1 = -- (commandline -ct))
    # "--replace=STORE=FILE" is one word.
    if string match -q -- '--*' $parts[1]
        set parts (string split -m 1 = -- $parts[2])
    end
    if set -q parts[2]
        printf '%s\n' $parts[1]=(__fish_complete_path $parts[2])
    else
        __corvidctl_ask replacements
    end
end

complete -c corvidctl -f
)script";

}  // namespace

std::string fishCompletions() {
    std::string text = "# Completes command lines of corvidctl in fish.\n\n";
    text += WORDS_BEGIN + namesWithValues() + WORDS_END + optionLines(optionsEverywhere(), "");
    for (const CommandDefinition* const command : shownCommands()) {
        text += commandLines(*command);
    }
    return text;
}

}  // namespace corvidctl
