#include "lomarind/utils/time_spec.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace lomarind::git_utils {
namespace {

using namespace std::chrono;
using namespace std::string_literals;

sys_seconds utc(year_month_day date, hours h = 0h, minutes m = 0min, seconds s = 0s) {
  return sys_days(date) + h + m + s;
}

// 2024-03-31 12:34:56 UTC: a month end after a leap February.
const sys_seconds kNow = utc(2024y / March / 31, 12h, 34min, 56s);

TEST(ParseTimeSpecTest, ReadsSpansDayWordsAndDates) {
  const sys_seconds leap_day = utc(2024y / February / 29, 23h, 59min, 59s);
  struct Case {
    std::vector<std::string> specs;
    sys_seconds expected;
    sys_seconds now = kNow;
  } cases[] = {
      {{"2 weeks", "2w", " \t2 WEEKS  Ago\t ", "2weeksago", "14 d"},
       utc(2024y / March / 17, 12h, 34min, 56s)},
      {{"72 hours", "4320 minutes", "3d"}, utc(2024y / March / 28, 12h, 34min, 56s)},
      {{"0 days", "0 y"}, kNow},
      // Months and years clamp to the last day of the month reached.
      {{"1 month", "1m"}, utc(2024y / February / 29, 12h, 34min, 56s)},
      {{"13 months"}, utc(2023y / February / 28, 12h, 34min, 56s)},
      {{"6m"}, utc(2023y / September / 30, 12h, 34min, 56s)},
      {{"1 year", "12 m ago"}, utc(2023y / March / 31, 12h, 34min, 56s)},
      {{"2100 years"}, utc(-76y / March / 31, 12h, 34min, 56s)},
      {{"1 year"}, utc(2023y / February / 28, 23h, 59min, 59s), leap_day},
      {{"3 months"}, utc(2100y / February / 28), utc(2100y / May / 31)},  // 2100: no leap day
      {{"1 month"}, utc(1969y / February / 28, 6h), utc(1969y / March / 31, 6h)},
      {{"today", "TODAY"}, utc(2024y / March / 31)},
      {{"yesterday"}, utc(2024y / February / 29), utc(2024y / March / 1, 0h, 0min, 1s)},
      {{"2024-05-01", "  2024-05-01\t"}, utc(2024y / May / 1)},
      {{"2024-05-01T12:00:00", "2024-05-01 12:00:00", "2024-05-01t12:00:00z",
        "2024-05-01T14:00:00+02:00", "2024-05-01T06:30:00-05:30"},
       utc(2024y / May / 1, 12h)},
      {{"2024-05-01T00:00:00+23:59"}, utc(2024y / April / 30, 0h, 1min)},
      {{"1969-12-31T23:59:59Z"}, sys_seconds(-1s)},
  };
  for (const Case& c : cases) {
    for (const std::string& spec : c.specs) {
      SCOPED_TRACE(spec);
      EXPECT_EQ(parse_time_spec(spec, c.now), c.expected);
    }
  }
  EXPECT_EQ(parse_time_spec("100000 d", kNow), kNow - days(100000));
  EXPECT_LT(parse_time_spec("100000 years", kNow), parse_time_spec("100000 months", kNow));
}

TEST(ParseTimeSpecTest, RejectsEverythingElse) {
  const std::vector<std::vector<std::string>> groups = {
      {"", " \t ", "2", "weeks", "-2 weeks", "2 weeks ago ago", "2\tweeks", "today ago"},
      {"2 fortnights", "2 min", "2 ago", "2.5 days", "now", "\xef\xbc\x91 day"},
      {"100001 days", "99999999999999999999 days"},
      {"2023-02-29", "2024-04-31", "2024-13-01", "2024-05-00", "2024-5-1", "2024/05/01",
       "0000-01-01"},
      {"2024-05-01Z", "2024-05-01T24:00:00", "2024-05-01T12:00:60", "2024-05-01T12:00"},
      {"2024-05-01  12:00:00", "2024-05-01T12:00:00 Z", "2024-05-01T12:00:00+24:00"},
      {"2024-05-01T12:00:00+0200", "2024-05-01\0"s}};
  for (const auto& group : groups) {
    for (const std::string& spec : group) {
      SCOPED_TRACE(testing::PrintToString(spec));
      EXPECT_THROW(parse_time_spec(spec, kNow), std::invalid_argument);
    }
  }
}

TEST(ParseTimeSpecTest, MessageQuotesTheInputAsGiven) {
  for (const auto& [spec, quoted] :
       std::vector<std::pair<std::string, std::string>>{{"2 fortnights", "'2 fortnights'"},
                                                        {" last\tweek ", "' last\\tweek '"},
                                                        {"it's", "\"it's\""}}) {
    try {
      parse_time_spec(spec, kNow);
      ADD_FAILURE() << "no error for " << spec;
    } catch (const std::invalid_argument& e) {
      EXPECT_EQ(e.what(), "Cannot read the period " + quoted +
                              ": use a span such as '2 weeks' or '3 months', or a date such as "
                              "'2024-05-01'");
    }
  }
}

}  // namespace
}  // namespace lomarind::git_utils
