#include "lomarind/workers/git_history/coupling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "lomarind/workers/git_history/answer_json.h"
#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using git_utils::CommitChanges;
using git_utils::FileChange;
using testing::change;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A commit that modified `paths`.
CommitChanges edit(std::vector<std::string> paths) {
  CommitChanges commit{"c", 1500, {}};
  for (std::string& path : paths) commit.files.push_back(change(std::move(path), "modified", 1));
  return commit;
}

// `count` commits each modifying `paths`.
std::vector<CommitChanges> edits(int count, const std::vector<std::string>& paths) {
  return std::vector<CommitChanges>(static_cast<std::size_t>(count), edit(paths));
}

std::vector<CommitChanges> joined(std::vector<std::vector<CommitChanges>> parts) {
  std::vector<CommitChanges> log;
  for (auto& part : parts) log.insert(log.end(), part.begin(), part.end());
  return log;
}

// "path+coupled degree shared commits/coupled_commits" for each row.
std::vector<std::string> rows_of(const CouplingAnswer& answer) {
  std::vector<std::string> rows;
  for (const CouplingPair& p : answer.pairs) {
    rows.push_back(p.path + "+" + p.coupled_path + " " + Json(p.degree).dump() + " " +
                   std::to_string(p.shared_commits) + " " + std::to_string(p.commits) + "/" +
                   std::to_string(p.coupled_commits));
  }
  return rows;
}

class CouplingTest : public testing::GitHistoryTest {
 protected:
  void SetUp() override {
    git_.periods["1 year"] = std::chrono::sys_seconds(std::chrono::seconds(1000));
    git_.commits = {{"HEAD", "c9"}, {"main", "c1"}, {"topic", "c2"}};
    git_.display_branch = "topic";
  }

  // Every pair of any strength, in change sets of at most three files.
  CouplingOptions loose() const {
    return {.since = "1 year",
            .branch = std::nullopt,
            .path = std::nullopt,
            .source_only = false,
            .min_revisions = 1,
            .min_shared = 1,
            .min_degree = 0,
            .max_changeset = 3,
            .limit = 50,
            .offset = 0};
  }

  CouplingAnswer ask(const CouplingOptions& options) {
    return history_.change_coupling(repository_, root_, options);
  }
};

