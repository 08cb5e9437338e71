#include "lomarind/git/kept_log_reader.h"

namespace lomarind::git_utils {

std::optional<std::string> KeptLogReader::resolve_commit(const std::filesystem::path& repo_root,
                                                         const std::string& name) const {
  const auto key = std::make_pair(repo_root.string(), name);
  const auto found = commits_.find(key);
  if (found != commits_.end()) return found->second;
  return commits_.emplace(key, target().resolve_commit(repo_root, name)).first->second;
}

std::optional<std::string> KeptLogReader::resolve_display_branch(
    const std::filesystem::path& repo_root) const {
  const auto found = display_branches_.find(repo_root.string());
  if (found != display_branches_.end()) return found->second;
  return display_branches_.emplace(repo_root.string(), target().resolve_display_branch(repo_root))
      .first->second;
}

std::vector<CommitChanges> KeptLogReader::log_commit_changes(const std::filesystem::path& repo_root,
                                                             std::chrono::sys_seconds since,
                                                             const std::string& ref,
                                                             int max_commits) const {
  const bool same = log_ && log_->repo_root == repo_root && log_->since == since &&
                    log_->ref == ref && log_->max_commits == max_commits;
  if (!same) {
    // Cleared first: a read that throws leaves no log of another request.
    log_.reset();
    log_ = KeptLog{repo_root, since, ref, max_commits,
                   target().log_commit_changes(repo_root, since, ref, max_commits)};
  }
  return log_->commits;
}

}  // namespace lomarind::git_utils
