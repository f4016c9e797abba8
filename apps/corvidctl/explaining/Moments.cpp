#include "explaining/Moments.h"

#include <array>
#include <ctime>

namespace corvidctl {

namespace {

std::string inUtc(Moment moment, const char* format) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 64> text{};
    return std::string(text.data(), std::strftime(text.data(), text.size(), format, &parts));
}

}  // namespace

std::string isoTime(Moment moment) { return inUtc(moment, "%Y-%m-%dT%H:%M:%SZ"); }

std::string ageText(Moment moment, Moment now) {
    using namespace std::chrono;
    const auto age = now - moment;
    if (age < 1min) {
        return "just now";
    }
    if (age < 1h) {
        return std::to_string(duration_cast<minutes>(age).count()) + " min ago";
    }
    if (age < 24h) {
        return std::to_string(duration_cast<hours>(age).count()) + " h ago";
    }
    const auto days = duration_cast<hours>(age).count() / 24;
    if (days >= 60) {
        return inUtc(moment, "%Y-%m-%d");
    }
    return std::to_string(days) + (days == 1 ? " day ago" : " days ago");
}

}  // namespace corvidctl
