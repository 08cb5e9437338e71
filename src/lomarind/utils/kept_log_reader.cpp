#include "lomarind/utils/kept_log_reader.h"

namespace lomarind::git_utils {

std::optional<std::string> KeptLogReader::resolve_commit(const std::filesystem::path& repo_root,
                                                         const std::string& name) const {
  const auto key = std::make_pair(repo_root.string(), name);
  const auto found = commits_.find(key);
  if (found != commits_.end()) return found->second;
  return commits_.emplace(key, git_.resolve_commit(repo_root, name)).first->second;
}

std::optional<std::string> KeptLogReader::resolve_display_branch(
    const std::filesystem::path& repo_root) const {
  const auto found = display_branches_.find(repo_root.string());
  if (found != display_branches_.end()) return found->second;
  return display_branches_.emplace(repo_root.string(), git_.resolve_display_branch(repo_root))
      .first->second;
}

std::string KeptLogReader::get_default_branch(const std::filesystem::path& repo_root) const {
  return git_.get_default_branch(repo_root);
}

std::chrono::sys_seconds KeptLogReader::parse_time_spec(const std::string& since) const {
  return git_.parse_time_spec(since);
}

std::vector<FileChange> KeptLogReader::diff_file_changes(const std::filesystem::path& repo_root,
                                                         const std::string& base_commit,
                                                         const std::string& head_commit) const {
  return git_.diff_file_changes(repo_root, base_commit, head_commit);
}

std::int64_t KeptLogReader::count_commits(const std::filesystem::path& repo_root,
                                          const std::string& base_commit,
                                          const std::string& head_commit) const {
  return git_.count_commits(repo_root, base_commit, head_commit);
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
                   git_.log_commit_changes(repo_root, since, ref, max_commits)};
  }
  return log_->commits;
}

std::optional<std::string> KeptLogReader::commit_before(const std::filesystem::path& repo_root,
                                                        const std::string& tip,
                                                        std::chrono::sys_seconds start) const {
  return git_.commit_before(repo_root, tip, start);
}

LineSpansByPath KeptLogReader::diff_line_spans(const std::filesystem::path& repo_root,
                                               const std::string& base_commit,
                                               const std::string& head_commit, bool merge_base,
                                               const std::vector<std::string>& paths) const {
  return git_.diff_line_spans(repo_root, base_commit, head_commit, merge_base, paths);
}

}  // namespace lomarind::git_utils
