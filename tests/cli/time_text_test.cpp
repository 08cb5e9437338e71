#include "cli/time_text.h"

#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

TEST(TimeTextTest, PicksAReadableUnitAndShowsAFutureTimeAsItsDate) {
  using namespace std::chrono;
  const sys_seconds now = sys_days{2024y / June / 1};
  struct Case {
    seconds age;
    const char* expected;
  } cases[] = {
      {-1s, "2024-06-01 00:00"}, {0s, "just now"},
      {45s, "45 seconds ago"},   {60min, "60 minutes ago"},
      {2h, "2 hours ago"},       {35h, "35 hours ago"},
      {days{3}, "3 days ago"},   {days{1} * 13, "13 days ago"},
      {days{14}, "2 weeks ago"}, {days{100}, "3 months ago"},
      {days{365}, "1 year ago"}, {days{800}, "2 years ago"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(relative_time(now - c.age, now), c.expected);
  }
  EXPECT_EQ(relative_time(sys_days{2100y / January / 2} + 90min, now), "2100-01-02 01:30");
}

TEST(TimeTextTest, DatesOfAnyYear) {
  EXPECT_EQ(date_text(0), "1970-01-01");
  EXPECT_EQ(date_text(-1), "1969-12-31");
  EXPECT_EQ(date_minute_text(299'000'000'000), "+11444-12-07 03:33");
}

}  // namespace
}  // namespace lomarind::cli
