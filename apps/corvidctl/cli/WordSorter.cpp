#include "cli/WordSorter.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace corvidctl {

namespace {

/// An option that collects what it is given.
bool mayRepeat(const CLI::Option& option) {
    return option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
}

}  // namespace

Words WordSorter::sort(const std::vector<std::string>& words) {
    const auto dashes = std::find(words.begin(), words.end(), "--");
    for (auto word = words.begin(); word != dashes && words_.problem.empty(); ++word) {
        if (expected_ != nullptr) {
            words_.parsed.push_back(*word);
            expected_ = nullptr;
        } else if (word->size() > 1 && word->front() == '-') {
            takeOption(*word);
        } else {
            takeWord(*word);
        }
    }
    noticeMissingValue();
    if (dashes != words.end()) {
        words_.arguments.insert(words_.arguments.end(), dashes + 1, words.end());
    }
    return words_;
}

void WordSorter::takeWord(const std::string& word) {
    if (commandSeen_) {
        words_.arguments.push_back(word);
        return;
    }
    commandSeen_ = true;
    words_.parsed.push_back(word);
    const auto commands = app_.get_subcommands([&word](const CLI::App* one) { return one->get_name() == word; });
    command_ = commands.empty() ? nullptr : commands.front();
}

void WordSorter::takeOption(const std::string& word) {
    words_.parsed.push_back(word);
    const std::size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const CLI::Option* const option = find(name);
    if (option == nullptr) {
        return;  // the parser tells
    }
    const bool takesValue = option->get_items_expected_max() > 0;
    const bool hasValue = equals != std::string::npos;
    if (takesValue && equals == word.size() - 1) {
        words_.problem = name + " is empty, expected a value";
    } else if (takesValue && !mayRepeat(*option) && !seen_.insert(option->get_name()).second) {
        words_.problem = name + " is given twice, expected it once";
    } else if (!takesValue && hasValue) {
        words_.problem = "'" + word + "': expected " + name + " without a value";
    } else if (takesValue && !hasValue) {
        expected_ = option;
    }
}

void WordSorter::noticeMissingValue() {
    if (expected_ != nullptr) {
        const std::string& name = words_.parsed.back();
        const std::string type = expected_->get_type_name();
        words_.problem = name + ": " + type + " is missing, expected: " + name + " " + type;
    }
}

const CLI::Option* WordSorter::find(const std::string& name) const {
    const CLI::Option* const own = command_ == nullptr ? nullptr : command_->get_option_no_throw(name);
    return own != nullptr ? own : app_.get_option_no_throw(name);
}

}  // namespace corvidctl
