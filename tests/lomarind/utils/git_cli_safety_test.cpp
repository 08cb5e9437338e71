// A repository is untrusted: nothing in its config, nothing a caller passes
// as a name and nothing inherited from the environment may make the reader
// run a program, write a file or read another repository.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include "lomarind/utils/git_cli.h"
#include "support/isolated_git.h"
#include "support/temp_git_repo.h"

namespace lomarind::git_utils {
namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;
using testing::IsolatedGit;
using testing::TempDir;
using testing::TempGitRepo;

constexpr sys_seconds kNow{seconds{1'700'000'000}};

struct Answers {
  std::optional<std::string> head;
  std::optional<std::string> branch;
  std::string default_branch;
  std::vector<FileChange> files;
  std::int64_t count = 0;
  std::vector<CommitChanges> log;
  std::optional<std::string> before;
  LineSpansByPath spans;

  bool operator==(const Answers&) const = default;
};

Answers ask_everything(const GitCli& git, const std::filesystem::path& root) {
  std::vector<std::string> paths = {"a b.txt", "moved.txt", "orig.txt", "sub/c.txt"};
  return {git.resolve_commit(root, "HEAD"),
          git.resolve_display_branch(root),
          git.get_default_branch(root),
          git.diff_file_changes(root, "main", "topic"),
          git.count_commits(root, "main", "topic"),
          git.log_commit_changes(root, sys_seconds{}, "topic", 100),
          git.commit_before(root, "topic", sys_seconds{seconds{2500}}),
          git.diff_line_spans(root, "main", "topic", true, paths)};
}

class GitCliSafetyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    repo_.write("a b.txt", "1\n2\n3\n");
    repo_.write("orig.txt", "o1\no2\no3\no4\no5\no6\n");
    repo_.write("sub/c.txt", "c\n");
    repo_.commit("base", 1000);
    repo_.git({"checkout", "-q", "-b", "topic"});
    repo_.write("a b.txt", "1\nTWO\n3\n");
    repo_.remove("orig.txt");
    repo_.write("moved.txt", "o1\no2\no3\no4\no5\nO6\n");
    repo_.write("sub/c.txt", "c\nd\n");
    repo_.commit("topic", 3000);
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

  IsolatedGit isolated_;
  GitCli git_{isolated_.runner(), [] { return kNow; }};
  TempGitRepo repo_;
  TempDir scratch_;
};

TEST_F(GitCliSafetyTest, HostileRepositoryConfigRunsNothingAndChangesNothing) {
  Answers expected = ask_everything(git_, repo_.root());
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
  repo_.git({"log", "-p", "-1", "topic"});  // the traps are armed for plain git
  ASSERT_TRUE(something_ran());
  std::filesystem::remove(scratch_.path() / "ran");
  // Files that plain git would wait on forever: nothing ever writes the FIFO.
  const std::string fifo = (scratch_.path() / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::ofstream(repo_.root() / ".git" / "config", std::ios::app)
      << "[diff]\n orderFile = " << fifo << "\n[mailmap]\n file = " << fifo << "\n";

  EXPECT_EQ(ask_everything(git_, repo_.root()), expected);
  EXPECT_FALSE(something_ran());
}

// The default runner starts from this process's environment, which a test
// must not change; the death-test child is a process of its own.
TEST_F(GitCliSafetyTest, InheritedGitVariablesDoNotRedirectOrConfigure) {
  TempGitRepo other;
  other.commit("other", 5000);
  Answers expected = ask_everything(git_, repo_.root());
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
        GitCli inheriting(GitRunner(), [] { return kNow; });
        std::exit(ask_everything(inheriting, repo_.root()) == expected ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  EXPECT_FALSE(something_ran());
}

TEST_F(GitCliSafetyTest, OptionLikeNamesAndPathsAreOnlyNames) {
  std::filesystem::path written = scratch_.path() / "out";
  std::string option = "--output=" + written.string();
  EXPECT_EQ(git_.resolve_commit(repo_.root(), option), std::nullopt);
  EXPECT_THROW(git_.diff_file_changes(repo_.root(), option, "topic"), GitError);
  EXPECT_THROW(git_.count_commits(repo_.root(), "main", option), GitError);
  EXPECT_THROW(git_.log_commit_changes(repo_.root(), sys_seconds{}, option, 10), GitError);
  EXPECT_THROW(git_.commit_before(repo_.root(), option, kNow), GitError);
  EXPECT_THROW(git_.diff_line_spans(repo_.root(), option, "topic", false, {"a b.txt"}), GitError);
  EXPECT_TRUE(
      git_.diff_line_spans(repo_.root(), "main", "topic", true, {option, "*.txt", ":(glob)**"})
          .empty());
  EXPECT_FALSE(std::filesystem::exists(written));
}

TEST(GitRunnerTest, MissingGitIsAGitError) {
  for (const GitRunner& runner : {GitRunner("lomarind-no-such-git"), GitRunner("git", {"PATH="}),
                                  GitRunner("git", {"PATH=/nonexistent"})}) {
    GitCli git(runner, [] { return kNow; });
    try {
      git.resolve_commit(".", "HEAD");
      ADD_FAILURE() << "no error";
    } catch (const GitError& e) {
      EXPECT_STREQ(e.what(), "git is not installed or not on PATH");
    }
  }
}

}  // namespace
}  // namespace lomarind::git_utils
