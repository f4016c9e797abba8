#include "comparing/Sides.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "comparing/DocumentContents.h"
#include "comparing/StoreNames.h"
#include "output/ShownPath.h"
#include "quill/StringUtils.h"
#include "session/ProfileCopy.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;

bool holdsConfiguration(const std::string& directory) {
    using namespace ConfigStoreConstants;
    const fs::path root = directory;
    std::error_code error;
    if (fs::exists(root / LOCAL_FILE_CONFIG_STORE_FILE_NAME, error) ||
        fs::exists(root / TFTP_OVERRIDE_FILE_NAME, error)) {
        return true;
    }
    for (auto entry = fs::directory_iterator(root / CACHE_STORE_DIRECTORY_STRING, error);
         !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (isNameOfCachedCopy(name) || name == CacheFiles::nameFor(URL_PROVISIONING_CONFIG_STORE_NAME)) {
            return true;
        }
    }
    return false;
}

}  // namespace

Contents Sides::read(const Operand& operand) {
    switch (operand.kind) {
    case Operand::Kind::Store:
        return readStore(operand.place);
    case Operand::Kind::File: {
        Contents contents;
        rehearsal_.run("reading " + operand.place + " …",
                       [&] { contents = readDocument(operand.place, invocation_.host.fips); });
        return contents;
    }
    case Operand::Kind::Directory:
        if (!holdsConfiguration(operand.place)) {
            remark(shownPath(operand.place) + " holds no file of a configuration, so it counts as an empty one; " +
                   "expected corvidLocalConfig.xml, corvid-config-user.xml or kept copies in Cache.");
        }
        return readWhole(readConfiguration(operand.place));
    case Operand::Kind::Live:
        break;
    }
    return readWhole(live());
}

Sides::Configuration Sides::readConfiguration(const std::string& directory) {
    Configuration read;
    rehearsal_.run("reading " + directory + " …", [&] {
        Invocation original = invocation_;
        original.host.configDirectory = directory;
        read.failures = loadFailuresOf(original.host);
        const ProfileCopy copy(directory);
        Session session(Rehearsal::onCopy(invocation_, copy.path()));
        session.work([&read](Session::Inside& inside) {
            read.picture = takePicture(inside.chain);
            keepThoseOf(inside.chain, read.failures);
        });
        session.finish();
    });
    return read;
}

const Sides::Configuration& Sides::live() {
    if (!live_) {
        live_ = readConfiguration(invocation_.host.configDirectory);
    }
    return *live_;
}

Contents Sides::readWhole(const Configuration& configuration) {
    for (const LoadFailure& failure : configuration.failures) {
        remark(failure.sentence);
    }
    return contentsOf(configuration.picture.values);
}

Contents Sides::readStore(const std::string& name) {
    const std::vector<Layer>& layers = live().picture.layers;
    const Layer* const layer = findLayer(layers, name);
    if (layer == nullptr) {
        throw std::runtime_error("'" + name +
                                 "': expected live, a path, or a store of this configuration: " + listOfStores(layers));
    }
    for (const LoadFailure& failure : live().failures) {
        if (QuillCoreUtils::caseInsensitiveStringEquals(failure.store, name)) {
            throw std::runtime_error(failure.sentence.substr(0, failure.sentence.rfind('.')));
        }
    }
    return contentsOf(*layer);
}

/// Both sides may have the same to tell.
void Sides::remark(const std::string& sentence) {
    if (std::find(remarks_.begin(), remarks_.end(), sentence) == remarks_.end()) {
        remarks_.push_back(sentence);
    }
}

}  // namespace corvidctl
