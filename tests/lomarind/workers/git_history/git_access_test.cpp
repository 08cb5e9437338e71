#include "lomarind/workers/git_history/git_access.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class GitAccessTest : public testing::GitHistoryTest {};

TEST_F(GitAccessTest, ResolversReadInOrderAndSayWhatToChange) {
  const std::string no_default =
      "No default branch found (origin/HEAD, main or master): give base_branch";
  struct Case {
    const char* name;
    std::map<std::string, std::string> commits;
    std::optional<std::string> display;
    bool base;  // resolve_base, else resolve_head for "head_branch"
    std::optional<std::string> asked;
    std::string expected;  // "name@commit", or the error message
    std::vector<std::string> calls;
  } cases[] = {
      {"checked-out head",
       {{"HEAD", "c1"}},
       "feature",
       false,
       std::nullopt,
       "feature@c1",
       {"resolve_commit(HEAD)", "resolve_display_branch()"}},
      {"detached head",
       {{"HEAD", "c1"}},
       "",
       false,
       std::nullopt,
       "HEAD@c1",
       {"resolve_commit(HEAD)", "resolve_display_branch()"}},
      {"no display branch",
       {{"HEAD", "c1"}},
       std::nullopt,
       false,
       std::nullopt,
       "HEAD@c1",
       {"resolve_commit(HEAD)", "resolve_display_branch()"}},
      {"no commit yet",
       {},
       "main",
       false,
       std::nullopt,
       "The repository has no commit yet",
       {"resolve_commit(HEAD)"}},
      {"remote-only head",
       {{"origin/feature/x", "c2"}},
       {},
       false,
       "feature/x",
       "origin/feature/x@c2",
       {"resolve_commit(feature/x)", "resolve_commit(origin/feature/x)"}},
      {"local wins",
       {{"x", "c1"}, {"origin/x", "c2"}},
       {},
       false,
       "x",
       "x@c1",
       {"resolve_commit(x)"}},
      {"no double prefix",
       {},
       {},
       false,
       "origin/x",
       "Branch 'origin/x' not found; leave head_branch empty to use the current branch",
       {"resolve_commit(origin/x)"}},
      {"quote in name",
       {},
       {},
       false,
       "it's",
       "Branch \"it's\" not found; leave head_branch empty to use the current branch",
       {"resolve_commit(it's)", "resolve_commit(origin/it's)"}},
      {"empty name is a name",
       {{"HEAD", "c1"}},
       {},
       false,
       "",
       "Branch '' not found; leave head_branch empty to use the current branch",
       {"resolve_commit()", "resolve_commit(origin/)"}},
      {"named base",
       {{"develop", "c3"}},
       {},
       true,
       "develop",
       "develop@c3",
       {"resolve_commit(develop)"}},
      {"default base",
       {{"main", "c1"}, {"origin/main", "c2"}},
       {},
       true,
       std::nullopt,
       "main@c1",
       {"get_default_branch()", "resolve_commit(main)"}},
      {"remote default base",
       {{"origin/main", "c2"}},
       {},
       true,
       std::nullopt,
       "origin/main@c2",
       {"get_default_branch()", "resolve_commit(main)", "resolve_commit(origin/main)"}},
      {"no default base",
       {},
       {},
       true,
       std::nullopt,
       no_default,
       {"get_default_branch()", "resolve_commit(main)", "resolve_commit(origin/main)"}},
      {"missing base, default exists",
       {{"origin/main", "c2"}},
       {},
       true,
       "develop",
       "Base branch 'develop' not found; leave base_branch empty to use the default branch "
       "'origin/main'",
       {"resolve_commit(develop)", "resolve_commit(origin/develop)", "get_default_branch()",
        "resolve_commit(main)", "resolve_commit(origin/main)"}},
      {"missing base, no default",
       {},
       {},
       true,
       "develop",
       "Base branch 'develop' not found; and there is no default branch (origin/HEAD, main or "
       "master) either",
       {"resolve_commit(develop)", "resolve_commit(origin/develop)", "get_default_branch()",
        "resolve_commit(main)", "resolve_commit(origin/main)"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    git_.commits = c.commits;
    git_.display_branch = c.display;
    git_.calls.clear();
    std::string got;
    try {
      const detail::ResolvedRef ref =
          c.base ? detail::resolve_base(git_, root_, c.asked)
                 : detail::resolve_head(git_, root_, c.asked, "head_branch");
      got = ref.name + "@" + ref.commit;
    } catch (const GitHistoryError& error) {
      got = error.what();
      EXPECT_FALSE(error.cause());
    }
    EXPECT_EQ(got, c.expected);
    EXPECT_THAT(git_.calls, ElementsAreArray(c.calls));
  }
  EXPECT_THAT(sink_.records, IsEmpty());
}

TEST_F(GitAccessTest, GuardTurnsGitErrorIntoOneWarningAndKeepsTheCause) {
  const GitHistoryError error = testing::history_error_of([&] {
    detail::reading_git(logger_, [&] { return git_.count_commits(root_, "a", "b") + 1; });
    git_.fail_on = "count_commits";
    detail::reading_git(logger_, [&] { return git_.count_commits(root_, "a", "b"); });
  });
  EXPECT_STREQ(error.what(), "git failed: fatal: bad object");
  EXPECT_TRUE(error.cause_is_git_error());
  ASSERT_EQ(sink_.records.size(), 1u);
  EXPECT_EQ(sink_.records[0], (LogRecord{"lomarind.workers.git_history",
                                         LogLevel::kWarning,
                                         "git failed: %s",
                                         {"fatal: bad object"}}));
}

TEST_F(GitAccessTest, GuardLetsEveryOtherErrorThroughUntouched) {
  const GitHistoryError error = testing::history_error_of(
      [&] { detail::reading_git(logger_, [] { throw GitHistoryError("Branch 'x' not found"); }); });
  EXPECT_STREQ(error.what(), "Branch 'x' not found");
  EXPECT_FALSE(error.cause());
  EXPECT_THROW(detail::reading_git(logger_, [] { throw std::runtime_error("index"); }),
               std::runtime_error);
  EXPECT_EQ(detail::reading_git(logger_, [] { return 7; }), 7);
  EXPECT_THAT(sink_.records, IsEmpty());
}

TEST_F(GitAccessTest, BadPeriodCarriesTheParserMessageAndCause) {
  git_.periods["2 weeks"] = std::chrono::sys_seconds(std::chrono::seconds(100));
  EXPECT_EQ(detail::period_start(git_, "2 weeks").time_since_epoch().count(), 100);
  const GitHistoryError error =
      testing::history_error_of([&] { detail::period_start(git_, "soon"); });
  EXPECT_STREQ(error.what(), "Cannot read the period 'soon'");
  EXPECT_FALSE(error.cause_is_git_error());
  EXPECT_THROW(std::rethrow_exception(error.cause()), std::invalid_argument);
  EXPECT_THAT(sink_.records, IsEmpty());
}

}  // namespace
}  // namespace lomarind::git_history
