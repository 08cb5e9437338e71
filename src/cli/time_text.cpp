#include "cli/time_text.h"

#include <fmt/format.h>

#include "lomarind/utils/civil_time.h"

namespace lomarind::cli {

namespace {

std::string ago(std::int64_t count, std::string_view unit) {
  return fmt::format("{} {}{} ago", count, unit, count == 1 ? "" : "s");
}

}  // namespace

std::string date_text(std::int64_t time) {
  const std::string stamp = civil_time::utc_timestamp(time);
  return stamp.substr(0, stamp.find('T', 1));
}

std::string date_minute_text(std::int64_t time) {
  const std::string stamp = civil_time::utc_timestamp(time);
  const std::size_t t = stamp.find('T', 1);
  return stamp.substr(0, t) + " " + stamp.substr(t + 1, 5);
}

std::string relative_time(std::chrono::sys_seconds then, std::chrono::sys_seconds now) {
  constexpr std::int64_t kMinute = 60, kHour = 3600, kDay = 86400;
  const std::int64_t age = (now - then).count();
  if (age < 0) return date_minute_text(then.time_since_epoch().count());
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
