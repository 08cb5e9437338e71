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
  using Path = std::filesystem::path;
  using Time = std::chrono::sys_seconds;

 public:
  std::map<std::string, std::string> commits;  // resolve_commit: name -> id
  std::optional<std::string> display_branch;
  std::string default_branch = "main";
  std::map<std::string, Time> periods;  // any other period is a std::invalid_argument
  std::vector<git_utils::FileChange> diff_files;
  std::int64_t commit_count = 0;
  std::vector<git_utils::CommitChanges> log;
  std::optional<std::string> before;
  git_utils::LineSpansByPath line_spans;

  // Calls of this operation are recorded, then throw "fatal: bad object".
  std::string fail_on;

  // One entry per call: "op(arg, arg, ...)", without the root.
  mutable std::vector<std::string> calls;

  std::optional<std::string> resolve_commit(const Path&, const std::string& name) const override;
  std::optional<std::string> resolve_display_branch(const Path&) const override;
  std::string get_default_branch(const Path&) const override;
  Time parse_time_spec(const std::string& since) const override;
  std::vector<git_utils::FileChange> diff_file_changes(const Path&, const std::string& base,
                                                       const std::string& head) const override;
  std::int64_t count_commits(const Path&, const std::string& base,
                             const std::string& head) const override;
  std::vector<git_utils::CommitChanges> log_commit_changes(const Path&, Time since,
                                                           const std::string& ref,
                                                           int max_commits) const override;
  std::optional<std::string> commit_before(const Path&, const std::string& tip,
                                           Time start) const override;
  git_utils::LineSpansByPath diff_line_spans(const Path&, const std::string& base,
                                             const std::string& head, bool merge_base,
                                             const std::vector<std::string>& paths) const override;

 private:
  void record(const std::string& op, const std::string& args) const;
};

}  // namespace lomarind::testing
