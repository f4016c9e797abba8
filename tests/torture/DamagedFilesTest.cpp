#include <gtest/gtest.h>
#include <libxml/xmlerror.h>

#include <string>

#include "Client.h"
#include "Inputs.h"
#include "Trial.h"
#include "quill/FileUtils.h"

namespace torture {
namespace {

/// A client whose six inputs are whole but for one.
class DamagedClient {
public:
    explicit DamagedClient(Trial& trial) : trial_(trial) {}

    void tryWith(const Input& damaged, const std::string& contents, const std::string& what) {
        files_.write(damaged, contents);
        trial_.tried();
        std::string wrong = start(damaged, contents);
        if (wrong.empty() && damaged.form == Input::Form::Local && !isWellFormed(contents) &&
            !isKept(damaged, contents)) {
            wrong = "neither the file nor its backup holds what it held";
        }
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
        const bool isTold = speaksOf(client, damaged, contents);
        if (contents == damaged.contents) {
            return isTold ? "a line of the log tells of damage" : "";
        }
        // Any bytes are properties: there is no damage that the module could tell from what somebody has written.
        const bool isXml = damaged.form != Input::Form::Properties;
        return isXml && !isWellFormed(contents) && !isTold ? "no line of the log tells of the damage" : "";
    }

    /// Once the client has ended: whether the file or the backup that a start makes of it holds the bytes.
    bool isKept(const Input& damaged, const std::string& contents) const {
        const std::string path = files_.scene().folder() + "/" + damaged.path;
        const std::string backup = path.substr(0, path.rfind('.')) + "-backup.xml";
        const auto holds = [&](const std::string& file) {
            std::string bytes;
            return QuillCoreUtils::FileUtils::readFile(file, bytes) && bytes == contents;
        };
        return holds(path) || holds(backup);
    }

    /// What the reader of the file says of damage, and of no other file.
    std::string wordsOn(const Input& damaged, const std::string& contents) const {
        const std::string path = files_.scene().folder() + "/" + damaged.path;
        if (damaged.path.empty()) {
            return contents.empty() ? "Download of TFTP File failed for server one."
                                    : "Error Invalid XML syntax detected - Unable to read xml ";
        }
        if (damaged.form == Input::Form::Server) {
            return "XML in file did not exist or is an invalid XML document: " + path;
        }
        if (damaged.form == Input::Form::Properties) {
            return "File does not exist " + path;
        }
        const std::string name = QuillCoreUtils::FileUtils::getFileName(path);
        return "Error Invalid XML syntax detected - Unable to read localFileConfigStore configuration\n"
               "renaming invalid file to: " +
               name.substr(0, name.rfind('.')) + "-backup.xml";
    }

    bool speaksOf(Client& client, const Input& damaged, const std::string& contents) const {
        const std::string words = wordsOn(damaged, contents);
        for (const int level : {2, 3}) {
            for (const std::string& text : client.log().texts(level)) {
                if (text.find(words) != std::string::npos) {
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
        if (trial.picks(wanted, size)) {
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
