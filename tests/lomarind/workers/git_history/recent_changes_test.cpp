#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lomarind/workers/git_history/answer_json.h"
#include "lomarind/workers/git_history/git_history.h"
#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using testing::change;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecentChangesTest : public testing::GitHistoryTest {
 protected:
  void SetUp() override {
    git_.periods["2 weeks"] = std::chrono::sys_seconds(std::chrono::seconds(1000));
    git_.commits = {{"HEAD", "c9"}, {"origin/feature", "c8"}};
    git_.display_branch = "main";
    git_.before = "c0";
    // clang-format off
    git_.log = {
        {"c3", 1300, {change("src/b.py", "renamed", 1, 0, "src/a.py"),
                      change("tests/test_b.py", "modified", 1, 0)}},
        {"c2", 1300, {change("src/c.py", "modified", 2, 0), change("src/gone.py", "deleted", 0, 9)}},
        {"c1", 1100, {change("src/a.py", "modified", 1, 1), change("src/c.py", "modified", 1, 0),
                      change("src/d.py", "added", 3, 0)}},
    };
    // clang-format on
    git_.line_spans = {{"src/b.py", {{1, 1, false}}}};
    index_.symbols = {{"src/b.py", "B", "class", "b.B", 1, 30}};
  }

  Json ask(bool include_symbols, std::int64_t limit, std::int64_t offset, bool source_only,
           std::optional<std::string> branch = std::nullopt) {
    return to_json(history_.recent_changes(
        repository_, root_, {"2 weeks", branch, include_symbols, limit, offset, source_only}));
  }
};

TEST_F(RecentChangesTest, LatestFirstWithSymbolsSinceThePeriodStarted) {
  testing::expect_golden("recent_changes", ask(true, 3, 0, true));
  EXPECT_THAT(
      git_.calls,
      ElementsAre("parse_time_spec(2 weeks)", "resolve_commit(HEAD)", "resolve_display_branch()",
                  "log_commit_changes(since=1000, ref=c9, max_commits=5000)",
                  "commit_before(c9, 1000)",
                  "diff_line_spans(c0, c9, merge_base=false, paths=[src/b.py, src/a.py, "
                  "src/c.py])"));
  EXPECT_THAT(index_.calls, ElementsAre("indexed_paths([src/c.py, src/d.py, src/gone.py, src/b.py, "
                                        "tests/test_b.py])",
                                        "symbols_on_lines([src/b.py:1-1], per_file=10)"));

  git_.before = std::nullopt;  // the history starts inside the period
  ask(true, 2, 0, false);
  EXPECT_EQ(index_.calls.back(),
            "symbols_on_lines([src/b.py:1-2000000000, src/c.py:1-2000000000], per_file=10)");
}

TEST_F(RecentChangesTest, EmptyPagesReadNoSymbols) {
  const Json past_end = ask(true, 5, 7, false, "feature");
  EXPECT_EQ(past_end.at("branch"), "origin/feature");
  EXPECT_EQ(past_end.at("total_count"), 5);
  EXPECT_EQ(past_end.at("excluded_files"), 0);
  git_.log.clear();
  EXPECT_EQ(ask(true, 5, 0, false).dump(),
            R"({"since":"2 weeks","branch":"main","commit_count":0,"excluded_files":0,)"
            R"("files":[],"total_count":0,"truncated":false,"has_more":false,"offset":0})");
  for (const std::string& call : git_.calls) EXPECT_FALSE(call.starts_with("commit_before"));
  EXPECT_THAT(index_.calls, IsEmpty());
}

TEST_F(RecentChangesTest, GitFailuresAreTranslatedWhereverTheyHappen) {
  for (const char* op : {"log_commit_changes", "commit_before", "diff_line_spans"}) {
    SCOPED_TRACE(op);
    git_.fail_on = op;
    const GitHistoryError error = testing::history_error_of([&] { ask(true, 5, 0, false); });
    EXPECT_STREQ(error.what(), "git failed: fatal: bad object");
    EXPECT_TRUE(error.cause_is_git_error());
  }
  EXPECT_EQ(sink_.records.size(), 3u);
  EXPECT_STREQ(testing::history_error_of([&] { ask(false, 5, 0, false, "nope"); }).what(),
               "Branch 'nope' not found; leave branch empty to use the current branch");
}

}  // namespace
}  // namespace lomarind::git_history
