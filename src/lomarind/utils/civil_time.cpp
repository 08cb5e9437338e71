#include "lomarind/utils/civil_time.h"

#include <fmt/format.h>

namespace lomarind::civil_time {

// Both directions count whole 400-year eras of 146097 days from 0000-03-01,
// then the day within the era, with months from March so that the leap day
// comes last.
std::int64_t days_from_civil(const CivilDate& date) {
  const std::int64_t year = date.year - (date.month <= 2 ? 1 : 0);
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t year_of_era = year - era * 400;
  const std::int64_t day_of_year =
      (153 * (date.month > 2 ? date.month - 3 : date.month + 9) + 2) / 5 + date.day - 1;
  const std::int64_t day_of_era =
      year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

CivilDate civil_from_days(std::int64_t days) {
  const std::int64_t z = days + 719468;  // days since 0000-03-01
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t day_of_era = z - era * 146097;  // [0, 146096]
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);  // from March 1
  const std::int64_t month_from_march = (5 * day_of_year + 2) / 153;           // [0, 11]
  const std::int64_t month = month_from_march < 10 ? month_from_march + 3 : month_from_march - 9;
  return {.year = year_of_era + era * 400 + (month <= 2 ? 1 : 0),
          .month = month,
          .day = day_of_year - (153 * month_from_march + 2) / 5 + 1};
}

std::int64_t day_of(std::int64_t seconds) {
  return seconds / kSecondsPerDay - (seconds % kSecondsPerDay < 0 ? 1 : 0);
}

std::string utc_timestamp(std::int64_t seconds) {
  const std::int64_t day = day_of(seconds);
  // Formed from the remainder, not seconds - day * 86400, which overflows
  // at the ends of the range.
  const std::int64_t remainder = seconds % kSecondsPerDay;
  const std::int64_t second_of_day = remainder < 0 ? remainder + kSecondsPerDay : remainder;
  const CivilDate date = civil_from_days(day);
  // Years 0 to 9999 take four digits; any other year takes its sign and at
  // least four digits, as ISO 8601's expanded years do.
  const bool expanded = date.year < 0 || date.year > 9999;
  const std::string year = fmt::format("{}{:04}", expanded ? (date.year < 0 ? "-" : "+") : "",
                                       date.year < 0 ? -date.year : date.year);
  return fmt::format("{}-{:02}-{:02}T{:02}:{:02}:{:02}+00:00", year, date.month, date.day,
                     second_of_day / 3600, second_of_day / 60 % 60, second_of_day % 60);
}

}  // namespace lomarind::civil_time
