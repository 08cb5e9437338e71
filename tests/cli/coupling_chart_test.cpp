#include "cli/coupling_chart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

namespace gh = git_history;

gh::CouplingPair pair(std::string path, std::string coupled, double degree = 0.5) {
  return {.path = std::move(path),
          .coupled_path = std::move(coupled),
          .degree = degree,
          .shared_commits = 5,
          .commits = 7,
          .coupled_commits = 9};
}

TEST(CouplingChartTest, FilesTiedByPairsShareAClusterInTheOrderOfTheStrongestPair) {
  // Two clusters whose pairs interleave; the third pair joins two files the
  // first cluster had apart until then.
  const std::vector<gh::CouplingPair> pairs = {pair("a", "b"), pair("x", "y"), pair("c", "a"),
                                               pair("y", "z"), pair("d", "c")};
  std::vector<std::pair<std::string, std::size_t>> order;
  for (const ChartFile& file : chart_files(pairs)) order.emplace_back(file.path, file.cluster);
  EXPECT_THAT(order,
              ::testing::ElementsAre(std::pair{"a", 0u}, std::pair{"b", 0u}, std::pair{"c", 0u},
                                     std::pair{"d", 0u}, std::pair{"x", 1u}, std::pair{"y", 1u},
                                     std::pair{"z", 1u}));
  EXPECT_EQ(chart_files(pairs).front().commits, 7);
  EXPECT_EQ(chart_files(pairs)[1].commits, 9);
}

TEST(CouplingChartTest, EveryNameStaysTextAndEachPairIsOneArc) {
  const std::string svg = coupling_chart_svg(
      std::vector{pair("<script>x</script>.c", "it's \"q\".c", 0.9), pair("ok.c", "\x1b[2J.c")});
  EXPECT_EQ(svg.find("<script"), std::string::npos);
  EXPECT_NE(svg.find("&lt;script&gt;x&lt;/script&gt;.c"), std::string::npos);
  EXPECT_NE(svg.find("it&#39;s &quot;q&quot;.c"), std::string::npos);
  EXPECT_EQ(svg.find('\x1b'), std::string::npos);
  std::size_t arcs = 0;
  for (std::size_t at = svg.find("<path "); at != std::string::npos;
       at = svg.find("<path ", at + 1))
    ++arcs;
  EXPECT_EQ(arcs, 2u);
  EXPECT_EQ(coupling_chart_svg({}), "");
}

}  // namespace
}  // namespace lomarind::cli
