#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lomarind/workers/git_history/git_history.h"
#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using git_utils::FileChange;
using testing::change;
using ::testing::ElementsAre;

class BranchChangesTest : public testing::GitHistoryTest {};

TEST_F(BranchChangesTest, ResolvesBothThenReadsTheDiffAndTheCount) {
  git_.commits = {{"main", "c1"}, {"feature", "c2"}};
  git_.diff_files = {change("b.py", "modified", 1, 0), change("a.py", "added", 5, 0)};
  git_.commit_count = 3;
  const BranchChanges changes = history_.branch_changes(root_, "main", "feature");
  EXPECT_EQ(changes, BranchChanges("main", "feature", "c1", "c2", 3, git_.diff_files));
  EXPECT_EQ(changes.note(), std::nullopt);
  EXPECT_THAT(git_.calls, ElementsAre("resolve_commit(main)", "resolve_commit(feature)",
                                      "diff_file_changes(c1, c2)", "count_commits(c1, c2)"));
  EXPECT_STREQ(testing::history_error_of([&] {
                 history_.branch_changes(root_, "main", "x", {.head_parameter = "branch"});
               }).what(),
               "Branch 'x' not found; leave branch empty to use the current branch");
}

TEST(ByLinesChangedTest, MostLinesFirstThenCodePointPathOrderStably) {
  const std::vector<FileChange> files = {
      change("zero.py", "modified", 0, 0),     change("nine.py", "modified", 9, 0),
      change("\xc3\xa9.py", "modified", 2, 3), change("z.py", "modified", 5, 0),
      change("ten.py", "modified", 7, 3),      change("a.py", "modified", 1, 4),
      change("B.py", "modified", 4, 1),        change("a.py", "renamed", 0, 5, "old.py"),
      change("\x80.py", "modified", 5, 0),  // not UTF-8: U+DC80, after U+00E9
  };
  std::vector<std::string> order;
  for (const FileChange& file : by_lines_changed(files))
    order.push_back(file.path + " " + file.status);
  EXPECT_THAT(order, ElementsAre("ten.py modified", "nine.py modified", "B.py modified",
                                 "a.py modified", "a.py renamed", "z.py modified",
                                 "\xc3\xa9.py modified", "\x80.py modified", "zero.py modified"));
}

}  // namespace
}  // namespace lomarind::git_history
