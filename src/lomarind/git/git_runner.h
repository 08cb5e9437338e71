// Runs the git program the one safe way: an argument vector (never a shell),
// settings that keep a repository's own config from running anything or
// changing what we parse, a scrubbed environment, and stdout and stderr
// drained together. Every git command of the library goes through here.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "lomarind/process/subprocess.h"

namespace lomarind::git_utils {

class GitError;

struct GitResult {
  int exit_status = 0;
  std::string out;  // raw stdout bytes
  std::string err;  // raw stderr bytes
};

// A git command that prints nothing on stdout or stderr for this long is
// stopped: no command of ours is silent that long unless git waits on
// something that never comes.
inline constexpr std::chrono::seconds kGitInactivityLimit = subprocess::kInactivityLimit;

// A git command silent this long (or half its limit, when that is shorter)
// may be waiting on a named pipe in a folder of the work tree: the work
// tree is searched once for one, for as long again at most, and git
// stopped if it is found.
inline constexpr std::chrono::milliseconds kSilenceCheck{2000};

// Where git reads the system config from (its sysconfdir on Debian and
// most distributions).
inline constexpr char kSystemConfig[] = "/etc/gitconfig";

struct GitRunnerOptions {
  std::string git_program = "git";  // a path, or a name looked up on PATH
  // The environment each command starts from ("NAME=value" entries); none:
  // this process's at the time of the call. The GIT_* scrub applies to it
  // all the same.
  std::optional<std::vector<std::string>> environment;
  std::chrono::milliseconds inactivity_limit = kGitInactivityLimit;
  // Once *stop is true, a running command is killed and run() throws
  // subprocess::Interrupted. Must outlive the runner.
  const std::atomic<bool>* stop = nullptr;
  // The administrator's config, whose safe.directory entries count as they
  // do for the user's own git; nothing else of it applies. Empty: none.
  // Unset: the one the user's git reads, as the starting environment says
  // (none under GIT_CONFIG_NOSYSTEM, else GIT_CONFIG_SYSTEM, else
  // kSystemConfig).
  std::optional<std::filesystem::path> system_config;
};

class GitRunner {
 public:
  explicit GitRunner(GitRunnerOptions options) : options_(std::move(options)) {}
  // `git_program` is a path or a name looked up on PATH. Each command starts
  // from this process's environment at the time of the call.
  explicit GitRunner(std::string git_program = "git") {
    options_.git_program = std::move(git_program);
  }
  // As above, but each command starts from `environment` ("NAME=value"
  // entries) instead of ours.
  GitRunner(std::string git_program, std::vector<std::string> environment,
            std::chrono::milliseconds inactivity_limit = kGitInactivityLimit) {
    options_.git_program = std::move(git_program);
    options_.environment = std::move(environment);
    options_.inactivity_limit = inactivity_limit;
  }

  // A copy whose commands stop once *stop is raised (null: never).
  GitRunner stopped_by(const std::atomic<bool>* stop) const {
    GitRunner copy = *this;
    copy.options_.stop = stop;
    return copy;
  }

  // Runs `git <safety options> -C repo_root <args...>` and returns whatever
  // it exited with. Throws GitError only when git cannot be started
  // ("git is not installed or not on PATH"), dies from a signal, stays
  // silent past the inactivity limit, or its exit status cannot be learnt;
  // subprocess::Interrupted when the stop token is raised meanwhile. With
  // `on_stdout`, stdout goes there in pieces as git writes it (and
  // GitResult::out stays empty); what it throws ends git and propagates.
  // `input`, when not empty, is written to git's stdin.
  GitResult run(const std::filesystem::path& repo_root, const std::vector<std::string>& args,
                const subprocess::OutputSink& on_stdout = nullptr,
                const std::string& input = {}) const;

  // As run(), but a non-zero exit throws GitError with git's trimmed stderr
  // (or "git exited with status N" when it printed nothing).
  std::string run_checked(const std::filesystem::path& repo_root,
                          const std::vector<std::string>& args,
                          const subprocess::OutputSink& on_stdout = nullptr,
                          const std::string& input = {}) const;

  // The GitError for a command that exited non-zero with `result`: git's
  // trimmed stderr, or "git exited with status N" when it printed nothing.
  GitError failure(const std::filesystem::path& repo_root, const std::vector<std::string>& args,
                   const GitResult& result) const;

  // Whether `args` fit on a command line with room to spare.
  bool fits_command_line(const std::filesystem::path& repo_root,
                         const std::vector<std::string>& args) const;

 private:
  // The environment git's is made from: the given one, else ours.
  std::vector<std::string> start_environment() const;
  // The full argument vector run() starts for `args` from `start`. Throws
  // GitError when the system config is no regular file.
  std::vector<std::string> command_line(const std::filesystem::path& repo_root,
                                        const std::vector<std::string>& args,
                                        const std::vector<std::string>& start) const;
  // The environment git runs with: `start` minus every GIT_* variable and
  // LC_ALL, plus our fixed settings.
  static std::vector<std::string> environment(std::vector<std::string> start);

  GitRunnerOptions options_;
};

// The repository's git common dir, absolute: the folder that every worktree
// of the repository shares (.git of the main work tree). Throws GitError
// when `repo_root` lies in no repository.
std::filesystem::path git_common_dir(const GitRunner& git, const std::filesystem::path& repo_root);

}  // namespace lomarind::git_utils
