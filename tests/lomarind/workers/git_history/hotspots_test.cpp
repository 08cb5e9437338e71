#include "lomarind/workers/git_history/hotspots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lomarind/workers/git_history/answer_json.h"
#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using testing::change;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HotspotsTest : public testing::GitHistoryTest {
 protected:
  void SetUp() override {
    git_.periods["2 weeks"] = std::chrono::sys_seconds(std::chrono::seconds(1000));
    git_.commits = {{"HEAD", "c9"}};
    git_.display_branch = "main";
    // clang-format off
    git_.log = {
        {"c3", 1300, {change("a.py", "modified", 1, 1), change("gone.py", "deleted", 0, 5),
                      change("tests/test_x.py", "modified", 2, 0)}},
        {"c2", 1200, {change("a.py", "modified", 3, 0), change("b.py", "modified", 10, 0),
                      change("README.md", "modified", 1, 0)}},
        {"c1", 1100, {change("a.py", "modified", 1, 0), change("b.py", "added", 5, 0),
                      change("c.py", "modified", 1, 0), change("gone.py", "modified", 1, 0),
                      change("d.py", "modified", 0, 0)}},
    };
    index_.facts = {{"a.py", {"python", "app"}}, {"b.py", {"python", std::nullopt}},
                    {"c.py", {"python", "lib"}}, {"README.md", {"markdown", "docs"}},
                    {"tests/test_x.py", {"python", ""}}};
    // clang-format on
  }

  Json ask(std::string group_by, std::int64_t limit, std::int64_t offset, bool source_only) {
    return to_json(history_.hotspots(
        repository_, root_, {"2 weeks", std::nullopt, group_by, limit, offset, source_only}));
  }

  Json ask_short(std::int64_t limit) {
    return to_json(history_.file_hotspots(repository_, root_, {"2 weeks", std::nullopt, limit}));
  }
};

TEST_F(HotspotsTest, FilesOfTheSecondPageScoreAgainstTheBusiest) {
  testing::expect_golden("hotspots_files", ask("file", 3, 1, true));
  // One log for the period and one index query for all its files.
  EXPECT_EQ(testing::count_of(git_.calls, "log_commit_changes"), 1);
  EXPECT_EQ(index_.calls.size(), 1u);
}

TEST_F(HotspotsTest, ComponentsRankByCommitsThenNameWithUnknownForTheRest) {
  const Json answer = ask("component", 10, 0, true);
  EXPECT_EQ(answer.at("excluded_files"), 2);
  EXPECT_EQ(answer.at("hotspots").dump(),
            R"([{"name":"app","type":"component","commits":3,"additions":5,"deletions":1,)"
            R"("files":1,"risk_score":1.0},{"name":"unknown","type":"component","commits":3,)"
            R"("additions":15,"deletions":0,"files":2,"risk_score":1.0},{"name":"lib",)"
            R"("type":"component","commits":1,"additions":1,"deletions":0,"files":1,)"
            R"("risk_score":0.33}])");
}

TEST_F(HotspotsTest, BadGroupByFailsBeforeThePeriodAndBadPeriodBeforeGit) {
  const std::pair<std::string, std::string> cases[] = {{"File", "'File'"}, {"it's", "\"it's\""}};
  git_.periods.clear();
  for (const auto& [value, quoted] : cases) {
    EXPECT_EQ(testing::history_error_of([&, &value = value] { ask(value, 1, 0, false); }).what(),
              "group_by must be 'file' or 'component'; got " + quoted);
  }
  EXPECT_THAT(git_.calls, IsEmpty());
  const GitHistoryError bad_period = testing::history_error_of([&] { ask("file", 1, 0, false); });
  EXPECT_STREQ(bad_period.what(), "Cannot read the period '2 weeks'");
  EXPECT_THROW(std::rethrow_exception(bad_period.cause()), std::invalid_argument);
  EXPECT_THAT(git_.calls, ElementsAre("parse_time_spec(2 weeks)"));
  EXPECT_THAT(index_.calls, IsEmpty());
}

TEST(RiskScoreTest, RoundsTheExactQuotientHalfToEven) {
  const std::tuple<std::int64_t, std::int64_t, double> cases[] = {
      {1, 8, 0.12}, {3, 8, 0.38}, {1, 40, 0.03}, {3, 40, 0.07},  {5, 8, 0.62},
      {8, 8, 1.0},  {2, 3, 0.67}, {1, 3, 0.33},  {1, 200, 0.01}, {1, 201, 0.0}};
  for (const auto& [commits, busiest, expected] : cases) {
    EXPECT_EQ(detail::risk_score(commits, busiest), expected) << commits << "/" << busiest;
  }
  EXPECT_EQ(Json(detail::risk_score(4, 4)).dump(), "1.0");
}

TEST_F(HotspotsTest, FileHotspotsAreTheFirstSourcePageOrNothingWithoutAHistory) {
  EXPECT_EQ(ask_short(2), ask("file", 2, 0, true).at("hotspots"));
  EXPECT_THAT(ask_short(0), IsEmpty());
  git_.commits.clear();
  EXPECT_THAT(ask_short(5), IsEmpty());
  EXPECT_EQ(sink_.records.at(0), (LogRecord{"lomarind.workers.git_history",
                                            LogLevel::kInfo,
                                            "No hotspots for %s: %s",
                                            {"/repo", "The repository has no commit yet"}}));
  git_.commits = {{"HEAD", "c9"}};
  git_.fail_on = "log_commit_changes";
  EXPECT_TRUE(testing::history_error_of([&] { ask_short(5); }).cause_is_git_error());
  EXPECT_EQ(sink_.records.size(), 2u);  // and the warning
  EXPECT_EQ(sink_.records[1].level, LogLevel::kWarning);
}

}  // namespace
}  // namespace lomarind::git_history
