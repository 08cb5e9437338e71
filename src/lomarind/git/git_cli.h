// The git reader that runs the git program: each operation is one or a few
// git commands through a GitRunner, whose output the git_parse functions
// turn into records.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "lomarind/git/git_runner.h"
#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {

class GitCli final : public GitReader {
 public:
  explicit GitCli(GitRunner runner) : runner_(std::move(runner)) {}

  // `name` is any revision git understands; every caller-supplied name is
  // passed after --end-of-options, so one that looks like an option is
  // just a name that does not resolve.
  std::optional<std::string> resolve_commit(const std::filesystem::path& repo_root,
                                            const std::string& name) const override;
  // Empty on a detached head.
  std::optional<std::string> resolve_display_branch(
      const std::filesystem::path& repo_root) const override;
  std::string get_default_branch(const std::filesystem::path& repo_root) const override;
  std::vector<FileChange> diff_file_changes(const std::filesystem::path& repo_root,
                                            const std::string& base_commit,
                                            const std::string& head_commit) const override;
  std::int64_t count_commits(const std::filesystem::path& repo_root, const std::string& base_commit,
                             const std::string& head_commit) const override;
  // Merge commits are listed with no files.
  std::vector<CommitChanges> log_commit_changes(const std::filesystem::path& repo_root,
                                                std::chrono::sys_seconds since,
                                                const std::string& ref,
                                                int max_commits) const override;
  std::optional<std::string> commit_before(const std::filesystem::path& repo_root,
                                           const std::string& tip,
                                           std::chrono::sys_seconds start) const override;
  LineSpansByPath diff_line_spans(const std::filesystem::path& repo_root,
                                  const std::string& base_commit, const std::string& head_commit,
                                  bool merge_base,
                                  const std::vector<std::string>& paths) const override;

  // The commits log_commit_changes lists, by the same walk, each with its
  // time but without files: a listing that costs no diff. `listed`, if
  // given, is told how many have arrived as they come in.
  std::vector<CommitChanges> log_commit_times(
      const std::filesystem::path& repo_root, std::chrono::sys_seconds since,
      const std::string& ref, int max_commits,
      const std::function<void(std::size_t)>& listed = nullptr) const;
  // What each of `commits` changed, exactly as log_commit_changes shows it,
  // in the order given. Long lists are read by several git processes at
  // once, one per core (at most 8).
  std::vector<CommitChanges> read_commit_changes(const std::filesystem::path& repo_root,
                                                 const std::vector<std::string>& commits) const;

 private:
  std::vector<CommitChanges> read_slice(const std::filesystem::path& repo_root,
                                        std::span<const std::string> commits) const;

  GitRunner runner_;
};

}  // namespace lomarind::git_utils
