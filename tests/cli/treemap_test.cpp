#include "cli/treemap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace lomarind::cli {
namespace {

double overlap(const Rect& a, const Rect& b) {
  const double w = std::min(a.x + a.width, b.x + b.width) - std::max(a.x, b.x);
  const double h = std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
  return w > 0 && h > 0 ? w * h : 0;
}

TEST(TreemapTest, TilesTheBoundsWithAreasInProportion) {
  struct Case {
    const char* name;
    std::vector<double> weights;
    Rect bounds;
  } cases[] = {
      {"one", {5}, {10, 20, 300, 100}},
      {"equal", {1, 1, 1, 1, 1, 1}, {0, 0, 600, 400}},
      {"unsorted and skewed", {1, 900, 3, 40, 1, 7}, {0, 0, 1200, 680}},
      {"tall bounds", {8, 4, 2, 1}, {0, 0, 50, 900}},
      {"many small beside a giant", std::vector<double>(300, 1.0), {0, 0, 1200, 680}},
  };
  cases[4].weights[150] = 5000;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<Rect> rects = squarify(c.weights, c.bounds);
    ASSERT_EQ(rects.size(), c.weights.size());
    const double total = std::accumulate(c.weights.begin(), c.weights.end(), 0.0);
    const double area = c.bounds.width * c.bounds.height;
    for (std::size_t i = 0; i < rects.size(); ++i) {
      const Rect& r = rects[i];
      EXPECT_NEAR(r.width * r.height, area * c.weights[i] / total, area * 1e-9) << i;
      EXPECT_GE(r.x, c.bounds.x - 1e-6);
      EXPECT_GE(r.y, c.bounds.y - 1e-6);
      EXPECT_LE(r.x + r.width, c.bounds.x + c.bounds.width + 1e-6);
      EXPECT_LE(r.y + r.height, c.bounds.y + c.bounds.height + 1e-6);
      for (std::size_t j = 0; j < i; ++j) EXPECT_LT(overlap(r, rects[j]), 1e-6) << i << " " << j;
    }
  }
}

TEST(TreemapTest, EqualWeightsComeOutNearlySquare) {
  const std::vector<double> weights(16, 1.0);
  for (const Rect& r : squarify(weights, {0, 0, 400, 400})) {
    EXPECT_LT(std::max(r.width, r.height) / std::min(r.width, r.height), 1.5);
  }
}

}  // namespace
}  // namespace lomarind::cli
