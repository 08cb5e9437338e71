// What the indexer asks of git, as a neighbour it is handed: the tracked
// files, the checked-out commit, what changed since a commit, and the
// repository's common dir. GitIndexSource answers with the git program
// through the hardened runner; tests may hand in a fake.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "lomarind/git/git_runner.h"

namespace lomarind::repository_changes {

class IndexGit {
 public:
  virtual ~IndexGit() = default;

  // Every tracked file, each once, in git's order.
  virtual std::vector<std::string> tracked_files(const std::filesystem::path& repo_root) const = 0;
  // The commit HEAD points to; nullopt in a repository without commits.
  virtual std::optional<std::string> head_commit(const std::filesystem::path& repo_root) const = 0;
  // Files that differ between two commits; nullopt when git cannot compare
  // them (a commit that no longer exists, say).
  virtual std::optional<std::vector<std::string>> changed_between(
      const std::filesystem::path& repo_root, const std::string& from,
      const std::string& to) const = 0;
  // Tracked files whose work-tree or staged content differs from HEAD.
  virtual std::vector<std::string> work_tree_changes(
      const std::filesystem::path& repo_root) const = 0;
  // The folder every work tree of the repository shares, absolute.
  virtual std::filesystem::path common_dir(const std::filesystem::path& repo_root) const = 0;
};

class GitIndexSource final : public IndexGit {
 public:
  explicit GitIndexSource(git_utils::GitRunner runner = git_utils::GitRunner())
      : runner_(std::move(runner)) {}

  std::vector<std::string> tracked_files(const std::filesystem::path& repo_root) const override;
  std::optional<std::string> head_commit(const std::filesystem::path& repo_root) const override;
  std::optional<std::vector<std::string>> changed_between(const std::filesystem::path& repo_root,
                                                          const std::string& from,
                                                          const std::string& to) const override;
  std::vector<std::string> work_tree_changes(const std::filesystem::path& repo_root) const override;
  std::filesystem::path common_dir(const std::filesystem::path& repo_root) const override;

 private:
  git_utils::GitRunner runner_;
};

}  // namespace lomarind::repository_changes
