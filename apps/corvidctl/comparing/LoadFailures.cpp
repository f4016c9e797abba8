#include "comparing/LoadFailures.h"

#include <algorithm>

#include "chain/ConfigStoreManager.h"
#include "output/ShownPath.h"
#include "quill/StringUtils.h"
#include "reading/ProblemText.h"
#include "session/HostSources.h"

namespace corvidctl {

std::vector<LoadFailure> loadFailuresOf(const host::ReferenceHost::Options& options) {
    StoreSources sources = readSourcesOf(options);
    std::vector<LoadFailure> failures;
    for (const std::string& store : sources.failedStores()) {
        const StoreOrigin& origin = sources.of(store).origin;
        failures.push_back({store, failureText(store, shownPath(origin.file), origin) + "."});
    }
    return failures;
}

void keepThoseOf(ConfigStoreManager& chain, std::vector<LoadFailure>& failures) {
    const StoreList stores = chain.getStores();
    std::erase_if(failures, [&stores](const LoadFailure& failure) {
        return std::none_of(stores.begin(), stores.end(), [&failure](const auto& store) {
            return QuillCoreUtils::caseInsensitiveStringEquals(store->getName(), failure.store);
        });
    });
}

std::vector<std::string> sentencesOf(const std::vector<LoadFailure>& failures) {
    std::vector<std::string> sentences;
    for (const LoadFailure& failure : failures) {
        sentences.push_back(failure.sentence);
    }
    return sentences;
}

}  // namespace corvidctl
