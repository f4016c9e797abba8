#pragma once

#include <set>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace corvidctl {

/// The command line taken apart.
struct Words {
    std::vector<std::string> parsed;     ///< options with their values and the command, for the parser of options
    std::vector<std::string> arguments;  ///< the command's, letter by letter
    std::string problem;                 ///< what does not fit, in one line; empty if all does
};

/// Takes a command line apart before the parser of options reads it, for that would see a list in a word in brackets
/// and the end of a command in two pluses. Used once.
class WordSorter {
public:
    /// @param app knows the options and the commands; must outlive this.
    explicit WordSorter(const CLI::App& app) : app_(app) {}

    /// @param words without the program's name. What follows two dashes is no option.
    Words sort(const std::vector<std::string>& words);

private:
    void takeWord(const std::string& word);
    void takeOption(const std::string& word);
    void noticeMissingValue();
    const CLI::Option* find(const std::string& name) const;

    const CLI::App& app_;
    const CLI::App* command_ = nullptr;
    bool commandSeen_ = false;
    const CLI::Option* expected_ = nullptr;  ///< the option whose value is the next word
    std::set<std::string> seen_;
    Words words_;
};

}  // namespace corvidctl
