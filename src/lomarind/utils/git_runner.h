// Runs the git program the one safe way: an argument vector (never a shell),
// settings that keep a repository's own config from running anything or
// changing what we parse, a scrubbed environment, and stdout and stderr
// drained together. Every git command of the library goes through here.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lomarind::git_utils {

struct GitResult {
  int exit_status = 0;
  std::string out;  // raw stdout bytes
  std::string err;  // raw stderr bytes
};

class GitRunner {
 public:
  explicit GitRunner(std::string git_program = "git") : git_program_(std::move(git_program)) {}

  // Runs `git <safety options> -C repo_root <args...>` and returns whatever
  // it exited with. Throws GitError only when git cannot be started
  // ("git is not installed or not on PATH").
  GitResult run(const std::filesystem::path& repo_root, const std::vector<std::string>& args) const;

  // As run(), but a non-zero exit throws GitError with git's trimmed stderr.
  std::string run_checked(const std::filesystem::path& repo_root,
                          const std::vector<std::string>& args) const;

 private:
  std::string git_program_;
};

}  // namespace lomarind::git_utils
