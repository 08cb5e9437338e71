// Dates on the proleptic Gregorian calendar for any instant an int64 count
// of seconds reaches: std::chrono's year stops at 32767, git's dates and a
// span of 100000 years do not.
#pragma once

#include <cstdint>
#include <string>

namespace lomarind::civil_time {

inline constexpr std::int64_t kSecondsPerDay = 86400;

struct CivilDate {
  std::int64_t year = 1970;  // 0 is 1 BC, -1 is 2 BC
  std::int64_t month = 1;    // 1 to 12
  std::int64_t day = 1;      // 1 to 31
};

// Days since 1970-01-01 of a date. REQUIRES: a valid month and day.
std::int64_t days_from_civil(const CivilDate& date);

// The date `days` days after 1970-01-01.
CivilDate civil_from_days(std::int64_t days);

// `seconds` floored to whole days since 1970-01-01: an instant before 1970
// falls on the day it lies in.
std::int64_t day_of(std::int64_t seconds);

// Any instant as an ISO 8601 date-time in UTC, YYYY-MM-DDTHH:MM:SS+00:00. A
// year outside 0 to 9999 is written with its sign and as many digits as it
// needs ("+11476-...", "-0001-..." for 2 BC). Never throws.
std::string utc_timestamp(std::int64_t seconds);

}  // namespace lomarind::civil_time
