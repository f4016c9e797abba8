#pragma once

#include <string>
#include <vector>

#include "cli/Invocation.h"
#include "reading/ChainReader.h"
#include "reading/StoreSources.h"

namespace corvidctl {

/// Which stores have a file that cannot be read, so that they hold nothing.
///
/// Made before the module is put in, which moves a broken local file. One thread.
class StoreFailures {
public:
    /// Reads the files of the stores once; nothing is moved or changed.
    explicit StoreFailures(const Invocation& invocation);

    /// "X failed to load: FILE, line N, column M: why"; empty if the store did not. It quotes nothing of the file.
    /// @param store a name in the chain, in any case.
    std::string textOf(const std::string& store);

private:
    StoreSources sources_;
};

/// The names of the stores in chain order. Dispatcher thread.
std::vector<std::string> namesOfStores(const ChainReader& reader);

/// Why a store cannot be looked at that the chain does not have, with the names there are; empty if it has it.
/// @param name case does not count. @param stores names in chain order.
std::string whyNoStore(const std::string& name, const std::vector<std::string>& stores);

}  // namespace corvidctl
