// A GitReader with canned answers that records every call, for tests that
// must see which git questions an answer asks, in which order.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lomarind/utils/git_utils.h"

namespace lomarind::testing {

// A FileChange without spelling out every field.
git_utils::FileChange change(std::string path, std::string status, std::int64_t additions = 0,
                             std::int64_t deletions = 0,
                             std::optional<std::string> old_path = std::nullopt);

class FakeGitReader final : public git_utils::GitReader {
 public:
  // Every call must name this root; another one throws std::logic_error.
  std::filesystem::path root = "/repo";

  // resolve_commit answers: name -> commit id; other names do not resolve.
  std::map<std::string, std::string> commits;
  std::optional<std::string> display_branch;
  std::string default_branch = "main";
  // parse_time_spec answers; any other string throws std::invalid_argument.
  std::map<std::string, std::chrono::sys_seconds> periods;
  std::vector<git_utils::FileChange> diff_files;
  std::int64_t commit_count = 0;
  std::vector<git_utils::CommitChanges> log;
  std::optional<std::string> before;
  git_utils::LineSpansByPath line_spans;

  // The operation (e.g. "log_commit_changes") whose calls throw
  // GitError(fail_text), after being recorded.
  std::string fail_on;
  std::string fail_text = "fatal: bad object";

  // One entry per call: "op(arg, arg, ...)", without the root.
  mutable std::vector<std::string> calls;

  std::optional<std::string> resolve_commit(const std::filesystem::path& repo_root,
                                            const std::string& name) const override;
  std::optional<std::string> resolve_display_branch(
      const std::filesystem::path& repo_root) const override;
  std::string get_default_branch(const std::filesystem::path& repo_root) const override;
  std::chrono::sys_seconds parse_time_spec(const std::string& since) const override;
  std::vector<git_utils::FileChange> diff_file_changes(
      const std::filesystem::path& repo_root, const std::string& base_commit,
      const std::string& head_commit) const override;
  std::int64_t count_commits(const std::filesystem::path& repo_root, const std::string& base_commit,
                             const std::string& head_commit) const override;
  std::vector<git_utils::CommitChanges> log_commit_changes(const std::filesystem::path& repo_root,
                                                           std::chrono::sys_seconds since,
                                                           const std::string& ref,
                                                           int max_commits) const override;
  std::optional<std::string> commit_before(const std::filesystem::path& repo_root,
                                           const std::string& tip,
                                           std::chrono::sys_seconds start) const override;
  git_utils::LineSpansByPath diff_line_spans(const std::filesystem::path& repo_root,
                                             const std::string& base_commit,
                                             const std::string& head_commit, bool merge_base,
                                             const std::vector<std::string>& paths) const override;

 private:
  void record(const std::filesystem::path& repo_root, const std::string& op,
              const std::string& args) const;
};

}  // namespace lomarind::testing
