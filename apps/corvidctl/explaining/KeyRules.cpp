#include "explaining/KeyRules.h"

namespace corvidctl {

std::string inBrackets(const HiddenPlace& place) {
    if (place.file.empty()) {
        return {};
    }
    return " (" + place.file + (place.line == 0 ? "" : ", line " + std::to_string(place.line)) + ")";
}

std::vector<std::string> rulesOf(const Explanation& key) {
    std::vector<std::string> sentences;
    for (const auto* const rules : {&chainRules(), &fileRules()}) {
        for (const KeyRule rule : *rules) {
            const std::vector<std::string> said = rule(key);
            sentences.insert(sentences.end(), said.begin(), said.end());
        }
    }
    return sentences;
}

}  // namespace corvidctl
