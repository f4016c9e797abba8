#include "comparing/DeltaTypes.h"

#include <sstream>

namespace corvidctl {

namespace {

std::vector<std::string> wordsOf(const std::vector<std::string>& lists) {
    std::vector<std::string> words;
    for (const std::string& list : lists) {
        std::istringstream stream(list + ",");
        for (std::string word; std::getline(stream, word, ',');) {
            words.push_back(word);
        }
    }
    return words;
}

}  // namespace

std::set<DeltaType> chosenDeltaTypes(const std::vector<std::string>& lists) {
    if (lists.empty()) {
        return {DeltaType::Overridden, DeltaType::Shadowed, DeltaType::Equal};
    }
    std::set<DeltaType> types;
    for (const std::string& word : wordsOf(lists)) {
        if (const std::optional<DeltaType> type = deltaTypeOf(word)) {
            types.insert(*type);
        }
    }
    return types;
}

std::optional<std::string> wrongDeltaType(const std::vector<std::string>& lists) {
    for (const std::string& word : wordsOf(lists)) {
        if (!deltaTypeOf(word)) {
            return word;
        }
    }
    return std::nullopt;
}

}  // namespace corvidctl
