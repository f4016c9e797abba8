#pragma once

#include <chrono>
#include <string>

/// Points in time as texts.
namespace corvidctl {

using Moment = std::chrono::system_clock::time_point;

/// ISO 8601 in UTC, to the second: "2026-11-22T09:30:00Z".
std::string isoTime(Moment moment);

/// For people: "just now" within a minute and for what lies ahead, "5 min ago", "2 h ago", "3 days ago"; the date, in
/// UTC, after sixty days.
std::string ageText(Moment moment, Moment now);

}  // namespace corvidctl
