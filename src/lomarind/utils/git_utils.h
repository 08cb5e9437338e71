// The git reader: the records it returns, its failure type, and the
// interface through which the history workers ask git their nine questions.
// GitCli (git_cli.h) is the implementation that runs the git program; tests
// substitute recording fakes.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace lomarind::git_utils {

// One file that a change touched.
struct FileChange {
  std::string path;    // head-side path; for a deleted file, the path it had
  std::string status;  // "added", "modified", "deleted", "renamed" or "copied"
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
  std::optional<std::string> old_path;  // set for renames and copies

  bool operator==(const FileChange&) const = default;
};

// One commit and the files it changed (none for a merge commit).
struct CommitChanges {
  std::string commit;
  std::int64_t timestamp = 0;  // committer time, Unix seconds, UTC
  std::vector<FileChange> files;

  bool operator==(const CommitChanges&) const = default;
};

// A run of changed lines on the head side; `end` is inclusive.
struct LineSpan {
  std::int64_t start = 0;
  std::int64_t end = 0;
  bool whole_file = false;

  bool operator==(const LineSpan&) const = default;
};

// Spans keyed by head-side path, in the order git reported the files.
using LineSpansByPath = std::vector<std::pair<std::string, std::vector<LineSpan>>>;

// A git command that failed. what() is git's own trimmed stderr (or
// "git exited with status N"); the command line and status are kept for logs.
class GitError : public std::runtime_error {
 public:
  explicit GitError(const std::string& message, std::vector<std::string> argv = {},
                    int exit_status = -1)
      : std::runtime_error(message), argv_(std::move(argv)), exit_status_(exit_status) {}

  const std::vector<std::string>& argv() const { return argv_; }
  int exit_status() const { return exit_status_; }

 private:
  std::vector<std::string> argv_;
  int exit_status_;
};

// Every operation runs git in `repo_root` and throws
// GitError when the command fails. A name that does not resolve is no
// failure: resolve_commit returns nullopt for it.
class GitReader {
 public:
  virtual ~GitReader() = default;

  virtual std::optional<std::string> resolve_commit(const std::filesystem::path& repo_root,
                                                    const std::string& name) const = 0;
  // The checked-out branch's short name; empty or nullopt on a detached head.
  virtual std::optional<std::string> resolve_display_branch(
      const std::filesystem::path& repo_root) const = 0;
  // Always a name: origin/HEAD's branch, else main, else master, else "main".
  virtual std::string get_default_branch(const std::filesystem::path& repo_root) const = 0;
  // The files `head` changed since it left `base` (git diff base...head).
  virtual std::vector<FileChange> diff_file_changes(const std::filesystem::path& repo_root,
                                                    const std::string& base_commit,
                                                    const std::string& head_commit) const = 0;
  // Commits on `head` that are not on `base` (git rev-list --count base..head).
  virtual std::int64_t count_commits(const std::filesystem::path& repo_root,
                                     const std::string& base_commit,
                                     const std::string& head_commit) const = 0;
  // Commits reachable from `ref` since `since`, newest first, at most
  // `max_commits` of them.
  virtual std::vector<CommitChanges> log_commit_changes(const std::filesystem::path& repo_root,
                                                        std::chrono::sys_seconds since,
                                                        const std::string& ref,
                                                        int max_commits) const = 0;
  // Where `tip`'s first-parent history stood strictly before `start`;
  // nullopt when the history begins at or after it.
  virtual std::optional<std::string> commit_before(const std::filesystem::path& repo_root,
                                                   const std::string& tip,
                                                   std::chrono::sys_seconds start) const = 0;
  // Head-side hunks of `paths`, comparing `head` with the merge base of the
  // two (merge_base) or with `base` itself. Files without a head-side hunk
  // have no entry.
  virtual LineSpansByPath diff_line_spans(const std::filesystem::path& repo_root,
                                          const std::string& base_commit,
                                          const std::string& head_commit, bool merge_base,
                                          const std::vector<std::string>& paths) const = 0;
};

}  // namespace lomarind::git_utils
