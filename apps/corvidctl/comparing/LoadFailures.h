#pragma once

#include <string>
#include <vector>

#include "host/ReferenceHost.h"

class ConfigStoreManager;

/// Files that the module cannot read, so that a comparison without them is not taken for the whole truth.
namespace corvidctl {

struct LoadFailure {
    std::string store;
    std::string sentence;  ///< which file fails, where and why; nothing of what stands in it
};

/// The failures of a configuration's files, those of kept copies that are in no chain included. To be asked before any
/// session, which may move a broken file away.
std::vector<LoadFailure> loadFailuresOf(const host::ReferenceHost::Options& options);

/// Leaves those whose store is in the chain. Dispatcher thread.
void keepThoseOf(ConfigStoreManager& chain, std::vector<LoadFailure>& failures);

/// For printRemarks().
std::vector<std::string> sentencesOf(const std::vector<LoadFailure>& failures);

}  // namespace corvidctl
