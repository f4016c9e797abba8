#include "cli/completions/Completions.h"
#include "cli/completions/ShellWords.h"

namespace corvidctl {

namespace {

/// A text inside single quotes, with a backslash before each of some characters.
std::string escapedFor(const std::string& text, const std::string& special) {
    std::string result;
    for (const char character : text) {
        if (character == '\'') {
            result += "'\\''";
            continue;
        }
        result += special.find(character) == std::string::npos ? "" : "\\";
        result += character;
    }
    return result;
}

/// What completes a kind of words.
std::string action(WordKind kind, const std::vector<const char*>& choices) {
    switch (kind) {
    case WordKind::Key:
        return "_corvidctl_keys";
    case WordKind::Store:
        return "_corvidctl_stores";
    case WordKind::Side:
        return "_corvidctl_sides";
    case WordKind::Replacement:
        return "_corvidctl_replacements";
    case WordKind::File:
        return "_files";
    case WordKind::Directory:
        return "_files -/";
    case WordKind::Choice:
        return "(" + listed(choices) + ")";
    case WordKind::Text:
    case WordKind::None:
        break;
    }
    return " ";
}

/// One line for each name of each option.
std::string optionLines(const std::vector<OptionDefinition>& options, const std::string& indent) {
    std::string text;
    for (const OptionDefinition& option : options) {
        const std::vector<std::string> names = namesOf(option);
        const std::string others = names.size() > 1 ? "(" + listed(names) + ")" : "";
        const std::string help = "[" + escapedFor(option.help, "[]:\\") + "]";
        const std::string value =
            takesValue(option) ? std::string(":") + option.valueName + ":" + action(option.kind, option.choices) : "";
        for (const std::string& name : names) {
            text += indent + "'" + others + name + help + value + "'\n";
        }
    }
    return text;
}

std::string argumentLine(const CommandDefinition& command, const std::string& indent) {
    const std::size_t count = completableArguments(command);
    if (count == 0) {
        return {};
    }
    const std::string place = count > 1 ? "*" : "1";
    return indent + "'" + place + ":" + escapedFor(command.arguments, "[]:\\") + ":" +
           action(command.argumentKind, command.choices) + "'\n";
}

std::string commandLines() {
    std::string text;
    for (const CommandDefinition* const command : shownCommands()) {
        text += std::string("    '") + command->name + ":" + escapedFor(command->summary, ":\\") + "'\n";
    }
    return text;
}

std::string argumentCases() {
    std::string text;
    for (const CommandDefinition* const command : shownCommands()) {
        text += std::string("        (") + command->name + ")\n          own=(\n";
        text += optionLines(command->options, "            ") + argumentLine(*command, "            ");
        text += "          ) ;;\n";
    }
    return text;
}

constexpr const char* ASK =
    R"script(# WHAT OPTION...: offers what the tool knows in the directories that the command line names.
_corvidctl_ask() {
  local what=$1
  local -a found places
  local i
  for ((i = 2; i < $#typed; i++)); do
    case $typed[i] in
      (--config-dir|--install-dir|--bootstrap)
        places+=($typed[i] ${${(Q)typed[i+1]}/#\~\//$HOME/}) ;;
      (--config-dir=*|--install-dir=*|--bootstrap=*)
        places+=(${(Q)typed[i]}) ;;
    esac
  done
  found=(${(f)"$(${${(Q)typed[1]}/#\~\//$HOME/} $places --log-level 2 complete $what 2>/dev/null)"})
  compadd "${@:2}" -M 'm:{a-zA-Z}={A-Za-z}' -a found
}

_corvidctl_keys() { _corvidctl_ask keys "$@" }
_corvidctl_stores() { _corvidctl_ask stores "$@" }
_corvidctl_sides() { _alternative 'sides:store:_corvidctl_named_sides' 'files:file:_files' }
_corvidctl_named_sides() { _corvidctl_ask sides "$@" }

_corvidctl_replacements() {
  if compset -P 1 '*='; then
    _files
  else
    _corvidctl_ask replacements -S '' "$@"
  fi
}

)script";

}  // namespace

std::string zshCompletions() {
    return std::string("#compdef corvidctl\n# Completes command lines of corvidctl in zsh.\n\n") + ASK +
           "_corvidctl() {\n"
           "  local curcontext=$curcontext state line result=1\n"
           "  local -a typed=(\"${words[@]}\") everywhere commands own\n"
           "  typeset -A opt_args\n"
           "  everywhere=(\n" +
           optionLines(optionsEverywhere(), "    ") +
           "  )\n"
           "  commands=(\n" +
           commandLines() +
           "  )\n"
           "  _arguments -C $everywhere '(-)1: :->command' '(-)*:: :->arguments' && result=0\n"
           "  case $state in\n"
           "    (command)\n"
           "      _describe -t commands command commands && result=0 ;;\n"
           "    (arguments)\n"
           "      case $words[1] in\n" +
           argumentCases() +
           "      esac\n"
           "      _arguments $everywhere $own && result=0 ;;\n"
           "  esac\n"
           "  return result\n"
           "}\n\n"
           "if [[ $funcstack[1] == _corvidctl ]]; then\n"
           "  _corvidctl \"$@\"\n"
           "else\n"
           "  compdef _corvidctl corvidctl\n"
           "fi\n";
}

}  // namespace corvidctl
