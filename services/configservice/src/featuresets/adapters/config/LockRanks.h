#pragma once

#include "tessel/LockRank.h"

/// The order in which a thread takes the locks of this module, first to last; docs/architecture.md tells what each one
/// is for. Locks that are not named here are leaves.
namespace LockRanks {

using tessel::LockRank;

inline constexpr LockRank LIFECYCLE{10, "the feature set's lifecycle"};

/// A download that ends on the dispatcher thread tells the observers under its own lock.
inline constexpr LockRank DOWNLOAD{20, "the remote store's download"};
inline constexpr LockRank DOWNLOAD_REPORT{30, "the remote store's report"};

inline constexpr LockRank CHAIN{40, "the chain"};
inline constexpr LockRank CHAIN_OBSERVERS{50, "the chain's observers"};

/// Behind the observers, who may ask from inside their calls; held for a look alone.
inline constexpr LockRank SENSITIVE_KEYS{60, "the chain's sensitive keys"};

/// What is held while files are written. The adapter's cached copies, and a link's file, are written by a store's own
/// hand.
inline constexpr LockRank CACHE_FILES{70, "the cache files"};
inline constexpr LockRank STORE_FILE{80, "a store's file"};
inline constexpr LockRank TEMPORARY_FILES{90, "the temporary files"};

inline constexpr LockRank STORE_READERS{100, "a store's readers"};
inline constexpr LockRank STORE_VALUES{110, "a store's values"};
inline constexpr LockRank SERVER_QUEUE{120, "the remote store's server queue"};

}  // namespace LockRanks
