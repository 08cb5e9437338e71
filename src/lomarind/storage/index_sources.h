// What an indexer run learns from git and the work tree: the tracked files,
// the checked-out commit, what changed since the last run, and which files
// ctags may read.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "lomarind/git/git_runner.h"

namespace lomarind::repository_changes {

// Every tracked file (`git ls-files -z`), each once, in git's order.
std::vector<std::string> tracked_files(const git_utils::GitRunner& git,
                                       const std::filesystem::path& repo_root);

// The commit HEAD points to; nullopt in a repository without commits.
std::optional<std::string> head_commit(const git_utils::GitRunner& git,
                                       const std::filesystem::path& repo_root);

// Files that differ between two commits; nullopt when git cannot compare
// them (a commit that no longer exists, say).
std::optional<std::vector<std::string>> changed_between(const git_utils::GitRunner& git,
                                                        const std::filesystem::path& repo_root,
                                                        const std::string& from,
                                                        const std::string& to);

// Tracked files whose work-tree or staged content differs from HEAD. No
// filter driver of the repository's config runs while git compares them.
std::vector<std::string> work_tree_changes(const git_utils::GitRunner& git,
                                           const std::filesystem::path& repo_root);

// Decides which tracked files ctags may read: regular files (no symbolic
// link, no submodule) that lie inside the repository once every directory
// on their way is resolved, with names ctags can be given.
class ReadableFiles {
 public:
  explicit ReadableFiles(const std::filesystem::path& repo_root);

  bool readable(const std::string& path);

 private:
  bool directory_inside(std::string_view directory);

  std::filesystem::path root_;
  std::string real_root_;
  std::unordered_map<std::string, bool> directories_;  // relative directory -> inside the root
};

}  // namespace lomarind::repository_changes
