// Test fixtures that build real git repositories in temporary folders.
// Every git command gets a fixed identity, dates and an empty global config,
// so commit ids are reproducible and the developer's own config never leaks in.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace lomarind::testing {

struct CommandResult {
  int status = 0;
  std::string out;
  std::string err;
};

// Runs argv[0] (looked up on PATH) in `cwd` with the current environment
// minus GIT_* variables, with `extra_env` ("NAME=value") added or replacing
// what it names. Never throws for a non-zero exit.
CommandResult run_command(const std::vector<std::string>& argv, const std::filesystem::path& cwd,
                          const std::vector<std::string>& extra_env = {});

// The file's bytes; empty when it cannot be read.
std::string read_file(const std::filesystem::path& path);

// A fresh temporary directory, removed with everything in it on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class TempGitRepo {
 public:
  // `git init -b main` in a new temporary directory.
  TempGitRepo();
  // Wraps an existing directory (e.g. a clone made by git()); not owned.
  explicit TempGitRepo(std::filesystem::path existing_root);

  const std::filesystem::path& root() const { return root_; }

  // Writes `content` to `path` (relative to the root), making directories.
  void write(const std::string& path, const std::string& content) const;
  void remove(const std::string& path) const;

  // Runs git in the root with the fixture's settings; throws
  // std::runtime_error with git's stderr on a non-zero exit. Returns stdout.
  std::string git(const std::vector<std::string>& args) const;

  // Stages everything and commits with author and committer time
  // `timestamp` (Unix seconds, UTC). Returns the new commit id.
  std::string commit(const std::string& message, std::int64_t timestamp) const;

  // The commit id that `name` resolves to.
  std::string rev(const std::string& name) const;

 private:
  CommandResult run_git(const std::vector<std::string>& args, std::int64_t timestamp) const;

  std::unique_ptr<TempDir> dir_;  // null when wrapping an existing directory
  std::filesystem::path root_;
};

}  // namespace lomarind::testing
