#include <libxml/parser.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Client.h"
#include "ConfigAdapter.h"
#include "Trial.h"
#include "fakes/ScriptedHttpTransport.h"
#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"

namespace torture {
namespace {

std::string asLocalFile(const std::string& entries) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n";
    return text.append(entries).append("</Corvid>\n");
}

std::string asServerFile(const std::string& entries) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n<CachedConfig>\n";
    return text.append(entries).append("</CachedConfig>\n</Corvid>\n");
}

/// A file that the module reads: where it lies, what it holds, and a key that only it holds.
struct Input {
    std::string name;
    std::string path;  ///< below the scene's folder; empty for the downloaded one
    std::string contents;
    std::wstring key;
};

const std::vector<Input>& inputs() {
    static const std::vector<Input> all = {
        {"override", "config/corvid-config-user.xml", asServerFile("<OfOverride>yes</OfOverride>\n"), L"OfOverride"},
        {"local", "config/corvidLocalConfig.xml", asLocalFile("<userConfig name=\"OfLocal\" value=\"yes\"/>\n"),
         L"OfLocal"},
        {"cache", "config/Cache/cachedServer.xml", asServerFile("<OfCache>yes</OfCache>\n"), L"OfCache"},
        {"bootstrap", "install/bootstrap.properties", "# of the installer\nOfBootstrap: yes\n", L"OfBootstrap"},
        {"defaults", "install/corvid-config-defaults.xml",
         asLocalFile("<userConfig name=\"OfDefaults\" value=\"yes\"/>\n"), L"OfDefaults"},
        {"downloaded", "", asServerFile("<OfDownload>yes</OfDownload>\n"), L"OfDownload"},
    };
    return all;
}

/// Whom to ask for the downloaded file stands in a file of its own: none of the six.
const char* const provisioned = "cachedUrlProvisioningConfigStore.xml";

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
    explicit DamagedClient(Trial& trial) : trial_(trial) {
        write("config/Cache/" + std::string(provisioned),
              asServerFile("<TFTPPrimaryServer>one</TFTPPrimaryServer>\n<HomeUdsVersion>12</HomeUdsVersion>\n"));
    }

    void tryWith(const Input& damaged, const std::string& contents, const std::string& what) {
        std::filesystem::remove(scene_.config() + "/corvidLocalConfig-backup.xml");
        std::filesystem::remove(scene_.install() + "/corvid-config-defaults-backup.xml");
        for (const Input& input : inputs()) {
            if (!input.path.empty()) {
                write(input.path, input.name == damaged.name ? contents : wholeOne(input, damaged));
            }
        }
        trial_.tried();
        const std::string wrong = start(damaged, contents);
        if (!wrong.empty()) {
            trial_.lost(damaged.name + ", " + what + ": " + wrong, scene_.folder());
        }
    }

private:
    /// One of the whole files says which cache files are in the chain.
    static std::string wholeOne(const Input& input, const Input& damaged) {
        if (input.name == "override" && damaged.name != "override") {
            return asServerFile("<OfOverride>yes</OfOverride><PrimaryConfigStores>Server:240;</PrimaryConfigStores>");
        }
        return input.name == "bootstrap" ? input.contents + "PrimaryConfigStores: Server:240;\n" : input.contents;
    }

    /// @return what is wrong; empty if nothing is.
    std::string start(const Input& damaged, const std::string& contents) {
        Client client(scene_);
        const auto transport = std::make_shared<fakes::ScriptedHttpTransport>();
        client.useTransport(transport);
        client.featureSet().startTftpConfigSource();
        const bool isDownloaded = damaged.path.empty();
        if (!transport->deliver(isDownloaded ? contents : inputs().back().contents)) {
            return "no file was asked for";
        }
        client.settle();
        for (const Input& input : inputs()) {
            std::wstring value;
            const bool answers = client.featureSet().getConfig(input.key, value, false) && value == L"yes";
            if (!answers && input.name != damaged.name) {
                return "nothing comes from the " + input.name + " file";
            }
        }
        const bool isXml = damaged.name != "bootstrap";
        const bool isTold = isDownloaded ? client.complaints() > 0 : speaksOf(client, damaged);
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

    void write(const std::string& name, const std::string& text) const { directory_.write(name, text); }

    Trial& trial_;
    const fakes::TemporaryDirectory directory_;
    const Scene scene_{directory_.path()};
};

// The library's own words on each damage are not looked at.
void saysNothing(void*, const char*, ...) {}

/// The short run takes some of the bytes, the long one all of them, and each of their bits.
void damageEachByte(Trial& trial, DamagedClient& client, const Input& input) {
    const std::size_t size = input.contents.size();
    constexpr std::uint64_t wanted = 12;
    // The parser passes over an empty text in silence: an answer without a body is the transport's to judge.
    for (std::size_t at = input.path.empty() ? 1 : 0; at < size; ++at) {
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
