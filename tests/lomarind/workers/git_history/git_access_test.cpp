#include "lomarind/workers/git_history/git_access.h"

#include <gtest/gtest.h>

#include "support/fake_history_neighbours.h"

namespace lomarind::git_history {
namespace {

class GitAccessTest : public testing::GitHistoryTest {};

TEST_F(GitAccessTest, ResolversReadInOrderAndSayWhatToChange) {
  const std::string not_found = " not found; leave head_branch empty to use the current branch";
  const std::string defaults =
      "get_default_branch() resolve_commit(main) resolve_commit(origin/main)";
  struct Case {
    std::map<std::string, std::string> commits;
    bool base;  // resolve_base, else resolve_head for "head_branch"
    std::optional<std::string> asked;
    std::string expected;  // "name@commit", or the error message
    std::string calls;
  } cases[] = {
      // clang-format off
      {{{"HEAD", "c1"}}, false, {}, "HEAD@c1", "resolve_commit(HEAD) resolve_display_branch()"},
      {{}, false, {}, "The repository has no commit yet", "resolve_commit(HEAD)"},
      {{{"origin/f/x", "c2"}}, false, "f/x", "origin/f/x@c2",
       "resolve_commit(f/x) resolve_commit(origin/f/x)"},
      {{}, false, "origin/x", "Branch 'origin/x'" + not_found, "resolve_commit(origin/x)"},
      {{{"HEAD", "c1"}}, false, "", "Branch ''" + not_found,
       "resolve_commit() resolve_commit(origin/)"},
      {{{"dev", "c3"}}, true, "dev", "dev@c3", "resolve_commit(dev)"},
      {{{"main", "c1"}, {"origin/main", "c2"}}, true, {}, "main@c1",
       "get_default_branch() resolve_commit(main)"},
      {{{"origin/main", "c2"}}, true, {}, "origin/main@c2", defaults},
      {{}, true, {}, "No default branch found (origin/HEAD, main or master): give base_branch",
       defaults},
      {{{"origin/main", "c2"}}, true, "it's",
       "Base branch \"it's\" not found; leave base_branch empty to use the default branch "
       "'origin/main'",
       "resolve_commit(it's) resolve_commit(origin/it's) " + defaults},
      {{}, true, "dev",
       "Base branch 'dev' not found; and there is no default branch (origin/HEAD, main or "
       "master) either",
       "resolve_commit(dev) resolve_commit(origin/dev) " + defaults},
      // clang-format on
  };
  git_.display_branch = "";
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    git_.commits = c.commits;
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
    EXPECT_EQ(testing::joined(git_.calls), c.calls);
  }
  EXPECT_TRUE(sink_.records.empty());
}

TEST_F(GitAccessTest, GuardTranslatesOnlyGitErrorsWithOneWarning) {
  git_.fail_on = "count_commits";
  const GitHistoryError error = testing::history_error_of(
      [&] { detail::reading_git(logger_, [&] { return git_.count_commits(root_, "a", "b"); }); });
  EXPECT_STREQ(error.what(), "git failed: fatal: bad object");
  EXPECT_TRUE(error.cause_is_git_error());
  ASSERT_EQ(sink_.records.size(), 1u);
  EXPECT_EQ(sink_.records[0], (LogRecord{"lomarind.workers.git_history",
                                         LogLevel::kWarning,
                                         "git failed: %s",
                                         {"fatal: bad object"}}));

  const GitHistoryError own = testing::history_error_of(
      [&] { detail::reading_git(logger_, [] { throw GitHistoryError("Branch 'x' not found"); }); });
  EXPECT_STREQ(own.what(), "Branch 'x' not found");
  EXPECT_FALSE(own.cause());
  EXPECT_THROW(detail::reading_git(logger_, [] { throw std::runtime_error("index"); }),
               std::runtime_error);
  EXPECT_EQ(detail::reading_git(logger_, [] { return 7; }), 7);
  EXPECT_EQ(sink_.records.size(), 1u);
}

}  // namespace
}  // namespace lomarind::git_history
