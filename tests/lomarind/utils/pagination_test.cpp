#include "lomarind/utils/pagination.h"

#include <gtest/gtest.h>

namespace lomarind::pagination {
namespace {

Json page(bool has_more, std::int64_t total, std::int64_t offset) {
  return {{"files", Json::array()},
          {"total_count", total},
          {"truncated", has_more},
          {"has_more", has_more},
          {"offset", offset}};
}

TEST(PaginationTest, HintPointsAtTheNextPageAndKeepsKeyOrder) {
  EXPECT_EQ(add_pagination_hint(page(false, 25, 20), 5), page(false, 25, 20));  // last page
  EXPECT_EQ(
      add_pagination_hint(page(true, 25, 10), 10).dump(),
      R"({"files":[],"total_count":25,"truncated":true,"has_more":true,"offset":10,)"
      R"("next_offset":20,"hint":"Showing rows 11-20 of 25; pass offset=20 for the next page"})");
  const Json empty = add_pagination_hint(page(true, 7, 3), 0);
  EXPECT_EQ(empty["next_offset"], 3);
  EXPECT_EQ(empty["hint"], "Showing no rows of 7; pass a positive limit");
}

}  // namespace
}  // namespace lomarind::pagination
