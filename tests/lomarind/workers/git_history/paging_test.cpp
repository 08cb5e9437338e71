#include "lomarind/workers/git_history/paging.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

#include "lomarind/production/production_history.h"

namespace lomarind::git_history::detail {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

TEST(PagingTest, CutsClampedWindowsAndDescribesThemWithoutOverflow) {
  struct Case {
    std::int64_t total, limit, offset;
    std::vector<int> rows;
    bool truncated, has_more;
    std::int64_t shown_offset;
  } cases[] = {
      {25, 10, 20, {20, 21, 22, 23, 24}, false, false, 20},
      {25, 2, -5, {0, 1}, true, true, 0},
      {25, -1, 3, {}, true, true, 3},
      {25, 10, 25, {}, false, false, 25},
      {25, kMax, 24, {24}, false, false, 24},
      {25, kMax, kMax, {}, false, false, kMax},
      {0, 10, 0, {}, false, false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "limit " << c.limit << " offset " << c.offset);
    std::vector<int> items(static_cast<std::size_t>(c.total));
    std::iota(items.begin(), items.end(), 0);
    const std::vector<int> rows = page(items, c.limit, c.offset);
    EXPECT_EQ(rows, c.rows);
    const PageFields fields = page_fields(c.total, c.limit, c.offset, std::ssize(rows));
    EXPECT_EQ(fields.total_count, c.total);
    EXPECT_EQ(fields.truncated, c.truncated);
    EXPECT_EQ(fields.has_more, c.has_more);
    EXPECT_EQ(fields.offset, c.shown_offset);
    EXPECT_EQ(fields.next_offset,
              c.has_more ? std::optional(c.shown_offset + std::ssize(rows)) : std::nullopt);
    EXPECT_EQ(fields.hint.has_value(), c.has_more);
  }
}

}  // namespace
}  // namespace lomarind::git_history::detail
