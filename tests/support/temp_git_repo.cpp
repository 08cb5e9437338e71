#include "support/temp_git_repo.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

extern char** environ;

namespace lomarind::testing {
namespace {

std::vector<std::string> child_environment(const std::vector<std::string>& extra) {
  std::vector<std::string> env;
  for (char** e = environ; *e != nullptr; ++e) {
    if (std::strncmp(*e, "GIT_", 4) != 0) env.emplace_back(*e);
  }
  env.insert(env.end(), extra.begin(), extra.end());
  return env;
}

std::vector<char*> c_strings(std::vector<std::string>& strings) {
  std::vector<char*> out;
  for (std::string& s : strings) out.push_back(s.data());
  out.push_back(nullptr);
  return out;
}

}  // namespace

CommandResult run_command(const std::vector<std::string>& argv, const std::filesystem::path& cwd,
                          const std::vector<std::string>& extra_env, const std::string& input) {
  int in[2], out[2], err[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], 0);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  posix_spawn_file_actions_adddup2(&actions, err[1], 2);
  posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
  std::vector<std::string> args = argv;
  std::vector<std::string> env = child_environment(extra_env);
  std::vector<char*> c_args = c_strings(args);
  std::vector<char*> c_env = c_strings(env);
  pid_t pid = 0;
  int rc = posix_spawnp(&pid, c_args[0], &actions, nullptr, c_args.data(), c_env.data());
  posix_spawn_file_actions_destroy(&actions);
  close(in[0]);
  close(out[1]);
  close(err[1]);
  if (rc != 0) {
    close(in[1]);
    close(out[0]);
    close(err[0]);
    throw std::runtime_error("cannot start " + argv[0] + ": " + std::strerror(rc));
  }
  CommandResult result;
  std::size_t written = 0;
  int in_fd = in[1];
  if (input.empty()) {
    close(in_fd);
    in_fd = -1;
  }
  pollfd fds[3] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}, {in_fd, POLLOUT, 0}};
  while (fds[0].fd >= 0 || fds[1].fd >= 0) {
    if (poll(fds, 3, -1) < 0) continue;
    char buffer[65536];
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd >= 0 && (fds[i].revents & (POLLIN | POLLHUP | POLLERR))) {
        ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
        if (n > 0) {
          (i == 0 ? result.out : result.err).append(buffer, static_cast<std::size_t>(n));
        } else {
          close(fds[i].fd);
          fds[i].fd = -1;
        }
      }
    }
    if (fds[2].fd >= 0 && (fds[2].revents & (POLLOUT | POLLERR | POLLHUP))) {
      ssize_t n = write(fds[2].fd, input.data() + written, input.size() - written);
      if (n > 0) written += static_cast<std::size_t>(n);
      if (n <= 0 || written == input.size()) {
        close(fds[2].fd);
        fds[2].fd = -1;
      }
    }
  }
  if (fds[2].fd >= 0) close(fds[2].fd);
  int status = 0;
  waitpid(pid, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "lomarind-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = std::filesystem::canonical(pattern);
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path_, ignored);
}

TempGitRepo::TempGitRepo() : owned_(true) {
  std::string pattern = (std::filesystem::temp_directory_path() / "lomarind-repo-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  root_ = std::filesystem::canonical(pattern);
  git({"init", "-q", "-b", "main"});
}

TempGitRepo::TempGitRepo(std::filesystem::path existing_root)
    : root_(std::move(existing_root)), owned_(false) {}

TempGitRepo::~TempGitRepo() {
  if (!owned_) return;
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

void TempGitRepo::write(const std::string& path, const std::string& content) const {
  std::filesystem::path full = root_ / path;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream(full, std::ios::binary | std::ios::trunc) << content;
}

void TempGitRepo::remove(const std::string& path) const { std::filesystem::remove(root_ / path); }

std::string TempGitRepo::git(const std::vector<std::string>& args, const std::string& input) const {
  std::vector<std::string> argv = {"git",
                                   "-c", "user.name=Test",
                                   "-c", "user.email=test@example.com",
                                   "-c", "commit.gpgsign=false",
                                   "-c", "init.defaultBranch=main",
                                   "-c", "core.autocrlf=false"};
  argv.insert(argv.end(), args.begin(), args.end());
  CommandResult r = run_command(argv, root_,
                                {"GIT_CONFIG_NOSYSTEM=1", "GIT_CONFIG_GLOBAL=/dev/null",
                                 "GIT_AUTHOR_DATE=@1700000000 +0000",
                                 "GIT_COMMITTER_DATE=@1700000000 +0000", "LC_ALL=C"},
                                input);
  if (r.status != 0) {
    throw std::runtime_error("git " + (args.empty() ? std::string() : args[0]) + " failed: " +
                             r.err);
  }
  return r.out;
}

std::string TempGitRepo::commit(const std::string& message, std::int64_t timestamp) const {
  git({"add", "-A"});
  std::string date = "@" + std::to_string(timestamp) + " +0000";
  std::vector<std::string> argv = {"git", "-c", "user.name=Test", "-c",
                                   "user.email=test@example.com", "-c", "commit.gpgsign=false",
                                   "commit", "-q", "--allow-empty", "-m", message};
  CommandResult r = run_command(argv, root_,
                                {"GIT_CONFIG_NOSYSTEM=1", "GIT_CONFIG_GLOBAL=/dev/null",
                                 "GIT_AUTHOR_DATE=" + date, "GIT_COMMITTER_DATE=" + date,
                                 "LC_ALL=C"});
  if (r.status != 0) throw std::runtime_error("git commit failed: " + r.err);
  std::string sha = git({"rev-parse", "HEAD"});
  while (!sha.empty() && sha.back() == '\n') sha.pop_back();
  return sha;
}

}  // namespace lomarind::testing
