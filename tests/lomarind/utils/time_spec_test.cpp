#include "lomarind/utils/time_spec.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace lomarind::git_utils {
namespace {

using namespace std::chrono;
using namespace std::string_literals;

sys_seconds utc(year_month_day date, hours h = hours(0), minutes m = minutes(0),
                seconds s = seconds(0)) {
  return sys_days(date) + h + m + s;
}

// Saturday 2024-03-31 12:34:56 UTC: a month end after a leap February.
const sys_seconds kNow = utc(2024y / March / 31, 12h, 34min, 56s);

TEST(ParseTimeSpecTest, ReadsSpansBackFromNow) {
  struct Case {
    const char* since;
    sys_seconds expected;
  } cases[] = {
      {"2 weeks", utc(2024y / March / 17, 12h, 34min, 56s)},
      {"2weeks", utc(2024y / March / 17, 12h, 34min, 56s)},
      {"2w", utc(2024y / March / 17, 12h, 34min, 56s)},
      {" \t2 WEEKS  Ago\t ", utc(2024y / March / 17, 12h, 34min, 56s)},
      {"2weeksago", utc(2024y / March / 17, 12h, 34min, 56s)},
      {"1 week", utc(2024y / March / 24, 12h, 34min, 56s)},
      {"3 days ago", utc(2024y / March / 28, 12h, 34min, 56s)},
      {"1d", utc(2024y / March / 30, 12h, 34min, 56s)},
      {"0 days", kNow},
      {"007 day", utc(2024y / March / 24, 12h, 34min, 56s)},
      {"5 hours", utc(2024y / March / 31, 7h, 34min, 56s)},
      {"1h", utc(2024y / March / 31, 11h, 34min, 56s)},
      {"90 minutes", utc(2024y / March / 31, 11h, 4min, 56s)},
      {"1 minute", utc(2024y / March / 31, 12h, 33min, 56s)},
      {"56 seconds", utc(2024y / March / 31, 12h, 34min, 0s)},
      {"1 second ago", utc(2024y / March / 31, 12h, 34min, 55s)},
      {"1 month", utc(2024y / February / 29, 12h, 34min, 56s)},
      {"13 months", utc(2023y / February / 28, 12h, 34min, 56s)},
      {"6m", utc(2023y / September / 30, 12h, 34min, 56s)},
      {"12 m ago", utc(2023y / March / 31, 12h, 34min, 56s)},
      {"1 year", utc(2023y / March / 31, 12h, 34min, 56s)},
      {"2y", utc(2022y / March / 31, 12h, 34min, 56s)},
      {"2100 years", utc(-76y / March / 31, 12h, 34min, 56s)},
      {"today", utc(2024y / March / 31)},
      {"YESTERDAY", utc(2024y / March / 30)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.since);
    EXPECT_EQ(parse_time_spec(c.since, kNow), c.expected);
  }
  EXPECT_LT(parse_time_spec("100000 years", kNow), parse_time_spec("100000 months", kNow));
  EXPECT_EQ(parse_time_spec("100000 d", kNow), kNow - days(100000));
}

TEST(ParseTimeSpecTest, CalendarYearsAndMonthsClampToTheMonthEnd) {
  const sys_seconds leap_day = utc(2024y / February / 29, 23h, 59min, 59s);
  EXPECT_EQ(parse_time_spec("1 year", leap_day), utc(2023y / February / 28, 23h, 59min, 59s));
  EXPECT_EQ(parse_time_spec("4 years", leap_day), utc(2020y / February / 29, 23h, 59min, 59s));
  EXPECT_EQ(parse_time_spec("1 month", leap_day), utc(2024y / January / 29, 23h, 59min, 59s));
  const sys_seconds may_31 = utc(2100y / May / 31);
  EXPECT_EQ(parse_time_spec("3 months", may_31), utc(2100y / February / 28));  // 2100: no leap
  EXPECT_EQ(parse_time_spec("1 month", utc(2024y / January / 15)), utc(2023y / December / 15));
  EXPECT_EQ(parse_time_spec("yesterday", utc(2024y / March / 1, 0h, 0min, 1s)),
            utc(2024y / February / 29));
  const sys_seconds before_1970 = utc(1969y / March / 31, 6h);
  EXPECT_EQ(parse_time_spec("1 month", before_1970), utc(1969y / February / 28, 6h));
  EXPECT_EQ(parse_time_spec("today", before_1970), utc(1969y / March / 31));
}

TEST(ParseTimeSpecTest, ReadsDatesAndTimesInUtc) {
  struct Case {
    const char* since;
    sys_seconds expected;
  } cases[] = {
      {"2024-05-01", utc(2024y / May / 1)},
      {"2024-02-29", utc(2024y / February / 29)},
      {"2000-02-29", utc(2000y / February / 29)},
      {"2024-05-01T12:00:00", utc(2024y / May / 1, 12h)},
      {"2024-05-01 12:00:00", utc(2024y / May / 1, 12h)},
      {"2024-05-01t23:59:59z", utc(2024y / May / 1, 23h, 59min, 59s)},
      {"2024-05-01T12:00:00Z", utc(2024y / May / 1, 12h)},
      {"2024-05-01T12:00:00+02:00", utc(2024y / May / 1, 10h)},
      {"2024-05-01T12:00:00-05:30", utc(2024y / May / 1, 17h, 30min)},
      {"2024-05-01T00:00:00+23:59", utc(2024y / April / 30, 0h, 1min)},
      {"1969-12-31T23:59:59Z", sys_seconds(seconds(-1))},
      {"  2024-05-01\t", utc(2024y / May / 1)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.since);
    EXPECT_EQ(parse_time_spec(c.since, kNow), c.expected);
  }
}

TEST(ParseTimeSpecTest, RejectsEverythingElse) {
  for (std::string since : {""s,
                            " \t "s,
                            "2"s,
                            "weeks"s,
                            "-2 weeks"s,
                            "+2 weeks"s,
                            "2 weeks ago ago"s,
                            "2\tweeks"s,
                            "2 weeks\tago"s,
                            "2 fortnights"s,
                            "2 min"s,
                            "2 s"s,
                            "2 ago"s,
                            "ago"s,
                            "2.5 days"s,
                            "100001 days"s,
                            "99999999999999999999 days"s,
                            "\xef\xbc\x91 day"s,
                            "now"s,
                            "tomorrow"s,
                            "today ago"s,
                            "2023-02-29"s,
                            "2024-02-30"s,
                            "2024-04-31"s,
                            "2024-13-01"s,
                            "2024-00-10"s,
                            "2024-05-00"s,
                            "2024-5-1"s,
                            "24-05-01"s,
                            "2024/05/01"s,
                            "2024-05-01Z"s,
                            "2024-05-01T24:00:00"s,
                            "2024-05-01T12:60:00"s,
                            "2024-05-01T12:00:60"s,
                            "2024-05-01T12:00"s,
                            "2024-05-01T"s,
                            "2024-05-01  12:00:00"s,
                            "2024-05-01T12:00:00 Z"s,
                            "2024-05-01T12:00:00+24:00"s,
                            "2024-05-01T12:00:00+02:60"s,
                            "2024-05-01T12:00:00+02"s,
                            "2024-05-01T12:00:00+0200"s,
                            "2024-05-01T12:00:00Z "s + '\0'}) {
    SCOPED_TRACE(since);
    EXPECT_THROW(parse_time_spec(since, kNow), std::invalid_argument);
  }
}

TEST(ParseTimeSpecTest, MessageQuotesTheInputAsGiven) {
  struct Case {
    std::string since;
    const char* quoted;
  } cases[] = {
      {"2 fortnights", "'2 fortnights'"},
      {" last\tweek ", "' last\\tweek '"},
      {"it's", "\"it's\""},
      {"", "''"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.since);
    try {
      parse_time_spec(c.since, kNow);
      ADD_FAILURE() << "no error";
    } catch (const std::invalid_argument& e) {
      EXPECT_EQ(e.what(), "Cannot read the period "s + c.quoted +
                              ": use a span such as '2 weeks' or '3 months', or a date such as "
                              "'2024-05-01'");
    }
  }
}

}  // namespace
}  // namespace lomarind::git_utils
