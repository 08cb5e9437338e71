#include "lomarind/workers/git_history/symbols.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using git_utils::FileChange;
using git_utils::LineSpansByPath;
using testing::change;

class SymbolsTest : public testing::GitHistoryTest {};

TEST_F(SymbolsTest, WholeFilesWithoutGitAndOneDiffForTheEditedOnes) {
  const std::vector<git_utils::LineSpan> whole = {detail::kWholeFile};
  struct Case {
    const char* name;
    std::optional<std::string> base;
    std::vector<FileChange> files;
    LineSpansByPath expected;
    std::string calls;
  } cases[] = {
      // clang-format off
      {"only deleted", "c0", {change("a", "deleted")}, {}, ""},
      {"added, copied, added again", "c0",
       {change("a", "added"), change("b", "copied", 0, 0, "a"), change("a", "added")},
       {{"a", whole}, {"b", whole}}, ""},
      {"no base: every file whole", std::nullopt,
       {change("a", "modified"), change("b", "renamed", 0, 0, "o"), change("c", "deleted")},
       {{"a", whole}, {"b", whole}}, ""},
      {"one diff; its entries replace in place", "c0",
       {change("m", "modified"), change("r", "added"), change("x", "renamed", 0, 0, "o"),
        change("t", "typechange"), change("z", "added")},
       {{"r", {{3, 5, false}}}, {"z", whole}, {"m", {{1, 1, false}}}},
       "diff_line_spans(c0, c9, merge_base=true, paths=[m, x, o, t])"},
      // clang-format on
  };
  git_.line_spans = {{"r", {{3, 5, false}}}, {"m", {{1, 1, false}}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    git_.calls.clear();
    EXPECT_EQ(history_.changed_line_spans(root_, c.base, "c9", c.files, {.merge_base = true}),
              c.expected);
    EXPECT_EQ(testing::joined(git_.calls), c.calls);
  }
}

TEST_F(SymbolsTest, OneQuerySeededInFileOrderWithStrangersAtTheEnd) {
  index_.symbols = {{"b", "f", "function", "m.f", 3, 9},
                    {"stranger", "g", "class", "g", 1, 2},
                    {"b", "h", "method", "m.C.h", 4, 4}};
  const std::vector<FileChange> files = {change("d", "deleted"), change("b", "added"),
                                         change("d", "deleted")};
  const SymbolsByPath symbols =
      history_.touched_symbols(repository_, root_, "c0", "c9", files, {.merge_base = true});
  ASSERT_EQ(symbols.size(), 3u);
  EXPECT_EQ(symbols[0], (std::pair<std::string, std::vector<Json>>{"d", {}}));
  EXPECT_EQ(Json(symbols[1].second).dump(),
            R"([{"name":"f","kind":"function","fqn":"m.f","line":3,"end_line":9},)"
            R"({"name":"h","kind":"method","fqn":"m.C.h","line":4,"end_line":4}])");
  EXPECT_EQ(symbols[2].first, "stranger");
  EXPECT_EQ(testing::joined(index_.calls), "symbols_on_lines([b:1-2000000000], per_file=10)");
  EXPECT_THAT(index_.kinds, ::testing::ElementsAreArray(retrieval::RETRIEVABLE_KINDS));
  EXPECT_TRUE(git_.calls.empty());
}

TEST(AttachSymbolsTest, ReplacesInPlaceAndGivesMissingRowsAnEmptyList) {
  std::vector<Json> rows = {Json{{"path", "a"}, {"symbols", 1}, {"commits", 2}},
                            Json{{"path", "b"}}};
  detail::attach_symbols(rows, {{"a", {Json("s")}}});
  EXPECT_EQ(Json(rows).dump(),
            R"([{"path":"a","symbols":["s"],"commits":2},{"path":"b","symbols":[]}])");
}

}  // namespace
}  // namespace lomarind::git_history
