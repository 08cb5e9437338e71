// Instants as tables and pages show them: a date, a date and minute, or an
// age such as "3 days ago". Answers themselves keep the exact time.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace lomarind::cli {

// "2024-05-01" for a time in Unix seconds, UTC; any year.
std::string date_text(std::int64_t time);

// "2024-05-01 12:30" for a time in Unix seconds, UTC; any year.
std::string date_minute_text(std::int64_t time);

// The age of `then` at `now` in the largest unit that keeps the number
// readable: "just now", "5 minutes ago", "1 day ago", "3 weeks ago",
// "2 months ago", "4 years ago". A time after now (a commit whose clock
// was wrong) is shown as its date and minute, which is what one wants to see.
std::string relative_time(std::chrono::sys_seconds then, std::chrono::sys_seconds now);

}  // namespace lomarind::cli
