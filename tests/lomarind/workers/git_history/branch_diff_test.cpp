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

class BranchDiffAnswerTest : public testing::GitHistoryTest {
 protected:
  void SetUp() override {
    git_.commits = {{"main", "c1"}, {"feature", "c2"}, {"HEAD", "c1"}};
    git_.display_branch = "main";
    git_.commit_count = 4;
    git_.diff_files = {
        change("docs/guide.md", "modified", 5, 5), change("src/app.py", "modified", 7, 3),
        change("tests/test_app.py", "modified", 20, 0), change("src/new.py", "added", 4, 0),
        change("src/b.py", "renamed", 1, 1, "src/a.py")};
    git_.line_spans = {{"src/app.py", {{10, 12, false}}}};
    index_.facts = {{"src/app.py", {"python", "app"}}, {"docs/guide.md", {"markdown", "docs"}}};
    index_.symbols = {{"src/app.py", "run", "function", "app.run", 9, 20},
                      {"src/new.py", "New", "class", "new.New", 1, 4}};
  }

  Json ask(std::optional<std::string> head, bool include_symbols, std::int64_t limit,
           std::int64_t offset, bool source_only) {
    return to_json(history_.branch_diff(
        repository_, root_, {"main", head, include_symbols, limit, offset, source_only}));
  }
};

TEST_F(BranchDiffAnswerTest, FiltersPagesAndReadsSymbolsForThePageOnly) {
  testing::expect_golden("branch_diff", ask("feature", true, 2, 0, true));
  EXPECT_THAT(git_.calls,
              ElementsAre("resolve_commit(main)", "resolve_commit(feature)",
                          "diff_file_changes(c1, c2)", "count_commits(c1, c2)",
                          "diff_line_spans(c1, c2, merge_base=true, paths=[src/app.py])"));
  EXPECT_THAT(index_.calls,
              ElementsAre("indexed_paths([tests/test_app.py, docs/guide.md, src/app.py, "
                          "src/new.py, src/b.py])",
                          "symbols_on_lines([src/app.py:10-12, src/new.py:1-2000000000], "
                          "per_file=10)"));
  EXPECT_THAT(index_.kinds, ::testing::ElementsAreArray(retrieval::RETRIEVABLE_KINDS));
}

TEST_F(BranchDiffAnswerTest, EmptyPagesReadNothingMore) {
  EXPECT_EQ(ask(std::nullopt, true, 10, 0, false).dump(),
            R"({"base_branch":"main","head_branch":"main","commit_count":0,"excluded_files":0,)"
            R"("note":"Already on base branch","files":[],"total_count":0,"truncated":false,)"
            R"("has_more":false,"offset":0})");
  EXPECT_THAT(git_.calls, ElementsAre("resolve_commit(main)", "resolve_commit(HEAD)",
                                      "resolve_display_branch()"));
  EXPECT_THAT(index_.calls, IsEmpty());

  // A page past the end reads no symbols, yet counts every file.
  const Json answer = ask("feature", true, 10, 9, false);
  EXPECT_EQ(answer.at("files"), Json::array());
  EXPECT_EQ(answer.at("total_count"), 5);
  EXPECT_EQ(answer.at("excluded_files"), 0);
  EXPECT_EQ(answer.at("commit_count"), 4);
  EXPECT_EQ(git_.calls.back(), "count_commits(c1, c2)");
  EXPECT_THAT(index_.calls, IsEmpty());
  EXPECT_STREQ(testing::history_error_of([&] { ask("x", false, 1, 0, false); }).what(),
               "Branch 'x' not found; leave head_branch empty to use the current branch");
}

}  // namespace
}  // namespace lomarind::git_history
