// Reads a period's start from what a user typed: a span back from now
// ("2 weeks", "3 days ago", "6m"), "today", "yesterday", or a date
// ("2024-05-01", "2024-05-01T12:00:00+02:00"). All times are UTC.
#pragma once

#include <chrono>
#include <functional>
#include <string_view>

namespace lomarind::git_utils {

// Gives the current time; periods count back from it.
using Clock = std::function<std::chrono::sys_seconds()>;

// The start of the period `since`, measured back from `now`. Months and
// years are calendar ones, clamped to the last day of the month reached.
// Throws std::invalid_argument, whose text quotes `since` and shows valid
// examples, for anything else.
std::chrono::sys_seconds parse_time_spec(std::string_view since, std::chrono::sys_seconds now);

}  // namespace lomarind::git_utils
