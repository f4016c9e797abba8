#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "journal/JournalBatch.h"
#include "output/MachineText.h"
#include "reading/StoreSources.h"
#include "reading/Views.h"

/// The rows of the table of keys, as plain data. Pure functions; any thread.
namespace corvidctl {

/// Who says what a key reads.
enum class KeyState {
    Default,        ///< the installation's defaults
    Administrator,  ///< any other store that the user cannot write
    User,           ///< a writable store, and no administrator says anything
    Overridden,     ///< a writable store, before the administrator's value
    Shadowed,       ///< the user's value waits behind another store
    Undefined,      ///< nobody
};

/// "default", "administrator", "user", "overridden", "shadowed" or "undefined".
const char* nameOf(KeyState state);

/// @param writableStores names of the stores that can be written.
KeyState stateOf(const ValueView& value, const std::set<std::string>& writableStores);

/// All keys at one moment.
struct KeyList {
    std::vector<ValueView> values;
    std::set<std::string> writableStores;
    std::uint64_t lastBatch = 0;  ///< the newest batch of changes that the values contain
};

/// When the keys' values came: the last change of this run, or else the time of the file or the transfer that the
/// winning store's values came from.
class KeyTimes {
public:
    using Moment = std::chrono::system_clock::time_point;

    /// @param batches of this run, in their order. @param sources must outlive this.
    KeyTimes(const std::vector<JournalBatch>& batches, StoreSources& sources);

    std::optional<Moment> of(const ValueView& value);

private:
    std::map<std::wstring, Moment, caseInsensitiveMapComparator> changed_;
    StoreSources& sources_;
};

namespace answers {

Json keys(const KeyList& list, KeyTimes& times);

}  // namespace answers

}  // namespace corvidctl
