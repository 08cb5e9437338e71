#include "cli/relative_time.h"

#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

TEST(RelativeTimeTest, ReadsOnlyTheAnswerTimeForm) {
  using namespace std::chrono;
  EXPECT_EQ(parse_answer_time("2024-05-01T12:00:00+00:00"), sys_days{2024y / May / 1} + 12h);
  for (const char* bad : {"2024-05-01T12:00:00Z", "2024-02-30T00:00:00+00:00",
                          "2024-05-01 12:00:00+00:00", "2024-05-01T24:00:00+00:00", ""}) {
    SCOPED_TRACE(bad);
    EXPECT_FALSE(parse_answer_time(bad));
  }
}

TEST(RelativeTimeTest, PicksAReadableUnit) {
  using namespace std::chrono;
  const sys_seconds now = sys_days{2024y / June / 1};
  struct Case {
    seconds age;
    const char* expected;
  } cases[] = {
      {-1s, "in the future"},    {0s, "just now"},
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
}

}  // namespace
}  // namespace lomarind::cli
