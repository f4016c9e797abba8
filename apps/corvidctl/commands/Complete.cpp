#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "commands/Commands.h"
#include "output/MachineText.h"
#include "quill/StringUtils.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

/// Nothing that a shell would read as anything but a word.
bool isPlainInAShell(const std::string& word) {
    constexpr const char* plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./+,@%-";
    return !word.empty() && word.front() != '-' && word.find_first_not_of(plain) == std::string::npos;
}

std::vector<std::string> wordsOf(const std::string& what, const ChainReader& reader) {
    std::vector<std::string> words;
    if (what == "stores") {
        for (const StoreView& store : reader.stores()) {
            words.push_back(store.name);
        }
    } else {
        for (const std::wstring& key : reader.definedKeys()) {
            words.push_back(QuillCoreUtils::toString(key));
        }
    }
    words.erase(std::remove_if(words.begin(), words.end(), [](const auto& word) { return !isPlainInAShell(word); }),
                words.end());
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
