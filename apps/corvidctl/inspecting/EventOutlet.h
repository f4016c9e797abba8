#pragma once

#include <functional>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "output/MachineText.h"
#include "web/Api.h"

namespace corvidctl {

/// Where events for the pages go in. Any thread.
class EventOutlet {
public:
    using Sink = std::function<void(const ServerEvent&)>;

    /// @param sink must not wait for anybody; empty: events go nowhere. None is under way any more when this returns.
    void tellTo(Sink sink);

    void send(const ServerEvent& event) const;

private:
    mutable std::mutex mutex_;
    Sink sink_;  ///< under mutex_, and called under it
};

/// @param id of a batch; 0: none.
ServerEvent eventOf(const std::string& name, const Json& data, std::uint64_t id = 0);

}  // namespace corvidctl
