#include "lomarind/utils/civil_time.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>
#include <utility>

namespace lomarind::civil_time {
namespace {

// Rows never throw: every instant git can store has a date.
TEST(CivilTimeTest, AnyInstantIsAnIsoDateTime) {
  const std::pair<std::int64_t, std::string_view> cases[] = {
      {-1, "1969-12-31T23:59:59+00:00"},
      {951782400, "2000-02-29T00:00:00+00:00"},
      {253402300799, "9999-12-31T23:59:59+00:00"},
      {253402300800, "+10000-01-01T00:00:00+00:00"},
      {300000000000, "+11476-08-15T05:20:00+00:00"},
      {-62135596800, "0001-01-01T00:00:00+00:00"},
      {-62135596801, "0000-12-31T23:59:59+00:00"},
      {-62198755200, "-0001-01-01T00:00:00+00:00"},
      {INT64_MAX, "+292277026596-12-04T15:30:07+00:00"},
      {INT64_MIN, "-292277022657-01-27T08:29:52+00:00"},
  };
  for (const auto& [seconds, text] : cases) {
    SCOPED_TRACE(seconds);
    EXPECT_EQ(utc_timestamp(seconds), text);
  }
}

TEST(CivilTimeTest, DaysAndDatesRoundTripAcrossErasAndLeapDays) {
  for (const CivilDate date :
       {CivilDate{1970, 1, 1}, CivilDate{2000, 2, 29}, CivilDate{1900, 3, 1}, CivilDate{-1, 12, 31},
        CivilDate{0, 2, 29}, CivilDate{101970, 6, 15}}) {
    SCOPED_TRACE(date.year);
    const CivilDate back = civil_from_days(days_from_civil(date));
    EXPECT_EQ(back.year, date.year);
    EXPECT_EQ(back.month, date.month);
    EXPECT_EQ(back.day, date.day);
  }
  EXPECT_EQ(days_from_civil({2000, 3, 1}) - days_from_civil({2000, 2, 28}), 2);
  EXPECT_EQ(days_from_civil({1900, 3, 1}) - days_from_civil({1900, 2, 28}), 1);
}

}  // namespace
}  // namespace lomarind::civil_time
