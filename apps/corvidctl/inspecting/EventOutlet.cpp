#include "inspecting/EventOutlet.h"

#include <utility>

namespace corvidctl {

void EventOutlet::tellTo(Sink sink) {
    const std::lock_guard lock(mutex_);
    sink_ = std::move(sink);
}

void EventOutlet::send(const Event& event) const {
    const std::lock_guard lock(mutex_);
    if (sink_) {
        sink_(event);
    }
}

ServerEvent eventOf(const std::string& name, const Json& data, std::uint64_t id) {
    std::string line = streamed(data, Format::JsonLines);
    line.pop_back();  // the line feed
    return {name, std::move(line), id};
}

}  // namespace corvidctl
