#include "lomarind/workers/git_history/period.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_git_reader.h"

namespace lomarind::git_history::detail {
namespace {

using git_utils::CommitChanges;
using git_utils::FileChange;
using testing::change;

TEST(HistoriesTest, FollowsFilesAcrossRenamesInMapOrder) {
  struct Case {
    const char* name;
    std::vector<CommitChanges> log;  // newest first
    std::vector<PathHistory> expected;
  } cases[] = {
      {"edits sum up, the greatest timestamp wins, one commit keeps its file order",
       {{"c3", 30, {change("z", "modified", 1, 0)}},
        {"c2", 50, {change("z", "modified", 2, 1), change("a", "added", 1, 0)}},
        {"c1", 10, {change("z", "modified", 3, 2)}}},
       {PathHistory{"z", "z", false, true, 3, 6, 3, 50},
        PathHistory{"a", "a", true, true, 1, 1, 0, 50}}},
      {"added then deleted; deleted then re-added",
       {{"c2", 20, {change("a", "deleted", 0, 4), change("b", "added", 1, 0)}},
        {"c1", 10, {change("a", "added", 4, 0), change("b", "deleted", 0, 4)}}},
       {PathHistory{"a", "a", true, false, 2, 4, 4, 20},
        PathHistory{"b", "b", false, true, 2, 1, 4, 20}}},
      {"edit, rename with an edit, rename: one record under the last path",
       {{"c3", 30, {change("C", "renamed", 0, 0, "B")}},
        {"c2", 20, {change("B", "renamed", 1, 0, "A")}},
        {"c1", 10, {change("A", "modified", 2, 0)}}},
       {PathHistory{"C", "A", false, true, 3, 3, 0, 30}}},
      {"a rename goes to the end",
       {{"c2", 20, {change("C", "renamed", 0, 0, "A")}},
        {"c1", 10, {change("A", "modified", 1, 0), change("B", "modified", 1, 0)}}},
       {PathHistory{"B", "B", false, true, 1, 1, 0, 10},
        PathHistory{"C", "A", false, true, 2, 1, 0, 20}}},
      {"a rename onto an existing record takes its place",
       {{"c2", 20, {change("B", "renamed", 0, 0, "A")}},
        {"c1",
         10,
         {change("B", "added", 9, 0), change("A", "modified", 1, 0),
          change("Z", "modified", 1, 0)}}},
       {PathHistory{"B", "A", false, true, 2, 1, 0, 20},
        PathHistory{"Z", "Z", false, true, 1, 1, 0, 10}}},
      {"a copy starts a new record",
       {{"c2", 20, {change("B", "copied", 3, 0, "A")}},
        {"c1", 10, {change("A", "modified", 1, 0)}}},
       {PathHistory{"A", "A", false, true, 1, 1, 0, 10},
        PathHistory{"B", "B", true, true, 1, 3, 0, 20}}},
      {"empty log", {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(histories(c.log), c.expected);
  }
}

TEST(PeriodFieldsTest, FlagsTheCommitLimitOnlyWhenReached) {
  std::vector<CommitChanges> log(MAX_COMMITS - 1);
  EXPECT_EQ(period_fields("2 weeks", "main", log),
            (PeriodFields{.since = "2 weeks", .branch = "main", .commit_count = 4999}));
  log.emplace_back();
  EXPECT_EQ(period_fields("2 weeks", "main", log), (PeriodFields{.since = "2 weeks",
                                                                 .branch = "main",
                                                                 .commit_count = 5000,
                                                                 .commit_limit_reached = true}));
}

}  // namespace
}  // namespace lomarind::git_history::detail
