#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "inspecting/ClientLook.h"
#include "inspecting/EventOutlet.h"
#include "inspecting/RunningClient.h"

namespace corvidctl {

class Interruption;

/// Tells the pages what happens to a client besides changes of values: that its chain has changed, and what its servers
/// do. However much that is, they are told ten times a second at most.
class ClientNews {
public:
    /// Both must outlive this.
    ClientNews(Interruption& interruption, EventOutlet& outlet) : interruption_(interruption), outlet_(outlet) {}

    /// Stores, or what they hold, are not what they were. Any thread.
    void chainHasChanged();

    /// Tells until an interruption comes. Whenever the servers have delivered something, it is seen to it that where it
    /// came from is noted beside the kept copy. One thread.
    void tell(RunningClient& client, const ClientLook& look);

private:
    void tellOnce(RunningClient& client, const ClientLook& look);
    void noteDelivered(RunningClient& client);

    Interruption& interruption_;
    EventOutlet& outlet_;
    std::atomic<bool> hasChainChanged_ = false;
    std::uint64_t notedCycles_ = 0;  ///< ever, when it was looked last whether the copy is kept
    std::string toldServer_;         ///< what the pages were told of the servers last
};

}  // namespace corvidctl
