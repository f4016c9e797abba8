#include "session/StoreFailures.h"

#include "host/XmlDiagnostics.h"
#include "output/Output.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

StoreSources sourcesOf(const host::ReferenceHost::Options& options) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    return StoreSources({options.configDirectory, options.installationDirectory, options.bootstrapFilePath});
}

}  // namespace

StoreFailures::StoreFailures(const Invocation& invocation) : sources_(sourcesOf(invocation.host)) {}

std::string StoreFailures::textOf(const std::string& store) {
    const StoreOrigin& origin = sources_.of(store).origin;
    if (origin.problem.empty()) {
        return {};
    }
    return store + " failed to load: " + origin.shownFile + (origin.problemLine == 0 ? ": " : ", ") + origin.problem;
}

std::string whyNoStore(const std::string& name, const std::vector<std::string>& stores) {
    std::string names;
    for (const std::string& store : stores) {
        if (QuillCoreUtils::caseInsensitiveStringEquals(store, name)) {
            return {};
        }
        names += (names.empty() ? "" : ", ") + store;
    }
    return "no store has the name " + quoted(name) + ", expected one of " + names;
}

}  // namespace corvidctl
