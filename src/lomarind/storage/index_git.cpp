#include "lomarind/storage/index_git.h"

#include "lomarind/storage/index_sources.h"

namespace lomarind::repository_changes {

std::vector<std::string> GitIndexSource::tracked_files(
    const std::filesystem::path& repo_root) const {
  return repository_changes::tracked_files(runner_, repo_root);
}

std::optional<std::string> GitIndexSource::head_commit(
    const std::filesystem::path& repo_root) const {
  return repository_changes::head_commit(runner_, repo_root);
}

std::optional<std::vector<std::string>> GitIndexSource::changed_between(
    const std::filesystem::path& repo_root, const std::string& from, const std::string& to) const {
  return repository_changes::changed_between(runner_, repo_root, from, to);
}

std::vector<std::string> GitIndexSource::work_tree_changes(
    const std::filesystem::path& repo_root) const {
  return repository_changes::work_tree_changes(runner_, repo_root);
}

std::filesystem::path GitIndexSource::common_dir(const std::filesystem::path& repo_root) const {
  return git_utils::git_common_dir(runner_, repo_root);
}

}  // namespace lomarind::repository_changes
