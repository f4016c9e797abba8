#include "comparing/DocumentContents.h"

#include <array>
#include <stdexcept>

#include "ConfigStoreConstants.h"
#include "chain/DisableP2PCallOnFips.h"
#include "host/FipsSwitch.h"
#include "host/XmlDiagnostics.h"
#include "quill/StringUtils.h"
#include "reading/KeyNames.h"
#include "reading/ProblemText.h"
#include "stores/BootstrapConfigStore.h"
#include "system/World.h"
#include "validating/KnownKeys.h"
#include "validating/ShownKey.h"
#include "xml/DocumentInspector.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;

bool isSecret(const std::wstring& key) { return KnownKeys::isAlwaysSensitive(key) || holdsSecret(key); }

/// Entries of one document, of which the ones under old names wait until all others are in.
class Collection {
public:
    void add(const std::wstring& key, ContentsEntry entry) {
        auto& target = names_.isOld(key) ? underOldNames_ : contents_;
        target.try_emplace(names_.currentName(key), std::move(entry));
    }

    Contents take() {
        contents_.merge(underOldNames_);
        return std::move(contents_);
    }

private:
    const KeyNames names_{};
    Contents contents_;
    Contents underOldNames_;
};

Contents readProperties(const std::string& path) {
    BootstrapConfigStore store(ConfigStoreConstants::BOOTSTRAP_STORE_NAME, path, 0);
    Collection collection;
    for (const std::wstring& key : store.getKeys()) {
        std::wstring value;
        store.getValue(key, value);
        collection.add(key, {toString(value), {}, isSecret(key)});
    }
    return collection.take();
}

Contents readXml(const std::string& path) {
    const DocumentReport report = inspectDocument(path);
    if (!report.valid) {
        throw std::runtime_error("'" + path + "' is no document that the module can read: " + problemText(report));
    }
    Collection collection;
    for (const DocumentReport::Entry& entry : report.entries) {
        const bool isAnswered =
            report.form == DocumentReport::Form::Local ||
            !caseInsensitiveStringEquals(entry.key, ConfigStoreConstants::certificateValidationEnabled);
        if (isAnswered) {
            std::wstring value = entry.value;
            DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(entry.key, value);
            collection.add(entry.key, {toString(value), {}, entry.sensitive || isSecret(entry.key)});
        }
    }
    return collection.take();
}

}  // namespace

Contents readDocument(const std::string& path, host::ReferenceHostOptions::Fips fips) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    const auto world = std::make_shared<platform::World>();
    world->fipsMode = host::fipsSwitch(fips);
    platform::setWorld(world);
    const bool isProperties = QuillCoreUtils::toLowercase(path).ends_with(".properties");
    return isProperties ? readProperties(path) : readXml(path);
}

std::string problemOfDocument(const std::string& path, bool isLocalFile) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    using Form = DocumentReport::Form;
    const DocumentReport report = inspectDocument(path, isLocalFile ? Form::Local : Form::Server);
    return report.valid ? std::string() : problemText(report);
}

}  // namespace corvidctl
