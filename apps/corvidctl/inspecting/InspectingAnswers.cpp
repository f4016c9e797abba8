#include "inspecting/InspectingAnswers.h"

#include <nlohmann/json.hpp>

#include "output/MachineText.h"

namespace corvidctl::answers {

std::string link(const std::string& url, std::uint16_t port, Format format) {
    return printed({{"url", url}, {"port", port}}, format);
}

}  // namespace corvidctl::answers
