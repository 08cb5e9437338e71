#include "lomarind/utils/time_spec.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "lomarind/utils/civil_time.h"
#include "lomarind/utils/quoting.h"

namespace lomarind::git_utils {
namespace {

using std::chrono::sys_seconds;

constexpr std::int64_t kMaxSpan = 100000;
using civil_time::kSecondsPerDay;

std::int64_t last_day(std::int64_t year, std::int64_t month) {
  constexpr std::int64_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 && leap ? 29 : kDays[month - 1];
}

std::int64_t floor_div(std::int64_t value, std::int64_t divisor) {
  return value >= 0 ? value / divisor : -((-value - 1) / divisor) - 1;
}

// The same day and time `months` calendar months earlier, clamped to the
// last day of the month reached (March 31 minus one month is February 28/29).
sys_seconds months_back(sys_seconds now, std::int64_t months) {
  std::int64_t seconds = now.time_since_epoch().count();
  std::int64_t days = civil_time::day_of(seconds);
  std::int64_t time_of_day = seconds - days * kSecondsPerDay;
  civil_time::CivilDate date = civil_time::civil_from_days(days);
  std::int64_t month_index = date.year * 12 + (date.month - 1) - months;
  std::int64_t year = floor_div(month_index, 12);
  std::int64_t month = month_index - year * 12 + 1;
  std::int64_t day = std::min(date.day, last_day(year, month));
  return sys_seconds{std::chrono::seconds{
      civil_time::days_from_civil({year, month, day}) * kSecondsPerDay + time_of_day}};
}

sys_seconds midnight(sys_seconds time) { return std::chrono::floor<std::chrono::days>(time); }

sys_seconds at_second(std::int64_t seconds) { return sys_seconds{std::chrono::seconds{seconds}}; }

// Reads lower-case text front to back.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool done() const { return rest_.empty(); }
  std::string_view rest() const { return rest_; }
  bool take(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }
  void skip_spaces() {
    while (take(' ')) {
    }
  }
  // Exactly `count` ASCII digits, at most `max` in value.
  std::optional<std::int64_t> number(std::size_t count, std::int64_t max) {
    if (rest_.size() < count) return std::nullopt;
    std::int64_t value = 0;
    for (char c : rest_.substr(0, count)) {
      if (c < '0' || c > '9') return std::nullopt;
      value = value * 10 + (c - '0');
    }
    rest_.remove_prefix(count);
    if (value > max) return std::nullopt;
    return value;
  }

 private:
  std::string_view rest_;
};

struct Unit {
  std::string_view name;
  std::int64_t seconds;
  std::int64_t months;
};

// Longer names first, so that "2 months" is never read as "2 m" + "onths".
constexpr Unit kUnits[] = {
    {"seconds", 1, 0},    {"second", 1, 0},    {"minutes", 60, 0}, {"minute", 60, 0},
    {"hours", 3600, 0},   {"hour", 3600, 0},   {"days", 86400, 0}, {"day", 86400, 0},
    {"weeks", 604800, 0}, {"week", 604800, 0}, {"months", 0, 1},   {"month", 0, 1},
    {"years", 0, 12},     {"year", 0, 12},     {"h", 3600, 0},     {"d", 86400, 0},
    {"w", 604800, 0},     {"m", 0, 1},         {"y", 0, 12},
};

// "N unit" or "N unit ago"; spaces (never tabs) may separate the parts.
std::optional<sys_seconds> parse_span(std::string_view text, sys_seconds now) {
  std::size_t digits = text.find_first_not_of("0123456789");
  if (digits == 0 || digits == std::string_view::npos) return std::nullopt;
  std::int64_t count = 0;
  for (char c : text.substr(0, digits)) count = std::min(count * 10 + (c - '0'), kMaxSpan + 1);
  if (count > kMaxSpan) return std::nullopt;
  Reader reader(text.substr(digits));
  reader.skip_spaces();
  for (const Unit& unit : kUnits) {
    if (!reader.rest().starts_with(unit.name)) continue;
    Reader tail(reader.rest().substr(unit.name.size()));
    tail.skip_spaces();
    if (!tail.done() && tail.rest() != "ago") continue;
    if (unit.months != 0) return months_back(now, count * unit.months);
    return now - std::chrono::seconds(count * unit.seconds);
  }
  return std::nullopt;
}

std::optional<sys_seconds> parse_day_word(std::string_view text, sys_seconds now) {
  if (text == "today") return midnight(now);
  if (text == "yesterday") return midnight(now) - std::chrono::days(1);
  return std::nullopt;
}

// "Z", or "+HH:MM" / "-HH:MM": the seconds to add to local time for UTC.
std::optional<std::int64_t> parse_offset(Reader& reader) {
  if (reader.take('z')) return 0;
  int sign = reader.take('+') ? -1 : reader.take('-') ? 1 : 0;
  if (sign == 0) return std::nullopt;
  std::optional<std::int64_t> hours = reader.number(2, 23);
  std::optional<std::int64_t> minutes;
  if (hours && reader.take(':')) minutes = reader.number(2, 59);
  if (!minutes) return std::nullopt;
  return sign * (*hours * 3600 + *minutes * 60);
}

// "HH:MM:SS" as seconds since midnight.
std::optional<std::int64_t> parse_clock(Reader& reader) {
  std::optional<std::int64_t> hours = reader.number(2, 23);
  if (!hours || !reader.take(':')) return std::nullopt;
  std::optional<std::int64_t> minutes = reader.number(2, 59);
  if (!minutes || !reader.take(':')) return std::nullopt;
  std::optional<std::int64_t> seconds = reader.number(2, 59);
  if (!seconds) return std::nullopt;
  return *hours * 3600 + *minutes * 60 + *seconds;
}

// "YYYY-MM-DD", optionally followed by "THH:MM:SS" (or a space for the T)
// and an offset.
std::optional<sys_seconds> parse_date(std::string_view text) {
  Reader reader(text);
  std::optional<std::int64_t> year = reader.number(4, 9999);
  std::optional<std::int64_t> month, day;
  // Calendars start at year 1: there is no year 0000.
  if (year && *year >= 1 && reader.take('-')) month = reader.number(2, 12);
  if (month && *month >= 1 && reader.take('-')) day = reader.number(2, 31);
  if (!day || *day < 1 || *day > last_day(*year, *month)) return std::nullopt;
  std::int64_t seconds = civil_time::days_from_civil({*year, *month, *day}) * kSecondsPerDay;
  if (reader.done()) return at_second(seconds);
  if (!reader.take('t') && !reader.take(' ')) return std::nullopt;
  std::optional<std::int64_t> clock = parse_clock(reader);
  if (!clock) return std::nullopt;
  seconds += *clock;
  if (reader.done()) return at_second(seconds);
  std::optional<std::int64_t> offset = parse_offset(reader);
  if (!offset || !reader.done()) return std::nullopt;
  return at_second(seconds + *offset);
}

std::string trimmed_lower_case(std::string_view text) {
  std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace

sys_seconds parse_time_spec(std::string_view since, sys_seconds now) {
  std::string text = trimmed_lower_case(since);
  std::optional<sys_seconds> start = parse_day_word(text, now);
  if (!start) start = parse_span(text, now);
  if (!start) start = parse_date(text);
  if (start) return *start;
  throw std::invalid_argument("Cannot read the period " + quoting::quoted_name(since) +
                              ": use a span such as '2 weeks' or '3 months', or a date such as "
                              "'2024-05-01'");
}

}  // namespace lomarind::git_utils
