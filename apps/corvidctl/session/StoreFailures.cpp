#include "session/StoreFailures.h"

#include "output/Output.h"
#include "quill/StringUtils.h"
#include "reading/ProblemText.h"
#include "session/HostSources.h"

namespace corvidctl {

StoreFailures::StoreFailures(const Invocation& invocation) : sources_(readSourcesOf(invocation.host)) {}

std::string StoreFailures::textOf(const std::string& store) {
    const StoreOrigin& origin = sources_.of(store).origin;
    return origin.problem.empty() ? std::string() : failureText(store, origin.shownFile, origin);
}

std::vector<std::string> namesOfStores(const ChainReader& reader) {
    std::vector<std::string> names;
    for (const StoreView& store : reader.stores()) {
        names.push_back(store.name);
    }
    return names;
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
