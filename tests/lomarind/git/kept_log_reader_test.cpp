#include "lomarind/git/kept_log_reader.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/fake_history_neighbours.h"

namespace lomarind::git_utils {
namespace {

using testing::change;

class KeptLogReaderTest : public testing::GitHistoryTest {
 protected:
  void SetUp() override {
    git_.periods["2 weeks"] = std::chrono::sys_seconds(std::chrono::seconds(1000));
    git_.commits = {{"HEAD", "c9"}};
    git_.display_branch = "main";
    git_.log = {{"c2", 1200, {change("a.py", "modified", 3, 1), change("b.py", "added", 5, 0)}},
                {"c1", 1100, {change("a.py", "renamed", 1, 0, "old.py")}}};
    index_.facts = {{"a.py", {"python", "app"}}};
  }

  git_history::HotspotsOptions hotspots(std::string group_by) const {
    return {"2 weeks", std::nullopt, std::move(group_by), 50, 0, false};
  }

  KeptLogReader kept_{git_};
  git_history::GitHistory over_kept_{
      git_history::Neighbours{kept_, index_, filters_, logger_, parse_time_spec_}};
};

TEST_F(KeptLogReaderTest, AnswersOfOneReportReadTheLogOnceAndAgreeWithDirectAnswers) {
  const git_history::RecentChangesOptions recent{"2 weeks", std::nullopt, false, 50, 0, false};
  const git_history::HotspotsAnswer files = history_.hotspots(repository_, root_, hotspots("file"));
  const git_history::HotspotsAnswer components =
      history_.hotspots(repository_, root_, hotspots("component"));
  const git_history::RecentChangesAnswer changes =
      history_.recent_changes(repository_, root_, recent);
  git_.calls.clear();

  EXPECT_EQ(over_kept_.hotspots(repository_, root_, hotspots("file")), files);
  EXPECT_EQ(over_kept_.hotspots(repository_, root_, hotspots("component")), components);
  EXPECT_EQ(over_kept_.recent_changes(repository_, root_, recent), changes);
  EXPECT_EQ(testing::count_of(git_.calls, "log_commit_changes"), 1);
  EXPECT_EQ(testing::count_of(git_.calls, "resolve_commit"), 1);
  EXPECT_EQ(testing::count_of(git_.calls, "resolve_display_branch"), 1);
  ASSERT_TRUE(kept_.last_log().has_value());
  EXPECT_EQ(kept_.last_log()->commits, git_.log);
}

TEST_F(KeptLogReaderTest, AnotherRequestReadsAgainAndAFailedReadKeepsNothing) {
  const std::chrono::sys_seconds early{std::chrono::seconds(10)};
  const std::chrono::sys_seconds late{std::chrono::seconds(20)};
  kept_.log_commit_changes(root_, early, "c9", 5000);
  kept_.log_commit_changes(root_, early, "c9", 5000);
  kept_.log_commit_changes(root_, late, "c9", 5000);
  kept_.log_commit_changes(root_, late, "c8", 5000);
  kept_.log_commit_changes(root_, late, "c8", 10);
  kept_.log_commit_changes(root_, early, "c9", 5000);
  EXPECT_EQ(testing::count_of(git_.calls, "log_commit_changes"), 5);
  EXPECT_EQ(kept_.last_log()->since, early);

  git_.fail_on = "log_commit_changes";
  EXPECT_THROW(kept_.log_commit_changes(root_, late, "c9", 5000), GitError);
  EXPECT_FALSE(kept_.last_log().has_value());
}

}  // namespace
}  // namespace lomarind::git_utils
