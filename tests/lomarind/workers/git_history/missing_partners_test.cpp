#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lomarind/workers/git_history/answer_json.h"
#include "lomarind/workers/git_history/git_history.h"
#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using testing::change;
using ::testing::ElementsAre;
using testing::log_of;

class MissingPartnersTest : public testing::GitHistoryTest {
 protected:
  void SetUp() override {
    git_.periods["1 year"] = std::chrono::sys_seconds(std::chrono::seconds(1000));
    git_.commits = {{"main", "c1"}, {"topic", "c2"}};
    git_.diff_files = {change("src/a.py", "modified", 1),
                       change("src/new.py", "renamed", 0, 0, "src/old.py"),
                       change("docs.md", "modified", 1)};
    // On the base: b with a 0.59 and with old 0.4; c and d with old 0.5 each;
    // d with b 0.67, neither of them changed; docs with old, both changed.
    git_.log = log_of({"5*src/a.py src/b.py", "5*src/old.py src/c.py",
                       "5*src/old.py src/b.py src/d.py", "2*src/a.py", "5*docs.md src/old.py"});
  }

  BranchDiffAnswer ask(std::optional<std::string> head, std::string since = "1 year") {
    return history_.branch_diff_with_partners(repository_, root_,
                                              {"main", head, false, 1, 0, false}, since);
  }
};

TEST_F(MissingPartnersTest, EachFileTheBranchLeftKeepsItsStrongestChangedPartner) {
  const BranchDiffAnswer answer = ask("topic");
  EXPECT_EQ(to_json(*answer.missing_partners).dump(),
            R"([{"path":"src/b.py","coupled_path":"src/a.py","degree":0.59,"shared_commits":5},)"
            R"({"path":"src/c.py","coupled_path":"src/old.py","degree":0.5,"shared_commits":5},)"
            R"({"path":"src/d.py","coupled_path":"src/old.py","degree":0.5,"shared_commits":5}])");
  // The base's history is read once, after the diff's own commands.
  EXPECT_THAT(git_.calls, ElementsAre("parse_time_spec(1 year)", "resolve_commit(main)",
                                      "resolve_commit(topic)", "diff_file_changes(c1, c2)",
                                      "count_commits(c1, c2)",
                                      "log_commit_changes(since=1000, ref=c1, max_commits=5000)"));
  // Last key, after the page of files.
  const Json json = to_json(answer);
  EXPECT_EQ(json.items().begin().key(), "base_branch");
  EXPECT_EQ(std::prev(json.end()).key(), "missing_partners");
  EXPECT_EQ(json.at("files").size(), 1u);
}

TEST_F(MissingPartnersTest, TiesGoToThePartnerByPathAndTheListStopsAtTwenty) {
  git_.log = log_of({"5*m.py src/new.py", "5*m.py src/a.py"});
  EXPECT_EQ(to_json(*ask("topic").missing_partners).dump(),
            R"([{"path":"m.py","coupled_path":"src/a.py","degree":0.67,"shared_commits":5}])");

  std::string many = "5*src/a.py";
  for (int i = 124; i >= 100; --i) many += " f" + std::to_string(i) + ".py";
  git_.log = log_of({many});
  const BranchDiffAnswer answer = ask("topic");
  std::vector<std::string> missing;
  for (const MissingPartner& row : *answer.missing_partners) missing.push_back(row.path);
  ASSERT_EQ(missing.size(), kMaxMissingPartners);
  EXPECT_EQ(missing.front(), "f100.py");
  EXPECT_EQ(missing.back(), "f119.py");
}

TEST_F(MissingPartnersTest, NothingToCompareReadsNoLogAndABadPeriodNoGit) {
  const BranchDiffAnswer same = ask("main");
  EXPECT_EQ(same.missing_partners, std::vector<MissingPartner>{});
  EXPECT_EQ(git_.calls.back(), "resolve_commit(main)");

  git_.calls.clear();
  EXPECT_STREQ(testing::history_error_of([&] { ask("nope", "someday"); }).what(),
               "Cannot read the period 'someday'");
  EXPECT_THAT(git_.calls, ElementsAre("parse_time_spec(someday)"));

  // The names are checked as the branch answer checks them.
  EXPECT_STREQ(testing::history_error_of([&] {
                 history_.missing_partners(repository_, root_,
                                           {.base_branch = "main",
                                            .head_branch = "nope",
                                            .since = "1 year",
                                            .source_only = false});
               }).what(),
               "Branch 'nope' not found; leave head_branch empty to use the current branch");
}

}  // namespace
}  // namespace lomarind::git_history
