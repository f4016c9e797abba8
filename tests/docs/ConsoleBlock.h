#pragma once

#include <string>
#include <vector>

namespace docs {

/// A command of a page, and what the page says that it prints.
struct Command {
    std::string page;  ///< the file's name
    int line = 0;      ///< of the command in the page
    std::string text;  ///< for a shell
    std::string expected;
};

/// The commands in a page's blocks that begin with "```console": each behind "$ ", its output below it.
std::vector<Command> commandsOf(const std::string& page, const std::string& text);

/// True if the output is the expected one. A line "..." in it stands for any number of lines.
bool isAsExpected(const std::string& output, const std::string& expected);

}  // namespace docs
