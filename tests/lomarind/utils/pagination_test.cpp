#include "lomarind/utils/pagination.h"

#include <gtest/gtest.h>

namespace lomarind::pagination {
namespace {

Json page(bool has_more, std::int64_t total, std::int64_t offset) {
  Json result = {{"files", Json::array()}};
  result["total_count"] = total;
  result["truncated"] = has_more;
  result["has_more"] = has_more;
  result["offset"] = offset;
  return result;
}

TEST(PaginationTest, LastPageGetsNoHint) {
  const Json result = page(false, 25, 20);
  EXPECT_EQ(add_pagination_hint(result, 5), result);
}

TEST(PaginationTest, HintPointsAtTheNextPageAndKeepsKeyOrder) {
  const Json hinted = add_pagination_hint(page(true, 25, 10), 10);
  EXPECT_EQ(
      hinted.dump(),
      R"({"files":[],"total_count":25,"truncated":true,"has_more":true,"offset":10,)"
      R"("next_offset":20,"hint":"Showing rows 11-20 of 25; pass offset=20 for the next page"})");
}

TEST(PaginationTest, EmptyPageAsksForAPositiveLimit) {
  const Json hinted = add_pagination_hint(page(true, 7, 3), 0);
  EXPECT_EQ(hinted["next_offset"], 3);
  EXPECT_EQ(hinted["hint"], "Showing no rows of 7; pass a positive limit");
}

}  // namespace
}  // namespace lomarind::pagination
