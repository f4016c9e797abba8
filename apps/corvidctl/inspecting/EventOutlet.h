#pragma once

#include <functional>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>

#include "output/MachineText.h"
#include "web/Api.h"

namespace corvidctl {

/// Where events for the pages go in. Any thread.
class EventOutlet {
public:
    /// Makes an event, for whom somebody listens.
    using Event = std::function<ServerEvent()>;
    using Sink = std::function<void(const Event&)>;

    /// @param sink takes the event if anybody is to be told of it; must not wait for anybody; empty: events go nowhere.
    /// None is under way any more when this returns.
    void tellTo(Sink sink);

    void send(const Event& event) const;

private:
    mutable std::mutex mutex_;
    Sink sink_;  ///< under mutex_, and called under it
};

/// While this lives, an outlet tells a sink that goes away later, however the scope ends.
class OutletScope {
public:
    /// @param outlet must outlive this. @param sink as that of tellTo(); it must outlive this, too.
    OutletScope(EventOutlet& outlet, EventOutlet::Sink sink) : outlet_(outlet) { outlet_.tellTo(std::move(sink)); }
    ~OutletScope() { outlet_.tellTo({}); }

    OutletScope(const OutletScope&) = delete;
    OutletScope& operator=(const OutletScope&) = delete;

private:
    EventOutlet& outlet_;
};

/// @param id of a batch; 0: none.
ServerEvent eventOf(const std::string& name, const Json& data, std::uint64_t id = 0);

}  // namespace corvidctl
