// "3 days ago": how long before now an answer's UTC time stamp lies, for
// tables only (JSON keeps the exact time).
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace lomarind::cli {

// Reads YYYY-MM-DDTHH:MM:SS+00:00, the form of times in answers; nullopt
// for anything else.
std::optional<std::chrono::sys_seconds> parse_answer_time(std::string_view text);

// The age of `then` at `now` in the largest unit that keeps the number
// readable: "just now", "5 minutes ago", "1 day ago", "3 weeks ago",
// "2 months ago", "4 years ago"; a time after now is "in the future".
std::string relative_time(std::chrono::sys_seconds then, std::chrono::sys_seconds now);

}  // namespace lomarind::cli
