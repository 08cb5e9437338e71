#include <gtest/gtest.h>

#include <vector>

#include "cli/report.h"

namespace lomarind::cli {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kMonday = 1714953600;  // 2024-05-06 00:00 UTC

TEST(WeeklyCommitsTest, CountsCommitsInMondayWeeks) {
  // Sunday 23:59:59 closes a week; Monday 00:00 opens the next.
  const std::vector<std::int64_t> log = {kMonday + 7 * kDay, kMonday + 7 * kDay - 1, kMonday,
                                         kMonday + 3 * kDay};
  const std::vector<WeekCount> weeks =
      weekly_commits(log, kMonday - 10 * kDay, kMonday + 15 * kDay, false);
  ASSERT_EQ(weeks.size(), 5u);
  EXPECT_EQ(weeks[0].start, kMonday - 14 * kDay);
  std::vector<std::int64_t> counts;
  for (const WeekCount& week : weeks) counts.push_back(week.commits);
  EXPECT_EQ(counts, (std::vector<std::int64_t>{0, 0, 3, 1, 0}));
  const std::int64_t monday_1968 = -696 * kDay;  // 1968-02-05
  EXPECT_EQ(weekly_commits({}, monday_1968 + kDay, monday_1968 + 8 * kDay, false)[0].start,
            monday_1968);
}

TEST(WeeklyCommitsTest, StartsWhereTheCommitsDoWhenThePeriodWasCutOrIsLong) {
  const std::vector<std::int64_t> log = {kMonday + kDay};
  EXPECT_EQ(weekly_commits(log, kMonday - 70 * kDay, kMonday + kDay, true).size(), 1u);
  EXPECT_EQ(weekly_commits(log, kMonday - 70 * kDay, kMonday + kDay, false).size(), 11u);
  const auto century = weekly_commits(log, kMonday - 36500 * kDay, kMonday + 5000 * kDay, false);
  EXPECT_EQ(century.size(), kMaxWeeks);
  EXPECT_EQ(century.back().start, kMonday + 4998 * kDay);
}

}  // namespace
}  // namespace lomarind::cli
