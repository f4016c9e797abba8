#include "cli/completions/Completions.h"
#include "cli/completions/ShellWords.h"

namespace corvidctl {

namespace {

/// What the script calls a kind of words; the words themselves follow a choice.
std::string kindWords(WordKind kind, const std::vector<const char*>& choices) {
    switch (kind) {
    case WordKind::Key:
        return "keys";
    case WordKind::Store:
        return "stores";
    case WordKind::Side:
        return "sides";
    case WordKind::Replacement:
        return "replacements";
    case WordKind::File:
        return "file";
    case WordKind::Directory:
        return "directory";
    case WordKind::Choice:
        return "choice " + listed(choices);
    case WordKind::Text:
    case WordKind::None:
        break;
    }
    return "text";
}

std::string optionsFunction() {
    std::string text = "# COMMAND: the options that may stand behind it, or before any.\n"
                       "_corvidctl_options() {\n"
                       "    echo " +
                       listedNames(optionsEverywhere()) +
                       "\n"
                       "    case $1 in\n";
    for (const CommandDefinition* const command : shownCommands()) {
        if (!command->options.empty()) {
            text += std::string("        ") + command->name + ") echo " + listedNames(command->options) + " ;;\n";
        }
    }
    return text + "    esac\n}\n\n";
}

/// One line for each name of an option that takes a value. @param command "*" for any.
std::string valueLines(const std::string& command, const std::vector<OptionDefinition>& options) {
    std::string text;
    for (const OptionDefinition& option : options) {
        for (const std::string& name : namesOf(option)) {
            if (takesValue(option)) {
                text += "        " + command + "\" " + name + "\") echo " + kindWords(option.kind, option.choices) +
                        " ;;\n";
            }
        }
    }
    return text;
}

std::string valuesFunction() {
    std::string text = "# COMMAND OPTION: of what kind its value is; nothing for a switch.\n"
                       "_corvidctl_value() {\n"
                       "    case \"$1 $2\" in\n";
    for (const CommandDefinition* const command : shownCommands()) {
        text += valueLines(command->name, command->options);
    }
    return text + valueLines("*", globalOptions()) + "    esac\n}\n\n";
}

std::string argumentsFunction() {
    std::string text = "# COMMAND: how many of its arguments are of which kind.\n"
                       "_corvidctl_arguments() {\n"
                       "    case $1 in\n";
    for (const CommandDefinition* const command : shownCommands()) {
        if (completableArguments(*command) != 0) {
            text += std::string("        ") + command->name + ") echo " +
                    std::to_string(completableArguments(*command)) + " " +
                    kindWords(command->argumentKind, command->choices) + " ;;\n";
        }
    }
    return text + "    esac\n}\n\n";
}

std::string commandsFunction() {
    std::vector<std::string> names;
    for (const CommandDefinition* const command : shownCommands()) {
        names.emplace_back(command->name);
    }
    return "_corvidctl_commands() {\n    echo " + listed(names) + "\n}\n\n";
}

constexpr const char* MACHINERY = R"script(# WORD: as the program would get it, for the simple ways of quoting.
_corvidctl_unquoted() {
    local word=${1//[\"\'\\]/}
    echo "${word/#\~\//$HOME/}"
}

# PREFIX WHAT: offers what the tool knows in the directories that the command line names.
_corvidctl_ask() {
    local word
    while IFS= read -r word; do
        [[ ${word,,} == "${1,,}"* ]] && COMPREPLY+=("$word")
    done < <("$(_corvidctl_unquoted "${COMP_WORDS[0]}")" "${places[@]}" --log-level 2 complete "$2" 2>/dev/null)
}

# Reads the words before the one that is typed, into the variables of the function below. Bash takes a word apart at
# each "=": one behind an option leads to its value, any other one to more of the word before it.
_corvidctl_read_words() {
    local i word last=
    for ((i = 1; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == = && -z $expected ]]; then
            expected=${last:-none}
            behind=yes
        fi
        ((i < COMP_CWORD)) || break
        if [[ $word == = ]]; then
            continue
        elif [[ -n $expected ]]; then
            case $expected in
                --config-dir | --install-dir | --bootstrap) places+=("$expected" "$(_corvidctl_unquoted "$word")") ;;
            esac
            last=$expected
            expected=
            behind=
        elif [[ -z $dashes && $word == -- ]]; then
            dashes=yes
        elif [[ -z $dashes && $word == -* ]]; then
            [[ -z $(_corvidctl_value "$command" "$word") ]] || expected=$word
        elif [[ -z $command ]]; then
            command=$word
        else
            ((count += 1))
            last=
        fi
    done
}

# CURRENT: offers stores to be replaced, and behind the "=" the files to replace them with.
_corvidctl_replacements() {
    if [[ -n $behind ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$1")
        compopt -o filenames 2>/dev/null
    else
        _corvidctl_ask "$1" replacements
        compopt -o nospace 2>/dev/null
    fi
}

_corvidctl() {
    local current=${COMP_WORDS[COMP_CWORD]} command= expected= behind= dashes= count=0 most=0 kind=
    local -a places=()
    COMPREPLY=()
    _corvidctl_read_words
    if [[ -n $expected ]]; then
        kind=$(_corvidctl_value "$command" "$expected")
        [[ $current == = ]] && current=
    elif [[ -z $dashes && $current == -* ]]; then
        kind="choice $(_corvidctl_options "$command")"
    elif [[ -z $command ]]; then
        kind="choice $(_corvidctl_commands)"
    else
        read -r most kind <<<"$(_corvidctl_arguments "$command")"
        ((count < ${most:-0})) || kind=
    fi
    case $kind in
        choice*) mapfile -t COMPREPLY < <(compgen -W "${kind#choice }" -- "$current") ;;
        keys | stores) [[ -n $behind ]] || _corvidctl_ask "$current" "$kind" ;;
        replacements) _corvidctl_replacements "$current" ;;
        sides)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            _corvidctl_ask "$current" sides
            ;;
        file) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        directory) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    esac
    [[ $kind != file && $kind != directory && $kind != sides ]] || compopt -o filenames 2>/dev/null
}

complete -F _corvidctl corvidctl
)script";

}  // namespace

std::string bashCompletions() {
    return "# Completes command lines of corvidctl in bash.\n\n" + commandsFunction() + optionsFunction() +
           valuesFunction() + argumentsFunction() + MACHINERY;
}

}  // namespace corvidctl
