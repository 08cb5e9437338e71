// How the built program ends when a terminal or a supervisor signals it,
// and how it copes with the signal state its parent hands down. Each run
// leads a process group of its own, as a shell starts a job, and waits in
// a stand-in child (git or ctags) that never answers until it is signalled.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/processes.h"
#include "support/temp_git_repo.h"

namespace lomarind::cli {
namespace {

using lomarind::testing::TempDir;
using lomarind::testing::TempGitRepo;

constexpr std::int64_t kStart = 1700000000;  // 2023-11-14

// A git that passes every command to the real one, except one whose
// arguments include `hang_on`: that one waits as write_hanging_program's
// stand-in does.
void write_hanging_git(const std::filesystem::path& path, const std::filesystem::path& pid_file,
                       const std::string& hang_on) {
  std::ofstream(path) << "#!/bin/sh\nfor a in \"$@\"; do\n  if [ \"$a\" = '" << hang_on
                      << "' ]; then\n    sleep 1000 &\n    echo $! > '" << pid_file.string()
                      << "'\n    wait\n    exit 1\n  fi\ndone\nexec /usr/bin/git \"$@\"\n";
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

// The exit status of `pid`, or nullopt when it is still running after 30
// seconds (it is then killed): a generous bound that only proves no hang.
std::optional<int> exit_status(pid_t pid) {
  for (int i = 0; i < 3000; ++i) {
    int status = 0;
    if (::waitpid(pid, &status, WNOHANG) == pid) {
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ::kill(-pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  return std::nullopt;
}

bool file_written(const std::filesystem::path& file) {
  for (int i = 0; i < 3000; ++i) {
    std::error_code missing;
    if (std::filesystem::file_size(file, missing) > 0 && !missing) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

class ProgramSignalsTest : public ::testing::Test {
 protected:
  ProgramSignalsTest() {
    repo_.write("src/app/main.cc", "int main() {}\n");
    repo_.commit("first", kStart);
    repo_.write("src/app/main.cc", "int main() {\n  return 0;\n}\n");
    repo_.commit("second", kStart + 86400);
  }

  // Starts lomarind with `args` in the repository, leading a process group
  // of its own, with the tools folder first on PATH and stderr in a file.
  pid_t start(const std::vector<std::string>& args, bool ignore_sigchld = false) const {
    const std::string path = "PATH=" + tools_.path().string() + ":/usr/bin:/bin";
    const std::string home = "HOME=" + tools_.path().string();
    std::vector<const char*> argv = {LOMARIND_BINARY};
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    argv.push_back(nullptr);
    const pid_t program = ::fork();
    if (program == 0) {
      ::setpgid(0, 0);
      if (ignore_sigchld) ::signal(SIGCHLD, SIG_IGN);  // exec keeps an ignored signal ignored
      const int err = ::open(err_file().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      ::dup2(err, STDERR_FILENO);
      const int null = ::open("/dev/null", O_WRONLY);
      ::dup2(null, STDOUT_FILENO);
      if (::chdir(repo_.root().c_str()) != 0) ::_exit(99);
      const char* envp[] = {path.c_str(), home.c_str(), nullptr};
      ::execve(LOMARIND_BINARY, const_cast<char**>(argv.data()), const_cast<char**>(envp));
      ::_exit(98);
    }
    ::setpgid(program, program);  // as the child does: the group exists before we signal it
    return program;
  }

  std::filesystem::path err_file() const { return tools_.path() / "err"; }
  std::filesystem::path pid_file() const { return tools_.path() / "child.pid"; }

  TempDir tools_;
  TempGitRepo repo_;
};

// The signal reaches the terminal's whole foreground group; the children
// lead groups of their own, so the program alone decides how they end.
TEST_F(ProgramSignalsTest, SignalEndsEveryCommandWithItsStatusAndNothingLeftRunning) {
  struct Case {
    std::string name;
    std::vector<std::string> args;
    std::string hanging;  // "ctags", or the git argument git hangs on
    int signal;
    std::string err;  // what stderr begins with
  } cases[] = {
      {"ctags while indexing", {"index"}, "ctags", SIGINT, "lomarind: indexing interrupted"},
      {"ctags, terminated", {"index"}, "ctags", SIGTERM, "lomarind: indexing interrupted"},
      {"the commit cache's fill after indexing",
       {"index"},
       "--no-walk=unsorted",
       SIGTERM,
       "lomarind: interrupted while filling the commit cache"},
      {"a period's log", {"recent", "--since", "2023-01-01"}, "log", SIGINT, "lomarind: "},
      {"a report's log",
       {"report", "--since", "2023-01-01", "--output", "out.html"},
       "log",
       SIGTERM,
       "lomarind: "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove_all(repo_.root() / ".git" / "lomarind");
    std::filesystem::remove(pid_file());
    for (const char* tool : {"git", "ctags"}) std::filesystem::remove(tools_.path() / tool);
    if (c.hanging == "ctags") {
      lomarind::testing::write_hanging_program(tools_.path() / "ctags", pid_file());
    } else {
      write_hanging_git(tools_.path() / "git", pid_file(), c.hanging);
    }
    const pid_t program = start(c.args);
    ASSERT_TRUE(file_written(pid_file()));
    ::kill(-program, c.signal);
    EXPECT_EQ(exit_status(program), 128 + c.signal);
    const std::string err = lomarind::testing::read_file(err_file());
    EXPECT_TRUE(err.starts_with(c.err)) << err;
    EXPECT_TRUE(lomarind::testing::hanging_sleep_ends(pid_file()));
    EXPECT_FALSE(std::filesystem::exists(repo_.root() / "out.html"));
    // A first index stopped on its way leaves none, nor its draft.
    const std::filesystem::path folder = repo_.root() / ".git" / "lomarind";
    EXPECT_EQ(std::filesystem::exists(folder / "index.db"), c.hanging == "--no-walk=unsorted");
    if (std::filesystem::exists(folder)) {
      for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_FALSE(entry.path().filename().string().starts_with(".index.db.new")) << entry.path();
      }
    }
    for (const auto& entry : std::filesystem::directory_iterator(repo_.root())) {
      EXPECT_FALSE(entry.path().filename().string().ends_with(".tmp")) << entry.path();
    }
  }
}

// A parent may hand SIGCHLD down ignored; git's exit status is then lost
// unless the program restores the default.
TEST_F(ProgramSignalsTest, SigchldIgnoredByTheParentIsRestored) {
  const pid_t program = start({"recent", "--since", "2023-01-01", "--json"}, true);
  EXPECT_EQ(exit_status(program), 0) << lomarind::testing::read_file(err_file());
}

}  // namespace
}  // namespace lomarind::cli
