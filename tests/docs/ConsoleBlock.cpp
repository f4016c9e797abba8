#include "ConsoleBlock.h"
#include "support/Lines.h"

namespace docs {

namespace {

using support::linesOf;

bool matches(const std::vector<std::string>& output, std::size_t at, const std::vector<std::string>& expected,
             std::size_t next) {
    if (next == expected.size()) {
        return at == output.size();
    }
    if (expected[next] != "...") {
        return at < output.size() && output[at] == expected[next] && matches(output, at + 1, expected, next + 1);
    }
    for (std::size_t skipped = at; skipped <= output.size(); ++skipped) {
        if (matches(output, skipped, expected, next + 1)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::vector<Command> commandsOf(const std::string& page, const std::string& text) {
    std::vector<Command> commands;
    bool isInside = false;
    int number = 0;
    for (const std::string& line : linesOf(text)) {
        ++number;
        if (line.starts_with("```")) {
            isInside = !isInside && line == "```console";
        } else if (isInside && line.starts_with("$ ")) {
            commands.push_back({page, number, line.substr(2), {}});
        } else if (isInside && !commands.empty()) {
            commands.back().expected.append(line).append("\n");
        }
    }
    return commands;
}

bool isAsExpected(const std::string& output, const std::string& expected) {
    return matches(linesOf(output), 0, linesOf(expected), 0);
}

}  // namespace docs
