#pragma once

#include <map>
#include <string>
#include <vector>

#include "explaining/Explanation.h"
#include "inspecting/KeyRows.h"
#include "inspecting/Problems.h"
#include "inspecting/RunningClient.h"
#include "inspecting/ServerView.h"

namespace corvidctl {

/// Takes plain data out of a client that runs: what the page shows. Sensitive texts are masked unless they are to be
/// shown. Any thread but the dispatcher's, which does what touches the chain.
class ClientLook {
public:
    /// @param client must outlive this. @param reveal show sensitive texts.
    ClientLook(RunningClient& client, bool reveal) : client_(client), reveal_(reveal) {}

    /// Every key that is defined or that a live object exists for.
    KeyList keys() const;

    Explanation explain(const std::string& key) const;

    /// A store of the chain, and how many of the keys that it wins another one holds, too.
    struct Store {
        StoreReport report;
        std::size_t winsOver = 0;
    };
    std::vector<Store> stores() const;

    ServerView server() const;

    /// Waits until what was stored is on disk, or is known not to be.
    ProblemFacts problems() const;

private:
    RunningClient& client_;
    const bool reveal_;
};

}  // namespace corvidctl
