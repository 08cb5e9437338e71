#include "lomarind/git/git_cli.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <tuple>

#include "support/isolated_git.h"
#include "support/temp_git_repo.h"

namespace lomarind::git_utils {
namespace {

using testing::git_error;
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
  GitCli git_{isolated_.runner()};
  TempGitRepo repo_;
};

TEST_F(GitCliTest, ResolvesBranchesOnlyPresentAsRemoteTracking) {
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
  EXPECT_EQ(git_.get_default_branch(clone.root()), "trunk");  // origin/HEAD wins over main
  EXPECT_EQ(git_.resolve_display_branch(clone.root()), "");
  clone.git({"update-ref", "-d", "refs/remotes/origin/trunk"});  // origin/HEAD now dangles
  EXPECT_EQ(git_.get_default_branch(clone.root()), "main");
}

TEST_F(GitCliTest, DefaultBranchFallsBackToMainThenMaster) {
  EXPECT_EQ(git_.resolve_commit(repo_.root(), "HEAD"), std::nullopt);  // no commit yet
  EXPECT_EQ(git_.get_default_branch(repo_.root()), "main");
  repo_.commit("first", 1000);
  repo_.git({"branch", "-m", "main", "master"});
  EXPECT_EQ(git_.get_default_branch(repo_.root()), "master");
  repo_.git({"branch", "-m", "master", "other"});
  EXPECT_EQ(git_.get_default_branch(repo_.root()), "main");
}

TEST_F(GitCliTest, FailuresCarryGitsMessageAndAMissingGitIsNamed) {
  TempDir not_a_repo;
  EXPECT_TRUE(git_error([&] {
                git_.resolve_commit(not_a_repo.path(), "HEAD");
              }).starts_with("fatal: not a git repository"));
  for (const GitRunner& runner : {GitRunner("lomarind-no-such-git"), GitRunner("git", {"PATH="}),
                                  GitRunner("git", {"PATH=/nonexistent:."})}) {
    EXPECT_EQ(git_error([&] { GitCli(runner).resolve_commit(".", "HEAD"); }),
              "git is not installed or not on PATH");
  }
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

  // Every question the reader answers, for comparing whole runs.
  auto ask_everything(const GitCli& git) const {
    const std::filesystem::path& root = repo_.root();
    return std::tuple(git.resolve_commit(root, "HEAD"), git.resolve_display_branch(root),
                      git.get_default_branch(root), git.diff_file_changes(root, "main", "feature"),
                      git.count_commits(root, "main", "feature"),
                      git.log_commit_changes(root, sys_seconds{}, "feature", 100),
                      git.commit_before(root, "feature", at(2500)),
                      git.diff_line_spans(root, "main", "feature", true, paths_));
  }

  bool something_ran() const { return std::filesystem::exists(scratch_.path() / "ran"); }

  // A program that leaves a trace whenever anything runs it.
  std::string tripwire() const {
    std::filesystem::path script = scratch_.path() / "tripwire.sh";
    std::ofstream(script) << "#!/bin/sh\necho \"$0 $*\" >> '" << (scratch_.path() / "ran").string()
                          << "'\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    return script.string();
  }

  // Merges feature into main (unrelated edits, so no conflict).
  std::string merge_feature() const {
    repo_.git({"merge", "-q", "--no-ff", "--no-commit", "feature"});
    return repo_.commit("merge", 4000);
  }

  const std::string kOddPath = "dir/caf\xc3\xa9\n\xff.txt";
  const std::vector<FileChange> feature_1_files_ = {
      {kOddPath, "added", 1, 0, std::nullopt},
      {"gone.txt", "deleted", 0, 1, std::nullopt},
      {"img.bin", "modified", 0, 0, std::nullopt},
      {"keep.txt", "modified", 2, 1, std::nullopt},
      {"new \"name\".txt", "renamed", 1, 1, "old name.txt"},
  };
  const std::vector<std::string> paths_ = {"keep.txt",  "new \"name\".txt", "old name.txt",
                                           "gone.txt",  "img.bin",          kOddPath,
                                           "shared.txt"};
  TempDir scratch_;
};

TEST_F(GitCliBranchTest, ListsWhatTheHeadChangedSinceItLeftTheBase) {
  std::vector<FileChange> expected = feature_1_files_;
  expected.push_back({"tab\there.txt", "added", 1, 0, std::nullopt});
  EXPECT_EQ(git_.diff_file_changes(repo_.root(), "main", "feature"), expected);
  EXPECT_EQ(git_.count_commits(repo_.root(), "main", "feature"), 2);
  EXPECT_EQ(git_.count_commits(repo_.root(), "feature", "main"), 1);
}

TEST_F(GitCliBranchTest, LineSpansAreHeadSideHunksByHeadPath) {
  LineSpansByPath expected = {
      {kOddPath, {{1, 1, false}}},
      {"keep.txt", {{2, 2, false}, {4, 4, false}}},
      {"new \"name\".txt", {{3, 3, false}}},
  };
  EXPECT_EQ(git_.diff_line_spans(repo_.root(), "main", "feature", true, paths_), expected);
  // Against main itself, main's own edit shows up as a change of the head.
  expected.emplace_back("shared.txt", std::vector<LineSpan>{{1, 1, false}});
  EXPECT_EQ(git_.diff_line_spans(repo_.root(), "main", "feature", false, paths_), expected);
}

// Far more paths than a command line holds: still one diff, the same spans.
TEST_F(GitCliBranchTest, APageOfAnySizeGivesTheSameSpans) {
  std::vector<std::string> many = paths_;
  for (int i = 0; i < 100'000; ++i)
    many.push_back("not/in/the/repository/file" + std::to_string(i));
  EXPECT_EQ(git_.diff_line_spans(repo_.root(), "main", "feature", false, many),
            git_.diff_line_spans(repo_.root(), "main", "feature", false, paths_));
}

TEST_F(GitCliBranchTest, NamesThatDoNotResolveAreAbsent) {
  for (const char* name : {"nope", "HEAD..HEAD", "HEAD@{99}", "", "HEAD:keep.txt", "-h", "--all"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(git_.resolve_commit(repo_.root(), name), std::nullopt);
  }
  const std::optional<std::string> head = git_.resolve_commit(repo_.root(), "HEAD");
  ASSERT_TRUE(head);
  EXPECT_EQ(git_.resolve_commit(repo_.root(), head->substr(0, 12)), head);
  EXPECT_EQ(git_.resolve_display_branch(repo_.root()), "main");
}

// A repository is untrusted: nothing in its config, nothing a caller passes
// as a name and nothing inherited from the environment may make the reader
// run a program, write a file or read another repository.
TEST_F(GitCliBranchTest, HostileRepositoryConfigRunsNothingAndChangesNothing) {
  const auto expected = ask_everything(git_);
  std::string trap = tripwire();
  std::ofstream(repo_.root() / ".git" / "config", std::ios::app)
      << "[core]\n fsmonitor = " << trap << "\n pager = " << trap
      << "\n quotePath = true\n hooksPath = " << scratch_.path().string()
      << "\n[diff]\n external = " << trap
      << "\n noprefix = true\n mnemonicPrefix = true\n relative = true\n renames = false"
      << "\n algorithm = patience\n context = 9\n interHunkContext = 9\n renameLimit = 1"
      << "\n[diff \"evil\"]\n textconv = " << trap << "\n command = " << trap
      << "\n[pager]\n log = " << trap << "\n diff = " << trap
      << "\n[log]\n showSignature = true\n decorate = full\n[gpg]\n program = " << trap
      << "\n[color]\n ui = always\n diff = always\n[format]\n pretty = format:%s\n";
  repo_.write(".git/info/attributes", "* diff=evil\n");
  repo_.git({"log", "-p", "-1", "feature"});  // the traps are armed for plain git
  ASSERT_TRUE(something_ran());
  std::filesystem::remove(scratch_.path() / "ran");
  // Files that plain git would wait on forever: nothing ever writes the FIFO.
  const std::string fifo = (scratch_.path() / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::ofstream(repo_.root() / ".git" / "config", std::ios::app)
      << "[diff]\n orderFile = " << fifo << "\n[mailmap]\n file = " << fifo << "\n";

  EXPECT_EQ(ask_everything(git_), expected);
  EXPECT_FALSE(something_ran());
}

// The default runner starts from this process's environment, which a test
// must not change; the death-test child is a process of its own.
TEST_F(GitCliBranchTest, InheritedGitVariablesDoNotRedirectOrConfigure) {
  TempGitRepo other;
  other.commit("other", 5000);
  const auto expected = ask_everything(git_);
  std::string trap = tripwire();
  std::vector<std::pair<std::string, std::string>> inherited = {
      {"GIT_DIR", (other.root() / ".git").string()},
      {"GIT_WORK_TREE", other.root().string()},
      {"GIT_CONFIG_PARAMETERS", "'diff.noprefix'='true'"},
      {"GIT_EXTERNAL_DIFF", trap},
      {"GIT_CONFIG_COUNT", "1"},
      {"GIT_CONFIG_KEY_0", "core.pager"},
      {"GIT_CONFIG_VALUE_0", trap},
      {"HOME", scratch_.path().string()},
      {"LC_ALL", "de_DE.UTF-8"}};
  EXPECT_EXIT(
      {
        for (const auto& [name, value] : inherited) ::setenv(name.c_str(), value.c_str(), 1);
        GitCli inheriting{GitRunner()};
        std::exit(ask_everything(inheriting) == expected ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  EXPECT_FALSE(something_ran());
}

TEST_F(GitCliBranchTest, OptionLikeNamesAndPathsAreOnlyNames) {
  std::filesystem::path written = scratch_.path() / "out";
  std::string option = "--output=" + written.string();
  const std::filesystem::path& root = repo_.root();
  EXPECT_EQ(git_.resolve_commit(root, option), std::nullopt);
  EXPECT_THROW(git_.diff_file_changes(root, option, "feature"), GitError);
  EXPECT_THROW(git_.count_commits(root, "main", option), GitError);
  EXPECT_THROW(git_.log_commit_changes(root, sys_seconds{}, option, 10), GitError);
  EXPECT_THROW(git_.commit_before(root, option, kNow), GitError);
  EXPECT_THROW(git_.diff_line_spans(root, option, "feature", false, {"keep.txt"}), GitError);
  EXPECT_TRUE(
      git_.diff_line_spans(root, "main", "feature", true, {option, "*.txt", ":(glob)**"}).empty());
  EXPECT_FALSE(std::filesystem::exists(written));
}

// After the merge, main's first-parent line is base, main moves, merge.
TEST_F(GitCliBranchTest, LogAndCommitBeforeFollowTheMergedHistory) {
  const std::string merge = merge_feature();
  auto commit = [&](const char* name) { return *git_.resolve_commit(repo_.root(), name); };
  std::vector<CommitChanges> expected = {
      {merge, 4000, {}},
      {commit("feature"), 3000, {{"tab\there.txt", "added", 1, 0, std::nullopt}}},
      {commit("main~1"), 2500, {{"shared.txt", "modified", 1, 1, std::nullopt}}},
      {commit("feature~1"), 2000, feature_1_files_},
  };
  EXPECT_EQ(git_.log_commit_changes(repo_.root(), at(2000), "main", 10), expected);
  EXPECT_EQ(git_.log_commit_changes(repo_.root(), at(0), "main", 2),
            std::vector<CommitChanges>(expected.begin(), expected.begin() + 2));  // the newest
  expected.pop_back();
  EXPECT_EQ(git_.log_commit_changes(repo_.root(), at(2001), "main", 10), expected);
  EXPECT_TRUE(git_.log_commit_changes(repo_.root(), at(4001), "main", 10).empty());
  const CommitChanges root = git_.log_commit_changes(repo_.root(), at(-100000), "main", 10).back();
  EXPECT_EQ(root.files.size(), 5u);

  // A commit exactly at the start belongs to the period; feature 2 (3000) is
  // off the first-parent line.
  const std::string base = commit("main~2"), moved = commit("main~1");
  const std::pair<std::int64_t, std::optional<std::string>> before[] = {
      {1000, {}},    {1001, base},  {2500, base}, {2501, moved},
      {3500, moved}, {4001, merge}, {0, {}},      {-5, {}}};
  for (const auto& [start, sha] : before) {
    SCOPED_TRACE(start);
    EXPECT_EQ(git_.commit_before(repo_.root(), "main", at(start)), sha);
  }
}

}  // namespace
}  // namespace lomarind::git_utils
