#include "lomarind/utils/git_cli.h"

#include <gtest/gtest.h>

#include <string>

#include "support/isolated_git.h"
#include "support/temp_git_repo.h"

namespace lomarind::git_utils {
namespace {

using namespace std::string_literals;
using std::chrono::seconds;
using std::chrono::sys_seconds;
using testing::IsolatedGit;
using testing::TempDir;
using testing::TempGitRepo;

constexpr sys_seconds kNow{seconds{1'700'000'000}};

sys_seconds at(std::int64_t unix_seconds) { return sys_seconds{seconds{unix_seconds}}; }

class GitCliTest : public ::testing::Test {
 protected:
  IsolatedGit isolated_;
  GitCli git_{isolated_.runner(), [] { return kNow; }};
  TempGitRepo repo_;
};

TEST_F(GitCliTest, ResolvesBranchesOnlyPresentAsRemoteTracking) {
  repo_.write("a.txt", "a\n");
  std::string first = repo_.commit("first", 1000);
  repo_.git({"branch", "trunk"});
  repo_.git({"symbolic-ref", "HEAD", "refs/heads/trunk"});
  TempDir dir;
  repo_.git({"clone", "-q", repo_.root().string(), (dir.path() / "clone").string()});
  TempGitRepo clone(dir.path() / "clone");
  clone.git({"checkout", "-q", "--detach"});
  clone.git({"branch", "-D", "-q", "trunk"});

  EXPECT_EQ(git_.resolve_commit(clone.root(), "trunk"), std::nullopt);
  EXPECT_EQ(git_.resolve_commit(clone.root(), "origin/trunk"), first);
  EXPECT_EQ(git_.resolve_commit(clone.root(), "origin/main"), first);
  EXPECT_EQ(git_.get_default_branch(clone.root()), "trunk");  // origin/HEAD wins over main
  EXPECT_EQ(git_.resolve_display_branch(clone.root()), "");

  clone.git({"update-ref", "-d", "refs/remotes/origin/trunk"});  // origin/HEAD now dangles
  EXPECT_EQ(git_.get_default_branch(clone.root()), "main");
}

TEST_F(GitCliTest, DefaultBranchFallsBackToMainThenMaster) {
  EXPECT_EQ(git_.get_default_branch(repo_.root()), "main");  // no commit at all
  repo_.commit("first", 1000);
  repo_.git({"branch", "-m", "main", "master"});
  EXPECT_EQ(git_.get_default_branch(repo_.root()), "master");
  repo_.git({"branch", "-m", "master", "other"});
  EXPECT_EQ(git_.get_default_branch(repo_.root()), "main");
  repo_.git({"branch", "main"});
  repo_.git({"branch", "master"});
  EXPECT_EQ(git_.get_default_branch(repo_.root()), "main");
}

TEST_F(GitCliTest, NamesThatDoNotResolveAreAbsent) {
  EXPECT_EQ(git_.resolve_commit(repo_.root(), "HEAD"), std::nullopt);  // no commit yet
  repo_.write("a.txt", "a\n");
  std::string head = repo_.commit("first", 1000);
  for (const char* name : {"nope", "HEAD..HEAD", "HEAD@{99}", "", "HEAD:a.txt", "-h", "--all"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(git_.resolve_commit(repo_.root(), name), std::nullopt);
  }
  EXPECT_EQ(git_.resolve_commit(repo_.root(), "HEAD"), head);
  EXPECT_EQ(git_.resolve_commit(repo_.root(), head.substr(0, 12)), head);
  EXPECT_EQ(git_.resolve_display_branch(repo_.root()), "main");
}

TEST_F(GitCliTest, GitFailuresCarryGitsMessage) {
  TempDir not_a_repo;
  try {
    git_.resolve_commit(not_a_repo.path(), "HEAD");
    FAIL() << "no error";
  } catch (const GitError& e) {
    EXPECT_TRUE(std::string(e.what()).starts_with("fatal: not a git repository")) << e.what();
    EXPECT_EQ(e.exit_status(), 128);
  }
}

TEST_F(GitCliTest, PeriodsAreMeasuredFromTheClock) {
  EXPECT_EQ(git_.parse_time_spec("1 day"), kNow - std::chrono::days(1));
  EXPECT_THROW(git_.parse_time_spec("soon"), std::invalid_argument);
}

// main:    base(1000) -- main moves(2500)
// feature:      \-- feature 1(2000) -- feature 2(3000)
class GitCliBranchTest : public GitCliTest {
 protected:
  void SetUp() override {
    repo_.write("keep.txt", "1\n2\n3\n");
    repo_.write("old name.txt", "l1\nl2\nl3\nl4\nl5\nl6\nl7\nl8\nl9\nl10\n");
    repo_.write("gone.txt", "x\n");
    repo_.write("img.bin", "\0\1\2"s);
    repo_.write("shared.txt", "s\n");
    repo_.commit("base", 1000);
    repo_.git({"checkout", "-q", "-b", "feature"});
    repo_.remove("old name.txt");
    repo_.write("new \"name\".txt", "l1\nl2\nL3\nl4\nl5\nl6\nl7\nl8\nl9\nl10\n");
    repo_.remove("gone.txt");
    repo_.write("img.bin", "\0\1\3"s);
    repo_.write(kOddPath, "a\n");
    repo_.write("keep.txt", "1\nTWO\n3\n4\n");
    repo_.commit("feature 1", 2000);
    repo_.write("tab\there.txt", "t\n");
    repo_.commit("feature 2", 3000);
    repo_.git({"checkout", "-q", "main"});
    repo_.write("shared.txt", "S\n");
    repo_.commit("main moves", 2500);
  }

  const std::string kOddPath = "dir/caf\xc3\xa9\n\xff.txt";
};

TEST_F(GitCliBranchTest, ListsWhatTheHeadChangedSinceItLeftTheBase) {
  std::vector<FileChange> expected = {
      {kOddPath, "added", 1, 0, std::nullopt},
      {"gone.txt", "deleted", 0, 1, std::nullopt},
      {"img.bin", "modified", 0, 0, std::nullopt},
      {"keep.txt", "modified", 2, 1, std::nullopt},
      {"new \"name\".txt", "renamed", 1, 1, "old name.txt"},
      {"tab\there.txt", "added", 1, 0, std::nullopt},
  };
  EXPECT_EQ(git_.diff_file_changes(repo_.root(), "main", "feature"), expected);
  EXPECT_EQ(git_.count_commits(repo_.root(), "main", "feature"), 2);
  EXPECT_EQ(git_.count_commits(repo_.root(), "feature", "main"), 1);
}

TEST_F(GitCliBranchTest, LineSpansAreHeadSideHunksByHeadPath) {
  std::vector<std::string> paths = {"keep.txt", "new \"name\".txt", "old name.txt", "gone.txt",
                                    "img.bin",  kOddPath,           "shared.txt"};
  LineSpansByPath expected = {
      {kOddPath, {{1, 1, false}}},
      {"keep.txt", {{2, 2, false}, {4, 4, false}}},
      {"new \"name\".txt", {{3, 3, false}}},
  };
  EXPECT_EQ(git_.diff_line_spans(repo_.root(), "main", "feature", true, paths), expected);
  // Against main itself, main's own edit shows up as a change of the head.
  expected.emplace_back("shared.txt", std::vector<LineSpan>{{1, 1, false}});
  EXPECT_EQ(git_.diff_line_spans(repo_.root(), "main", "feature", false, paths), expected);
  EXPECT_EQ(git_.diff_line_spans(repo_.root(), "main", "feature", true, {"gone.txt"}),
            LineSpansByPath{});
}

// c1(1000) -- c2(2000) ------ merge(3000) -- c4(4000)
//                 \-- side(2500) --/
class GitCliLogTest : public GitCliTest {
 protected:
  void SetUp() override {
    repo_.write("a.txt", "a\n");
    c1_ = repo_.commit("c1", 1000);
    repo_.write("a.txt", "a\nb\n");
    repo_.write("b.bin", "\0\1"s);
    c2_ = repo_.commit("c2", 2000);
    repo_.git({"checkout", "-q", "-b", "side"});
    repo_.write("side.txt", "s\n");
    side_ = repo_.commit("side", 2500);
    repo_.git({"checkout", "-q", "main"});
    repo_.git({"merge", "-q", "--no-ff", "--no-commit", "side"});
    merge_ = repo_.commit("merge", 3000);
    repo_.git({"mv", "a.txt", "c.txt"});
    c4_ = repo_.commit("c4", 4000);
  }

  std::string c1_, c2_, side_, merge_, c4_;
};

TEST_F(GitCliLogTest, ListsCommitsSinceTheStartNewestFirst) {
  std::vector<CommitChanges> expected = {
      {c4_, 4000, {{"c.txt", "renamed", 0, 0, "a.txt"}}},
      {merge_, 3000, {}},
      {side_, 2500, {{"side.txt", "added", 1, 0, std::nullopt}}},
      {c2_,
       2000,
       {{"a.txt", "modified", 1, 0, std::nullopt}, {"b.bin", "added", 0, 0, std::nullopt}}},
  };
  EXPECT_EQ(git_.log_commit_changes(repo_.root(), at(2000), "main", 10), expected);
  expected.pop_back();
  EXPECT_EQ(git_.log_commit_changes(repo_.root(), at(2001), "main", 10), expected);
  expected.resize(2);
  EXPECT_EQ(git_.log_commit_changes(repo_.root(), at(0), c4_, 2), expected);
  EXPECT_TRUE(git_.log_commit_changes(repo_.root(), at(4001), "main", 10).empty());
  std::vector<CommitChanges> all = git_.log_commit_changes(repo_.root(), at(-100000), "main", 10);
  ASSERT_EQ(all.size(), 5u);
  EXPECT_EQ(all.back(), (CommitChanges{c1_, 1000, {{"a.txt", "added", 1, 0, std::nullopt}}}));
}

TEST_F(GitCliLogTest, CommitBeforeLeavesACommitAtTheStartToThePeriod) {
  struct Case {
    std::int64_t start;
    std::optional<std::string> expected;
  } cases[] = {
      {999, std::nullopt}, {1000, std::nullopt}, {1001, c1_},       {2000, c1_},
      {2001, c2_},         {2999, c2_},  // side (2500) is off the first-parent line
      {3001, merge_},      {99999, c4_},         {0, std::nullopt}, {-5, std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.start);
    EXPECT_EQ(git_.commit_before(repo_.root(), "main", at(c.start)), c.expected);
  }
}

TEST_F(GitCliTest, LongLogIsCutAtMaxCount) {
  constexpr int kCommits = 5100;
  std::string stream;
  for (int i = 1; i <= kCommits; ++i) {
    std::string n = std::to_string(100000 + i);  // six digits: "data 6"
    stream += "commit refs/heads/main\ncommitter T <t@example.com> " + n +
              " +0000\ndata 0\nM 100644 inline n.txt\ndata 6\n" + n + "\n";
  }
  repo_.git({"fast-import", "--quiet"}, stream);
  std::vector<CommitChanges> log = git_.log_commit_changes(repo_.root(), at(0), "main", 5000);
  ASSERT_EQ(log.size(), 5000u);
  EXPECT_EQ(log.front().timestamp, 100000 + kCommits);
  EXPECT_EQ(log.back().timestamp, 100000 + kCommits - 4999);
  EXPECT_EQ(log.back().files, (std::vector<FileChange>{{"n.txt", "modified", 1, 1, std::nullopt}}));
}

}  // namespace
}  // namespace lomarind::git_utils
