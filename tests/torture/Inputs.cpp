#include "Inputs.h"

#include <libxml/parser.h>

#include <filesystem>
#include <memory>

#include "ConfigAdapter.h"
#include "fakes/ScriptedHttpTransport.h"

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

/// Whom to ask for the downloaded file stands in a file of its own: none of the six.
const char* const provisioned = "config/Cache/cachedUrlProvisioningConfigStore.xml";

/// @param other where it is the version, the server is to be asked for it.
std::string provision(const Input& other) {
    const std::string version = other.form == Input::Form::Version ? "" : "<HomeUdsVersion>12</HomeUdsVersion>\n";
    return asServerFile("<TFTPPrimaryServer>one</TFTPPrimaryServer>\n" + version);
}

/// What of a list of copies names that of the cache file.
const std::string nameOfCache = "Server:240;";

/// Which cache files are in the chain the override file says, and one more whole file where that is the other one.
std::string wholeOne(const Input& input) {
    return input.name == "bootstrap" ? input.contents + "PrimaryConfigStores: " + nameOfCache + "\n" : input.contents;
}

/// A mark, a password, references and letters of two to four bytes, beside the entry that is asked for.
std::string withMore(const std::string& entry) {
    return entry + "<Marked sensitive=\"true\">a&amp;\u00e9</Marked>\n"
                   "<ConnectionPassword>&lt;\u20ac&#228;</ConnectionPassword>\n"
                   "<Last>\U0001F600 z</Last>\n";
}

std::string asLocalFileWithMore(const std::string& entry) {
    return asLocalFile("<userConfig name=\"" + entry +
                       "\" value=\"yes\"/>\n"
                       "<userConfig name=\"ConnectionPassword\" value=\"&lt;\u20ac&#228;\"/>\n"
                       "<userConfig name=\"Gr\u00f6\u00dfe\" value='a&amp;\U0001F600'/>\n");
}

}  // namespace

const std::vector<Input>& inputs() {
    using Form = Input::Form;
    static const std::vector<Input> all = {
        {"override", Form::Server, "config/corvid-config-user.xml",
         asServerFile(withMore("<OfOverride>yes</OfOverride>\n<PrimaryConfigStores>" + nameOfCache +
                               "Other:250;</PrimaryConfigStores>\n")),
         L"OfOverride"},
        {"local", Form::Local, "config/corvidLocalConfig.xml", asLocalFileWithMore("OfLocal"), L"OfLocal"},
        {"cache", Form::Server, "config/Cache/cachedServer.xml", asServerFile(withMore("<OfCache>yes</OfCache>\n")),
         L"OfCache"},
        {"bootstrap", Form::Properties, "install/bootstrap.properties",
         "# of the installer\nOfBootstrap: yes\nConnectionPassword: \u20ac&amp; =z\nGr\u00f6\u00dfe: \U0001F600\n",
         L"OfBootstrap"},
        {"defaults", Form::Local, "install/corvid-config-defaults.xml", asLocalFileWithMore("OfDefaults"),
         L"OfDefaults"},
        {"downloaded", Form::Server, "", asServerFile(withMore("<OfDownload>yes</OfDownload>\n")), L"OfDownload"},
    };
    return all;
}

const std::vector<Input>& furtherInputs() {
    using Form = Input::Form;
    static const std::vector<Input> all = {
        {"version", Form::Version, "", "<versionResponse><version>12</version></versionResponse>\n", L""},
        {"chain", Form::Chain, "config/chainedConfigStores.xml",
         "<Chain><ConfigStore name=\"Late\" chainedTo=\"Early\"/></Chain>\n", L""},
    };
    return all;
}

void InputFiles::write(const Input& other, const std::string& contents) const {
    std::filesystem::remove(scene_.config() + "/corvidLocalConfig-backup.xml");
    std::filesystem::remove(scene_.install() + "/corvid-config-defaults-backup.xml");
    for (const Input& input : inputs()) {
        if (!input.path.empty()) {
            directory_.write(input.path, wholeOne(input));
        }
    }
    directory_.write(provisioned, provision(other));
    directory_.write(other.path.empty() ? other.name + ".xml" : other.path, contents);
}

bool isWellFormed(const std::string& text) {
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(xmlReadMemory(text.data(), static_cast<int>(text.size()),
                                                                            "text", nullptr,
                                                                            XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                                                              xmlFreeDoc);
    return document != nullptr;
}

std::string whatIsUnanswered(Client& client, const Input& other, const std::string& contents) {
    const auto transport = std::make_shared<fakes::ScriptedHttpTransport>();
    client.useTransport(transport);
    const Input& downloaded = inputs().back();
    const bool isVersion = other.form == Input::Form::Version;
    if (isVersion) {
        transport->setAnswer([contents](const std::string&) { return contents; });
    }
    client.featureSet().startTftpConfigSource();
    if (isVersion && transport->sentUrls().empty()) {
        return "no version was asked for";
    }
    const std::string& sent = other.name == downloaded.name ? contents : downloaded.contents;
    // The transport itself takes an answer without a body for a failure.
    const bool arrives =
        sent.empty() ? transport->fail(HttpDownloader::HttpDownloadResultEnum::BodyEmpty) : transport->deliver(sent);
    // Without a version there is no download.
    if (!arrives && !isVersion) {
        return "no file was asked for";
    }
    client.settle();
    // A list that still can be read, and reads otherwise, is taken for what it says. Well-formed is asked of nothing
    // else: a document that grows without end would never be.
    const auto holds = [](const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    };
    const bool isCacheNamed = !holds(other.contents, nameOfCache) || holds(contents, nameOfCache) ||
                              !holds(contents, "PrimaryConfigStores") || !isWellFormed(contents);
    for (const Input& input : inputs()) {
        std::wstring value;
        const bool answers = client.featureSet().getConfig(input.key, value, false) && value == L"yes";
        const bool isWhole = input.name != other.name && (arrives || input.name != downloaded.name) &&
                             (isCacheNamed || input.name != "cache");
        if (!answers && isWhole) {
            return "nothing comes from the " + input.name + " file";
        }
    }
    return {};
}

}  // namespace torture
