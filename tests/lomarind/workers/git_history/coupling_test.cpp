#include "lomarind/workers/git_history/coupling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "lomarind/workers/git_history/answer_json.h"
#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::log_of;

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
    git_.commits = {{"HEAD", "c9"}, {"main", "c1"}};
    git_.display_branch = "topic";
  }

  // Every pair of any strength, in change sets of at most three files.
  static CouplingOptions loose(detail::CouplingThresholds t = {1, 1, 0, 3}) {
    return {"1 year",     std::nullopt, std::nullopt,    false, t.min_revisions,
            t.min_shared, t.min_degree, t.max_changeset, 50,    0};
  }

  CouplingAnswer ask(const CouplingOptions& options) {
    return history_.change_coupling(repository_, root_, options);
  }
};

TEST_F(CouplingTest, CountsTheChangeSetsOfTheFoldedLog) {
  struct Case {
    std::string_view name;
    std::vector<git_utils::CommitChanges> log;
    CouplingOptions options;
    std::vector<std::string> rows;
    std::int64_t bulk_commits = 0;
  } cases[] = {
      {"a file renamed in the period is one file under its last path",
       log_of({"a.py new.py<b.py", "a.py b.py", "b.py a.py"}),
       loose(),
       {"a.py+new.py 1.0 3 3/3"}},
      {"a copy is a file of its own; ties go by path, then coupled path",
       log_of({"a.py c.py+b.py", "a.py b.py"}),
       loose(),
       {"a.py+b.py 0.67 1 2/1", "a.py+c.py 0.67 1 2/1"}},
      {"a deleted file pairs with nothing, yet its commits count for the others",
       log_of({"a.py -b.py", "a.py b.py c.py"}),
       loose(),
       {"a.py+c.py 0.67 1 2/1"}},
      {"a rename onto a changed path drops the record there, and its commits with it",
       log_of({"a.py b.py<c.py", "c.py", "a.py b.py"}),
       loose(),
       {"a.py+b.py 0.5 1 2/2"}},
      {"a commit over max_changeset counts nowhere; one at it counts",
       log_of({"a.py b.py c.py d.py", "a.py b.py c.py"}),
       loose(),
       {"a.py+b.py 1.0 1 1/1", "a.py+c.py 1.0 1 1/1", "b.py+c.py 1.0 1 1/1"},
       1},
      {"a commit that names one file twice holds it once; a merge names none",
       log_of({"", "a.py a.py b.py", "a.py"}),
       loose(),
       {"a.py+b.py 0.67 1 2/1"}},
      {"revisions, shared and the rounded degree each at their threshold (6/7 is 0.857)",
       log_of({"3*a.py b.py", "a.py"}),
       loose({3, 3, 0.86, 3}),
       {"a.py+b.py 0.86 3 4/3"}},
      {"revisions one short", log_of({"3*a.py b.py", "a.py"}), loose({4, 3, 0.86, 3}), {}},
      {"shared one short", log_of({"3*a.py b.py", "a.py"}), loose({3, 4, 0.86, 3}), {}},
      {"degree above the rounded one",
       log_of({"3*a.py b.py", "a.py"}),
       loose({3, 3, 0.861, 3}),
       {}},
      {"an exact half rounds to the even digit, as risk scores do: 2/16, 6/16, 10/16",
       log_of({"a.py b.py", "14*a.py", "3*c.py d.py", "10*c.py", "5*e.py f.py", "6*e.py"}),
       loose(),
       {"e.py+f.py 0.62 5 11/5", "c.py+d.py 0.38 3 13/3", "a.py+b.py 0.12 1 15/1"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    git_.log = c.log;
    const CouplingAnswer answer = ask(c.options);
    EXPECT_EQ(rows_of(answer), c.rows);
    EXPECT_EQ(answer.bulk_commits, c.bulk_commits);
    EXPECT_EQ(answer.page.total_count, static_cast<std::int64_t>(c.rows.size()));
  }
}

TEST_F(CouplingTest, APathKeepsOnlyItsPairsAndComesFirst) {
  git_.log = log_of({"2*a.py b.py c.py", "c.py d.py", "a.py b.py c.py d.py"});
  CouplingOptions options = loose();
  options.path = "c.py";
  const CouplingAnswer answer = ask(options);
  EXPECT_THAT(rows_of(answer),
              ElementsAre("c.py+a.py 0.8 2 3/2", "c.py+b.py 0.8 2 3/2", "c.py+d.py 0.5 1 3/1"));
  EXPECT_EQ(answer.bulk_commits, 1);
  options.path = "z.py";  // never changed: no pairs, the rest as before
  EXPECT_EQ(ask(options).pairs.size(), 0u);
  EXPECT_EQ(ask(options).bulk_commits, 1);
}

TEST_F(CouplingTest, SourceOnlyKeepsProductionSourceWithOneIndexQuery) {
  git_.log =
      log_of({"a.py tests/test_a.py README.md", "a.py tests/test_a.py b.py", "a.py -gone.py"});
  CouplingOptions options = loose();
  options.source_only = true;
  const CouplingAnswer answer = ask(options);
  EXPECT_THAT(rows_of(answer), ElementsAre("a.py+b.py 0.5 1 3/1"));
  EXPECT_EQ(answer.excluded_files, 2);  // the test and the document; the deleted file is gone
  EXPECT_THAT(index_.calls, ElementsAre("indexed_paths([a.py, tests/test_a.py, b.py, README.md])"));
}

TEST_F(CouplingTest, ThePageIsCutFromTheWholeOrderAndTheLogReadOnce) {
  git_.log =
      log_of({"4*src/a.py src/a_test.py", "3*b.py c.py", "b.py src/a.py", "2*d.py e.py f.py"});
  CouplingOptions options = loose();
  options.branch = "main";
  options.limit = 2;
  options.offset = 1;
  testing::expect_golden("coupling", to_json(ask(options)));
  EXPECT_THAT(git_.calls, ElementsAre("parse_time_spec(1 year)", "resolve_commit(main)",
                                      "log_commit_changes(since=1000, ref=c1, max_commits=5000)"));
}

TEST_F(CouplingTest, ThresholdsAreRefusedInOrderBeforeThePeriodAndGit) {
  const std::pair<detail::CouplingThresholds, std::string_view> cases[] = {
      {{0, 0, 2, 1}, "min_revisions must be at least 1; got 0"},
      {{1, -3, 2, 1}, "min_shared must be at least 1; got -3"},
      {{1, 1, 1.5, 1}, "min_degree must be between 0 and 1; got 1.5"},
      {{1, 1, -0.25, 2}, "min_degree must be between 0 and 1; got -0.25"},
      {{1, 1, std::nan(""), 2}, "min_degree must be between 0 and 1; got nan"},
      {{1, 1, 1, 1}, "max_changeset must be at least 2; got 1"},
  };
  for (const auto& [thresholds, message] : cases) {
    CouplingOptions options = loose(thresholds);
    options.since = "soon";
    EXPECT_EQ(testing::history_error_of([&] { ask(options); }).what(), message);
  }
  EXPECT_THAT(git_.calls, IsEmpty());
  EXPECT_NO_THROW(ask(loose({1, 1, -0.0, 2})));
  const GitHistoryError bad_period = testing::history_error_of([&] {
    CouplingOptions options = loose();
    options.since = "soon";
    ask(options);
  });
  EXPECT_STREQ(bad_period.what(), "Cannot read the period 'soon'");
  EXPECT_THROW(std::rethrow_exception(bad_period.cause()), std::invalid_argument);
  // A caller may quote the value as its own user wrote it.
  EXPECT_STREQ(testing::history_error_of([] {
                 detail::check_thresholds({1, 1, 2, 2}, [](std::string_view) { return "2"; });
               }).what(),
               "min_degree must be between 0 and 1; got 2");
}

}  // namespace
}  // namespace lomarind::git_history
