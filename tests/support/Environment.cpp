#include "support/Environment.h"

extern char** environ;

namespace support {

std::vector<std::string> changedEnvironment(const std::map<std::string, std::string>& changes) {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const std::size_t equals = text.find('=');
        variables[text.substr(0, equals)] = equals == std::string::npos ? "" : text.substr(equals + 1);
    }
    for (const auto& [name, value] : changes) {
        variables[name] = value;
    }
    std::vector<std::string> merged;
    for (const auto& [name, value] : variables) {
        if (!value.empty()) {
            merged.push_back(name + "=" + value);
        }
    }
    return merged;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

}  // namespace support
