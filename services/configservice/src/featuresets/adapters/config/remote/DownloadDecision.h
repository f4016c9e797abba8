#pragma once

#include <string>

#include "remote/TftpServerDetails.h"

/// Whether new server details deserve a download, as a table of twelve rows: the first whose condition holds decides.
/// Pure functions. Any thread.
///
/// The rule in words: after a success, the position that delivered it (the first of the last addresses that equals the
/// successful one) is the one that counts. If its address and all before it are unchanged, there is nothing to fetch;
/// a change at or before it, or a new file name, allows a download. What changes behind it is not looked at.
namespace DownloadDecision {

/// What the decision looks at.
struct Situation {
    TftpServerDetails last;             ///< the details seen before
    std::wstring lastSuccessfulServer;  ///< the address that most recently delivered a file; empty for none
    TftpServerDetails now;
};

struct Decision {
    int row;  ///< 1 to 12
    bool allowed;
    int level;            ///< of the line that tells the decision
    std::wstring reason;  ///< that line
};

/// Whether the details count as changed at all. Case counts here, unlike in decide(). An empty file is no change; the
/// first sight of a system without any address is one.
bool haveChanged(const TftpServerDetails& last, const TftpServerDetails& now, bool tftpConfigured);

/// @param withDebugReasons whether the reasons of the rows that speak at level 5 are built; they stay empty otherwise.
Decision decide(const Situation& situation, bool withDebugReasons);

}  // namespace DownloadDecision
