#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "commands/Commands.h"
#include "comparing/SimulationPlan.h"
#include "comparing/StoreNames.h"
#include "output/MachineText.h"
#include "quill/StringUtils.h"
#include "session/Session.h"
#include "session/StoreFailures.h"
#include "validating/ShownKey.h"

namespace corvidctl {

namespace {

/// Nothing that a shell would read as anything but a word.
bool isPlainInAShell(const std::string& word) {
    constexpr const char* plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./+,@%-";
    return !word.empty() && word.front() != '-' && word.find_first_not_of(plain) == std::string::npos;
}

std::vector<std::string> keysOf(const ChainReader& reader) {
    std::vector<std::string> keys;
    for (const std::wstring& key : reader.definedKeys()) {
        keys.push_back(shownKey(key));
    }
    return keys;
}

std::vector<std::string> replaceableStoresOf(const ChainReader& reader) {
    std::vector<std::string> names = namesOfReplaceableStores();
    for (const std::string& name : namesOfStores(reader)) {
        if (isNameOfCachedCopy(name)) {
            names.push_back(name);
        }
    }
    return names;
}

/// What fits the place of a kind of words, as far as the tool knows it, with what ends each of them.
std::vector<std::string> wordsOf(const std::string& what, const ChainReader& reader) {
    const bool areReplacements = what == "replacements";
    std::vector<std::string> words = areReplacements  ? replaceableStoresOf(reader)
                                     : what == "keys" ? keysOf(reader)
                                                      : namesOfStores(reader);
    if (what == "sides") {
        words.emplace_back("live");
    }
    words.erase(std::remove_if(words.begin(), words.end(), [](const auto& word) { return !isPlainInAShell(word); }),
                words.end());
    if (areReplacements) {
        std::for_each(words.begin(), words.end(), [](std::string& word) { word += '='; });
    }
    return words;
}

}  // namespace

int runComplete(const Invocation& invocation, Output& output) {
    std::vector<std::string> words;
    Session session(invocation);
    session.work([&](Session::Inside& inside) { words = wordsOf(invocation.arguments.front(), inside.reader); });
    session.finish();

    if (isForMachines(invocation.format)) {
        Json array = Json::array();
        for (const std::string& word : words) {
            array.push_back({{"word", word}});
        }
        output.out << printedList(array, {{"word", ""}}, invocation.format);
        return Status::Done;
    }
    for (const std::string& word : words) {
        output.out << word << '\n';
    }
    return Status::Done;
}

}  // namespace corvidctl
