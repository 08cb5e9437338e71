// A git reader that passes every question on to another one. A reader that
// answers a few questions its own way (from a cache, from a log it kept)
// derives from it and overrides only those.
#pragma once

#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {

class GitReaderWrapper : public GitReader {
 public:
  // `target` must outlive the wrapper.
  explicit GitReaderWrapper(const GitReader& target) : target_(target) {}

  std::optional<std::string> resolve_commit(const std::filesystem::path& repo_root,
                                            const std::string& name) const override {
    return target_.resolve_commit(repo_root, name);
  }
  std::optional<std::string> resolve_display_branch(
      const std::filesystem::path& repo_root) const override {
    return target_.resolve_display_branch(repo_root);
  }
  std::string get_default_branch(const std::filesystem::path& repo_root) const override {
    return target_.get_default_branch(repo_root);
  }
  std::vector<FileChange> diff_file_changes(const std::filesystem::path& repo_root,
                                            const std::string& base_commit,
                                            const std::string& head_commit) const override {
    return target_.diff_file_changes(repo_root, base_commit, head_commit);
  }
  std::int64_t count_commits(const std::filesystem::path& repo_root, const std::string& base_commit,
                             const std::string& head_commit) const override {
    return target_.count_commits(repo_root, base_commit, head_commit);
  }
  std::vector<CommitChanges> log_commit_changes(const std::filesystem::path& repo_root,
                                                std::chrono::sys_seconds since,
                                                const std::string& ref,
                                                int max_commits) const override {
    return target_.log_commit_changes(repo_root, since, ref, max_commits);
  }
  std::optional<std::string> commit_before(const std::filesystem::path& repo_root,
                                           const std::string& tip,
                                           std::chrono::sys_seconds start) const override {
    return target_.commit_before(repo_root, tip, start);
  }
  LineSpansByPath diff_line_spans(const std::filesystem::path& repo_root,
                                  const std::string& base_commit, const std::string& head_commit,
                                  bool merge_base,
                                  const std::vector<std::string>& paths) const override {
    return target_.diff_line_spans(repo_root, base_commit, head_commit, merge_base, paths);
  }

 protected:
  const GitReader& target() const { return target_; }

 private:
  const GitReader& target_;
};

}  // namespace lomarind::git_utils
