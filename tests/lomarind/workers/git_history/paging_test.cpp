#include "lomarind/workers/git_history/paging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <numeric>

#include "support/fake_history_neighbours.h"

namespace lomarind::git_history::detail {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

TEST(PageTest, CutsClampedWindowsWithoutOverflow) {
  std::vector<int> items(25);
  std::iota(items.begin(), items.end(), 0);
  struct Case {
    std::int64_t limit, offset;
    int first;
    std::size_t count;
  } cases[] = {{10, 20, 20, 5}, {10, -5, 0, 10},  {-1, 3, 0, 0},
               {10, 25, 0, 0}, {kMax, 24, 24, 1}, {kMax, kMax, 0, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "limit " << c.limit << " offset " << c.offset);
    const std::vector<int> got = page(items, c.limit, c.offset);
    ASSERT_EQ(got.size(), c.count);
    if (c.count > 0) {
      EXPECT_EQ(got.front(), c.first);
    }
  }
}

TEST(PaginatedTest, FieldsDescribeTheAskedAndTheDeliveredPage) {
  struct Case {
    std::int64_t total, rows, limit, offset;
    bool truncated, has_more;
    std::int64_t shown_offset;
  } cases[] = {
      {25, 5, 10, 20, false, false, 20}, {25, 10, 10, -3, true, true, 0},
      {25, 0, 0, 5, true, true, 5},      {25, 0, 10, 30, false, false, 30},
      {0, 0, 10, 0, false, false, 0},    {25, 0, kMax, kMax, false, false, kMax},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message()
                 << "total " << c.total << " limit " << c.limit << " offset " << c.offset);
    testing::FakePaginationHint hint;
    const Json result = paginated(Json{{"own", 1}}, "files", std::vector<Json>(c.rows, Json(1)),
                                  c.total, c.limit, c.offset, hint);
    EXPECT_EQ(result.at("truncated"), c.truncated);
    EXPECT_EQ(result.at("has_more"), c.has_more);
    EXPECT_EQ(result.at("offset"), c.shown_offset);
    EXPECT_THAT(hint.calls,
                ::testing::ElementsAre("add_pagination_hint(" + std::to_string(c.rows) + ")"));
  }
}

TEST(PaginatedTest, KeepsExistingKeysInPlaceAndAppendsTheRest) {
  testing::FakePaginationHint hint;
  const Json result = paginated(Json{{"offset", "x"}, {"files", nullptr}, {"since", "2w"}}, "files",
                                {Json("a")}, 3, 1, 0, hint);
  EXPECT_EQ(result.dump(),
            R"({"offset":0,"files":["a"],"since":"2w","total_count":3,"truncated":true,)"
            R"("has_more":true,"next_offset":1})");
}

}  // namespace
}  // namespace lomarind::git_history::detail