TEST_F(CouplingTest, CountsChangeSetsOfTheFoldedLog) {
  struct Case {
    std::string_view name;
    std::vector<CommitChanges> log;  // newest first
    void (*adjust)(CouplingOptions&);
    std::vector<std::string> rows;
    std::int64_t bulk_commits = 0;
  } cases[] = {
      {"a file renamed in the period is one file under its last path",
       {{"c3", 3, {change("a.py", "modified", 1), change("new.py", "renamed", 0, 0, "b.py")}},
        edit({"a.py", "b.py"}),
        edit({"b.py", "a.py"})},
       [](CouplingOptions&) {},
       {"a.py+new.py 1.0 3 3/3"}},
      {"a copy is a file of its own; ties go by path, then coupled path",
       {{"c2", 2, {change("a.py", "modified", 1), change("c.py", "copied", 1, 0, "b.py")}},
        edit({"a.py", "b.py"})},
       [](CouplingOptions&) {},
       {"a.py+b.py 0.67 1 2/1", "a.py+c.py 0.67 1 2/1"}},
      {"a deleted file pairs with nothing, yet its commit counts for the others",
       {{"c2", 2, {change("a.py", "modified", 1), change("b.py", "deleted")}},
        edit({"a.py", "b.py", "c.py"})},
       [](CouplingOptions&) {},
       {"a.py+c.py 0.67 1 2/1"}},
      {"a rename onto a changed path drops the record there, and its commits with it",
       {{"c3", 3, {change("a.py", "modified", 1), change("b.py", "renamed", 0, 0, "c.py")}},
        edit({"c.py"}),
        edit({"a.py", "b.py"})},
       [](CouplingOptions&) {},
       {"a.py+b.py 0.5 1 2/2"}},
      {"a commit over max_changeset counts nowhere; one at it counts",
       {edit({"a.py", "b.py", "c.py", "d.py"}), edit({"a.py", "b.py", "c.py"})},
       [](CouplingOptions&) {},
       {"a.py+b.py 1.0 1 1/1", "a.py+c.py 1.0 1 1/1", "b.py+c.py 1.0 1 1/1"},
       1},
      {"a commit that names one file twice holds it once",
       {edit({"a.py", "a.py", "b.py"}), edit({"a.py"})},
       [](CouplingOptions&) {},
       {"a.py+b.py 0.67 1 2/1"}},
      {"merge commits list no files and count nowhere",
       {CommitChanges{"m", 3, {}}, edit({"a.py", "b.py"})},
       [](CouplingOptions&) {},
       {"a.py+b.py 1.0 1 1/1"}},
      {"revisions, shared and the rounded degree each at their threshold",
       joined({edits(3, {"a.py", "b.py"}), edits(1, {"a.py"})}),
       [](CouplingOptions& o) {
         o.min_revisions = 3;
         o.min_shared = 3;
         o.min_degree = 0.86;  // 6/7 is 0.857...: the rounded degree decides
       },
       {"a.py+b.py 0.86 3 4/3"}},
      {"one past each threshold lists nothing",
       joined({edits(3, {"a.py", "b.py"}), edits(1, {"a.py"})}),
       [](CouplingOptions& o) { o.min_revisions = 4; },
       {}},
      {"shared one short",
       joined({edits(3, {"a.py", "b.py"}), edits(1, {"a.py"})}),
       [](CouplingOptions& o) { o.min_shared = 4; },
       {}},
      {"degree a hair above the rounded one",
       joined({edits(3, {"a.py", "b.py"}), edits(1, {"a.py"})}),
       [](CouplingOptions& o) { o.min_degree = 0.861; },
       {}},
      {"an exact half rounds to the even digit, as risk scores do",
       joined({edits(1, {"a.py", "b.py"}), edits(14, {"a.py"}),   // 2/16 = 0.125
               edits(3, {"c.py", "d.py"}), edits(10, {"c.py"}),   // 6/16 = 0.375
               edits(5, {"e.py", "f.py"}), edits(6, {"e.py"})}),  // 10/16 = 0.625
       [](CouplingOptions&) {},
       {"e.py+f.py 0.62 5 11/5", "c.py+d.py 0.38 3 13/3", "a.py+b.py 0.12 1 15/1"}},
      {"with a path, only its pairs, the path always first",
       joined({edits(2, {"a.py", "b.py", "c.py"}), edits(1, {"c.py", "d.py"})}),
       [](CouplingOptions& o) { o.path = "c.py"; },
       {"c.py+a.py 0.8 2 3/2", "c.py+b.py 0.8 2 3/2", "c.py+d.py 0.5 1 3/1"}},
      {"a path the period never changed has no pairs; bulk commits still count",
       {edit({"a.py", "b.py", "c.py", "d.py"}), edit({"a.py", "b.py"})},
       [](CouplingOptions& o) { o.path = "z.py"; },
       {},
       1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    git_.log = c.log;
    CouplingOptions options = loose();
    c.adjust(options);
    const CouplingAnswer answer = ask(options);
    EXPECT_EQ(rows_of(answer), c.rows);
    EXPECT_EQ(answer.bulk_commits, c.bulk_commits);
    EXPECT_EQ(answer.page.total_count, static_cast<std::int64_t>(c.rows.size()));
  }
}

TEST_F(CouplingTest, SourceOnlyKeepsProductionSourceWithOneIndexQuery) {
  git_.log = {edit({"a.py", "tests/test_a.py", "README.md"}),
              edit({"a.py", "tests/test_a.py", "b.py"}),
              {"c1", 1, {change("a.py", "modified"), change("gone.py", "deleted")}}};
  CouplingOptions options = loose();
  options.source_only = true;
  const CouplingAnswer answer = ask(options);
  EXPECT_THAT(rows_of(answer), ElementsAre("a.py+b.py 0.5 1 3/1"));
  EXPECT_EQ(answer.excluded_files, 2);  // the test and the document; the deleted file is gone
  EXPECT_THAT(index_.calls, ElementsAre("indexed_paths([a.py, tests/test_a.py, b.py, README.md])"));
  index_.calls.clear();
  options.source_only = false;
  EXPECT_EQ(ask(options).excluded_files, 0);
  EXPECT_THAT(index_.calls, IsEmpty());
}

TEST_F(CouplingTest, ThePageIsCutFromTheWholeOrderAndTheLogReadOnce) {
  git_.log = joined({edits(4, {"src/a.py", "src/a_test.py"}), edits(3, {"b.py", "c.py"}),
                     edits(1, {"b.py", "src/a.py"}), edits(2, {"d.py", "e.py", "f.py"})});
  CouplingOptions options = loose();
  options.branch = "main";
  options.limit = 2;
  options.offset = 1;
  testing::expect_golden("coupling", to_json(ask(options)));
  EXPECT_THAT(git_.calls, ElementsAre("parse_time_spec(1 year)", "resolve_commit(main)",
                                      "log_commit_changes(since=1000, ref=c1, max_commits=5000)"));
}

TEST_F(CouplingTest, ThresholdsAreRefusedInOrderBeforeThePeriodAndGit) {
  struct Case {
    void (*adjust)(CouplingOptions&);
    std::string_view message;
  } cases[] = {
      {[](CouplingOptions& o) { o.min_revisions = 0, o.min_shared = 0; },
       "min_revisions must be at least 1; got 0"},
      {[](CouplingOptions& o) { o.min_shared = -3, o.min_degree = 2; },
       "min_shared must be at least 1; got -3"},
      {[](CouplingOptions& o) { o.min_degree = 1.5, o.max_changeset = 1; },
       "min_degree must be between 0 and 1; got 1.5"},
      {[](CouplingOptions& o) { o.min_degree = -0.25; },
       "min_degree must be between 0 and 1; got -0.25"},
      {[](CouplingOptions& o) { o.min_degree = std::nan(""); },
       "min_degree must be between 0 and 1; got nan"},
      {[](CouplingOptions& o) { o.max_changeset = 1, o.since = "soon"; },
       "max_changeset must be at least 2; got 1"},
  };
  for (const Case& c : cases) {
    CouplingOptions options = loose();
    c.adjust(options);
    EXPECT_EQ(testing::history_error_of([&] { ask(options); }).what(), c.message);
  }
  EXPECT_THAT(git_.calls, IsEmpty());
  CouplingOptions edges = loose();
  edges.min_degree = 1;
  edges.max_changeset = 2;
  EXPECT_NO_THROW(ask(edges));
  edges.min_degree = -0.0;  // not below 0
  EXPECT_NO_THROW(ask(edges));

  git_.calls.clear();
  edges.since = "soon";
  const GitHistoryError bad_period = testing::history_error_of([&] { ask(edges); });
  EXPECT_STREQ(bad_period.what(), "Cannot read the period 'soon'");
  EXPECT_THROW(std::rethrow_exception(bad_period.cause()), std::invalid_argument);
  EXPECT_THAT(git_.calls, ElementsAre("parse_time_spec(soon)"));
}

TEST(CheckThresholdsTest, QuotesTheValueAsTheCallerWroteIt) {
  const detail::CouplingThresholds refused{
      .min_revisions = 5, .min_shared = 5, .min_degree = 2, .max_changeset = 30};
  EXPECT_EQ(testing::history_error_of([&] { detail::check_thresholds(refused); }).what(),
            std::string("min_degree must be between 0 and 1; got 2.0"));
  EXPECT_EQ(testing::history_error_of([&] {
              detail::check_thresholds(
                  refused, [](std::string_view option) { return "<" + std::string(option) + ">"; });
            }).what(),
            std::string("min_degree must be between 0 and 1; got <min_degree>"));
}

}  // namespace
}  // namespace lomarind::git_history
