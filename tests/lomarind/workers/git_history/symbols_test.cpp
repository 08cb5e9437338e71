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
      {"added, copied, deleted, added again: no git", "c0",
       {change("a", "added"), change("b", "copied", 0, 0, "a"), change("c", "deleted"),
        change("a", "added")},
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

}  // namespace
}  // namespace lomarind::git_history
