// The runner's own guards, on real git and real child processes: what it
// refuses before git starts, and how it ends a child that misbehaves.
#include "lomarind/git/git_runner.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>

#include "lomarind/git/git_cli.h"
#include "support/isolated_git.h"
#include "support/processes.h"
#include "support/temp_git_repo.h"

namespace lomarind::git_utils {
namespace {

using std::chrono::sys_seconds;
using testing::git_error;

class GitRunnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    repo_.write("a.txt", "a\n");
    repo_.write("sub/b.txt", "b\n");
    first_ = repo_.commit("first", 1000);
  }

  testing::IsolatedGit isolated_;
  GitCli git_{isolated_.runner()};
  testing::TempGitRepo repo_;
  testing::TempDir scratch_;
  std::string first_;
};

// git would wait forever on a FIFO in any of these places; it is refused
// before git starts, naming the file.
TEST_F(GitRunnerTest, FifoWhereGitReadsAttributesOrConfigIsRefused) {
  const std::filesystem::path git_dir = repo_.root() / ".git";
  const std::string fifo = (scratch_.path() / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string original = testing::read_file(git_dir / "config");
  struct Case {
    std::string name;
    std::filesystem::path fifo;  // made a FIFO, or empty
    std::string config;          // appended to the repository's config
  } cases[] = {
      {"work-tree attributes", repo_.root() / ".gitattributes", ""},
      {"a subfolder's attributes, found once git is quiet", repo_.root() / "sub" / ".gitattributes",
       ""},
      {"info/attributes", git_dir / "info" / "attributes", ""},
      {"core.attributesFile", "", "[core]\n attributesFile = " + fifo + "\n"},
      {"include.path", "", "[include]\n path = " + fifo + "\n"},
      {"relative includeIf path", git_dir / "included",
       "[includeIf \"gitdir:/\"]\n path = included\n"},
      {"commondir, which we read ourselves", git_dir / "commondir", ""},
  };
  // A backstop: a failing case ends in seconds rather than hanging.
  GitCli git(GitRunner("git", {"PATH=/usr/bin:/bin", "HOME=" + scratch_.path().string()},
                       std::chrono::seconds(10)));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::create_directories(git_dir / "info");
    if (!c.fifo.empty()) {
      ASSERT_EQ(::mkfifo(c.fifo.c_str(), 0600), 0);
    }
    std::ofstream(git_dir / "config", std::ios::app) << c.config;
    const std::string error =
        git_error([&] { git.log_commit_changes(repo_.root(), sys_seconds{}, "main", 10); });
    EXPECT_TRUE(error.starts_with("refusing to run git: ")) << error;
    EXPECT_NE(error.find(c.fifo.empty() ? "fifo" : c.fifo.string()), std::string::npos) << error;
    if (!c.fifo.empty()) std::filesystem::remove(c.fifo);
    std::ofstream(git_dir / "config", std::ios::trunc) << original;
  }
  std::ofstream(git_dir / "config", std::ios::app) << "[core]\n attributesFile = /dev/null\n";
  EXPECT_EQ(git.resolve_commit(repo_.root(), "main"), first_);  // a common way to switch it off
}

// git refuses a repository another user owns unless safe.directory says
// otherwise. The administrator's entries in the system config count (read
// as git reads that file), and nothing else of that file does: here a
// bigFileThreshold that would make every file binary.
TEST_F(GitRunnerTest, SystemConfigSafeDirectoriesCountAndNothingElse) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a repository to another user";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(repo_.root())) {
    ASSERT_EQ(::lchown(entry.path().c_str(), 65534, 65534), 0);
  }
  ASSERT_EQ(::lchown(repo_.root().c_str(), 65534, 65534), 0);  // to nobody
  const std::string root = repo_.root().string();
  std::ofstream(scratch_.path() / "included") << "[safe]\n\tdirectory = " << root << "\n";
  const std::string big = "[core]\n\tbigFileThreshold = 1\n";
  struct Case {
    std::string name;
    std::string system_config;
    bool trusted;
  } cases[] = {
      {"no entry", big, false},
      {"the repository, before a comment", "[safe] directory = " + root + " ; ok\n" + big, true},
      {"every repository", "[safe]\n\tdirectory = \"*\"\n" + big, true},
      {"through include.path", "[include]\n\tpath = included\n" + big, true},
      {"through includeIf, which git never applies there",
       "[includeIf \"gitdir:/\"]\n\tpath = included\n", false},
      {"emptied after", "[safe]\n\tdirectory = " + root + "\n\tdirectory =\n", false},
      {"emptied before", "[safe]\n\tdirectory\n\tdirectory = " + root + "\n", true},
  };
  const std::filesystem::path system = scratch_.path() / "gitconfig";
  GitRunnerOptions options{
      .git_program = "git",
      .environment =
          std::vector<std::string>{"PATH=/usr/bin:/bin", "HOME=" + scratch_.path().string()},
      .inactivity_limit = kGitInactivityLimit,
      .stop = nullptr,
      .system_config = system};
  const GitCli git{GitRunner(options)};
  const std::vector<CommitChanges> counted = {
      {first_,
       1000,
       {{"a.txt", "added", 1, 0, std::nullopt}, {"sub/b.txt", "added", 1, 0, std::nullopt}}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::ofstream(system, std::ios::trunc) << c.system_config;
    if (c.trusted) {
      EXPECT_EQ(git.log_commit_changes(repo_.root(), sys_seconds{}, "main", 10), counted);
    } else {
      EXPECT_NE(git_error([&] {
                  git.resolve_commit(repo_.root(), "main");
                }).find("detected dubious ownership"),
                std::string::npos);
    }
  }
  std::filesystem::remove(system);
  ASSERT_EQ(::mkfifo(system.c_str(), 0600), 0);
  EXPECT_TRUE(git_error([&] {
                git.resolve_commit(repo_.root(), "main");
              }).starts_with("refusing to run git: the system config " + system.string()));
}

// With SIGCHLD ignored the kernel reaps git and its exit status is lost: a
// failed lookup must not pass for a successful one.
TEST_F(GitRunnerTest, LostExitStatusIsAnErrorNeverSuccess) {
  EXPECT_EXIT(
      {
        ::signal(SIGCHLD, SIG_IGN);
        const std::string error = git_error([&] { git_.resolve_commit(repo_.root(), "nope"); });
        std::exit(error.find("ignores SIGCHLD") != std::string::npos ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// A git that waits forever is stopped, with whatever it started.
TEST_F(GitRunnerTest, SilentGitIsStoppedAtTheLimit) {
  const std::filesystem::path script = scratch_.path() / "git";
  const std::filesystem::path pid_file = scratch_.path() / "pid";
  testing::write_hanging_program(script, pid_file);
  GitCli stuck(GitRunner(script.string(), {"PATH=/usr/bin:/bin"}, std::chrono::milliseconds(300)));
  EXPECT_EQ(git_error([&] { stuck.resolve_commit(repo_.root(), "HEAD"); }),
            "git rev-parse printed nothing for 1 s and was stopped (the limit for a silent git "
            "command); look for a file in the repository that git waits on, such as a named pipe");
  EXPECT_TRUE(testing::hanging_sleep_ends(pid_file));
}

}  // namespace
}  // namespace lomarind::git_utils
