#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <memory>
#include <string>

#include "Client.h"
#include "Inputs.h"
#include "Trial.h"
#include "quill/FileUtils.h"

namespace torture {
namespace {

bool isWellFormed(const std::string& text) {
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(xmlReadMemory(text.data(), static_cast<int>(text.size()),
                                                                            "text", nullptr,
                                                                            XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                                                              xmlFreeDoc);
    return document != nullptr;
}

/// A client whose six inputs are whole but for one.
class DamagedClient {
public:
    explicit DamagedClient(Trial& trial) : trial_(trial) {}

    void tryWith(const Input& damaged, const std::string& contents, const std::string& what) {
        files_.write(damaged, contents);
        trial_.tried();
        const std::string wrong = start(damaged, contents);
        if (!wrong.empty()) {
            trial_.lost(damaged.name + ", " + what + ": " + wrong, files_.scene().folder());
        }
    }

private:
    /// @return what is wrong; empty if nothing is.
    std::string start(const Input& damaged, const std::string& contents) {
        Client client(files_.scene());
        const std::string wrong = whatIsUnanswered(client, damaged, contents);
        if (!wrong.empty()) {
            return wrong;
        }
        const bool isXml = damaged.form != Input::Form::Properties;
        const bool isTold = damaged.path.empty() ? client.complaints() > 0 : speaksOf(client, damaged);
        return isXml && !isWellFormed(contents) && !isTold ? "no line of the log tells of the damage" : "";
    }

    static bool speaksOf(Client& client, const Input& damaged) {
        const std::string name = QuillCoreUtils::FileUtils::getFileName(damaged.path);
        const std::string stem = name.substr(0, name.rfind('.'));
        for (const int level : {2, 3}) {
            for (const std::string& text : client.log().texts(level)) {
                if (text.find(stem) != std::string::npos) {
                    return true;
                }
            }
        }
        return false;
    }

    Trial& trial_;
    const InputFiles files_;
};

// The library's own words on each damage are not looked at.
void saysNothing(void*, const char*, ...) {}

/// The short run takes some of the bytes, the long one all of them, and each of their bits.
void damageEachByte(Trial& trial, DamagedClient& client, const Input& input) {
    const std::size_t size = input.contents.size();
    constexpr std::uint64_t wanted = 12;
    for (std::size_t at = 0; at < size; ++at) {
        // The parser passes over an empty text in silence: an answer without a body is the transport's to judge.
        const bool isEmptyAnswer = at == 0 && input.path.empty();
        if (!isEmptyAnswer && trial.picks(wanted, size)) {
            client.tryWith(input, input.contents.substr(0, at), "cut at byte " + std::to_string(at));
        }
        for (unsigned flip = 0; flip < 9; ++flip) {
            if (trial.picks(wanted, 9 * size)) {
                std::string flipped = input.contents;
                flipped[at] = static_cast<char>(flipped[at] ^ (flip == 8 ? 0xFF : 1 << flip));
                client.tryWith(input, flipped, "byte " + std::to_string(at) + " is another");
            }
        }
    }
}

TEST(DamagedFiles, LeaveAllOtherStoresTheirAnswersAndAreToldOf) {
    xmlSetGenericErrorFunc(nullptr, saysNothing);
    Trial trial("damage", "files");
    DamagedClient client(trial);
    for (const Input& input : inputs()) {
        if (!trial.hasLost()) {
            client.tryWith(input, input.contents, "whole");
        }
        damageEachByte(trial, client, input);
    }
    xmlSetGenericErrorFunc(nullptr, nullptr);
}

}  // namespace
}  // namespace torture
