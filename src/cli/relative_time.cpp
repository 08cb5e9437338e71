#include "cli/relative_time.h"

#include <fmt/format.h>

#include <cstdint>

namespace lomarind::cli {

namespace {

// Reads `width` ASCII digits at `pos`; nullopt when any is missing.
std::optional<int> digits(std::string_view text, std::size_t pos, std::size_t width) {
  if (pos + width > text.size()) return std::nullopt;
  int value = 0;
  for (std::size_t i = pos; i < pos + width; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

std::string ago(std::int64_t count, std::string_view unit) {
  return fmt::format("{} {}{} ago", count, unit, count == 1 ? "" : "s");
}

}  // namespace

std::optional<std::chrono::sys_seconds> parse_answer_time(std::string_view text) {
  constexpr std::string_view kShape = "0000-00-00T00:00:00+00:00";
  if (text.size() != kShape.size() || text.substr(19) != "+00:00") return std::nullopt;
  if (text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' || text[16] != ':') {
    return std::nullopt;
  }
  const auto year = digits(text, 0, 4), month = digits(text, 5, 2), day = digits(text, 8, 2);
  const auto hour = digits(text, 11, 2), minute = digits(text, 14, 2), second = digits(text, 17, 2);
  if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year{*year},
                                         std::chrono::month{static_cast<unsigned>(*month)},
                                         std::chrono::day{static_cast<unsigned>(*day)}};
  if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  return std::chrono::sys_days{date} + std::chrono::hours{*hour} + std::chrono::minutes{*minute} +
         std::chrono::seconds{*second};
}

std::string relative_time(std::chrono::sys_seconds then, std::chrono::sys_seconds now) {
  constexpr std::int64_t kMinute = 60, kHour = 3600, kDay = 86400;
  const std::int64_t age = (now - then).count();
  if (age < 0) return "in the future";
  if (age < 90) return age < 10 ? "just now" : ago(age, "second");
  if (age < 90 * kMinute) return ago((age + kMinute / 2) / kMinute, "minute");
  if (age < 36 * kHour) return ago((age + kHour / 2) / kHour, "hour");
  const std::int64_t days = (age + kDay / 2) / kDay;
  if (days < 14) return ago(days, "day");
  if (days < 70) return ago((days + 3) / 7, "week");
  if (days < 365) return ago((days + 15) / 30, "month");
  return ago(days / 365, "year");
}

}  // namespace lomarind::cli
