#include "Inputs.h"

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

/// One of the whole files says which cache files are in the chain.
std::string wholeOne(const Input& input, const Input& other) {
    if (input.name == "override" && other.name != "override") {
        return asServerFile("<OfOverride>yes</OfOverride><PrimaryConfigStores>Server:240;</PrimaryConfigStores>");
    }
    return input.name == "bootstrap" ? input.contents + "PrimaryConfigStores: Server:240;\n" : input.contents;
}

}  // namespace

const std::vector<Input>& inputs() {
    using Form = Input::Form;
    static const std::vector<Input> all = {
        {"override", Form::Server, "config/corvid-config-user.xml", asServerFile("<OfOverride>yes</OfOverride>\n"),
         L"OfOverride"},
        {"local", Form::Local, "config/corvidLocalConfig.xml",
         asLocalFile("<userConfig name=\"OfLocal\" value=\"yes\"/>\n"), L"OfLocal"},
        {"cache", Form::Server, "config/Cache/cachedServer.xml", asServerFile("<OfCache>yes</OfCache>\n"), L"OfCache"},
        {"bootstrap", Form::Properties, "install/bootstrap.properties", "# of the installer\nOfBootstrap: yes\n",
         L"OfBootstrap"},
        {"defaults", Form::Local, "install/corvid-config-defaults.xml",
         asLocalFile("<userConfig name=\"OfDefaults\" value=\"yes\"/>\n"), L"OfDefaults"},
        {"downloaded", Form::Server, "", asServerFile("<OfDownload>yes</OfDownload>\n"), L"OfDownload"},
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
            directory_.write(input.path, wholeOne(input, other));
        }
    }
    directory_.write(provisioned, provision(other));
    directory_.write(other.path.empty() ? other.name + ".xml" : other.path, contents);
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
    for (const Input& input : inputs()) {
        std::wstring value;
        const bool answers = client.featureSet().getConfig(input.key, value, false) && value == L"yes";
        const bool isWhole = input.name != other.name && (arrives || input.name != downloaded.name);
        if (!answers && isWhole) {
            return "nothing comes from the " + input.name + " file";
        }
    }
    return {};
}

}  // namespace torture
