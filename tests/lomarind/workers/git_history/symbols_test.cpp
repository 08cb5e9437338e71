#include "lomarind/workers/git_history/symbols.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using git_utils::FileChange;
using git_utils::LineSpan;
using git_utils::LineSpansByPath;
using testing::change;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class ChangedLinesTest : public testing::GitHistoryTest {};

TEST_F(ChangedLinesTest, WholeFilesWithoutGitAndOneDiffForTheEditedOnes) {
  const LineSpansByPath whole_a = {{"a", {detail::kWholeFile}}};
  struct Case {
    const char* name;
    std::optional<std::string> base;
    std::vector<FileChange> files;
    LineSpansByPath expected;
    std::vector<std::string> calls;
  } cases[] = {
      {"no files", "c0", {}, {}, {}},
      {"only deleted", "c0", {change("a", "deleted")}, {}, {}},
      {"added and copied",
       "c0",
       {change("a", "added"), change("b", "copied", 0, 0, "a")},
       {{"a", {detail::kWholeFile}}, {"b", {detail::kWholeFile}}},
       {}},
      {"no base: every file whole",
       std::nullopt,
       {change("a", "modified"), change("b", "renamed", 0, 0, "o"), change("c", "deleted")},
       {{"a", {detail::kWholeFile}}, {"b", {detail::kWholeFile}}},
       {}},
      {"same added path twice", "c0", {change("a", "added"), change("a", "added")}, whole_a, {}},
      {"edited files share one diff",
       "c0",
       {change("m", "modified"), change("a", "added"), change("r", "renamed", 0, 0, "o"),
        change("t", "typechange")},
       {{"a", {detail::kWholeFile}}, {"r", {{3, 5, false}}}, {"m", {{1, 1, false}}}},
       {"diff_line_spans(c0, c9, merge_base=true, paths=[m, r, o, t])"}},
  };
  git_.line_spans = {{"r", {{3, 5, false}}}, {"m", {{1, 1, false}}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    git_.calls.clear();
    EXPECT_EQ(history_.changed_line_spans(root_, c.base, "c9", c.files, {.merge_base = true}),
              c.expected);
    EXPECT_THAT(git_.calls, ElementsAreArray(c.calls));
  }
}

TEST_F(ChangedLinesTest, DiffReplacesAWholeFileEntryInPlace) {
  git_.line_spans = {{"b", {{2, 2, false}}}, {"a", {{7, 8, false}}}};
  const std::vector<FileChange> files = {change("a", "added"), change("b", "modified"),
                                         change("z", "added")};
  const LineSpansByPath spans =
      history_.changed_line_spans(root_, "c0", "c9", files, {.merge_base = false});
  EXPECT_EQ(spans,
            (LineSpansByPath{
                {"a", {{7, 8, false}}}, {"z", {detail::kWholeFile}}, {"b", {{2, 2, false}}}}));
  EXPECT_THAT(git_.calls, ElementsAre("diff_line_spans(c0, c9, merge_base=false, paths=[b])"));
}

TEST_F(ChangedLinesTest, GitFailureOfTheDiffIsTranslated) {
  git_.fail_on = "diff_line_spans";
  const std::vector<FileChange> files = {change("m", "modified")};
  EXPECT_STREQ(testing::history_error_of([&] {
                 history_.changed_line_spans(root_, "c0", "c9", files, {.merge_base = true});
               }).what(),
               "git failed: fatal: bad object");
  EXPECT_EQ(logged(LogLevel::kWarning).size(), 1u);
}

TEST(LineRangesTest, FollowsThePathsAskedFor) {
  const LineSpansByPath spans = {{"A", {{3, 5, false}, {10, 12, false}}}, {"B", {{1, 1, true}}}};
  const std::vector<std::string> paths = {"B", "gone", "A", "B"};
  EXPECT_EQ(line_ranges(spans, paths), (std::vector<repository_changes::LineRange>{
                                           {"B", 1, 1}, {"A", 3, 5}, {"A", 10, 12}, {"B", 1, 1}}));
}

class TouchedSymbolsTest : public testing::GitHistoryTest {};

TEST_F(TouchedSymbolsTest, OneQuerySeededInFileOrderWithStrangersAtTheEnd) {
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
  EXPECT_THAT(index_.calls, ElementsAre("symbols_on_lines([b:1-2000000000], per_file=10)"));
  EXPECT_THAT(index_.kinds, ElementsAreArray(retrieval::RETRIEVABLE_KINDS));
  EXPECT_THAT(git_.calls, IsEmpty());
}

TEST_F(TouchedSymbolsTest, AttachReplacesInPlaceAndGivesMissingRowsAnEmptyList) {
  std::vector<Json> rows = {Json{{"path", "a"}, {"symbols", 1}, {"commits", 2}},
                            Json{{"path", "b"}}, Json{{"path", "c"}}};
  detail::attach_symbols(rows, {{"a", {Json("s")}}});
  EXPECT_EQ(Json(rows).dump(),
            R"([{"path":"a","symbols":["s"],"commits":2},{"path":"b","symbols":[]},)"
            R"({"path":"c","symbols":[]}])");
}

}  // namespace
}  // namespace lomarind::git_history
