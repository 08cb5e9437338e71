// A git reader for several answers about one snapshot of the history: it
// reads a period's log once and serves every later request for the same log
// from memory, and resolves each name once, so that every answer built over
// it describes the same commits even while the repository moves on. The
// other questions go to the wrapped reader. Not for use from two threads.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lomarind/git/git_reader_wrapper.h"
#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {

// A period's log and the request it answered.
struct KeptLog {
  std::filesystem::path repo_root;
  std::chrono::sys_seconds since;
  std::string ref;
  int max_commits = 0;
  std::vector<CommitChanges> commits;  // newest first
};

class KeptLogReader final : public GitReaderWrapper {
 public:
  // `git` must outlive the reader.
  explicit KeptLogReader(const GitReader& git) : GitReaderWrapper(git) {}
  KeptLogReader(const KeptLogReader&) = delete;
  KeptLogReader& operator=(const KeptLogReader&) = delete;

  // The log most recently read; nullopt before the first.
  const std::optional<KeptLog>& last_log() const { return log_; }

  std::optional<std::string> resolve_commit(const std::filesystem::path& repo_root,
                                            const std::string& name) const override;
  std::optional<std::string> resolve_display_branch(
      const std::filesystem::path& repo_root) const override;
  std::vector<CommitChanges> log_commit_changes(const std::filesystem::path& repo_root,
                                                std::chrono::sys_seconds since,
                                                const std::string& ref,
                                                int max_commits) const override;

 private:
  mutable std::optional<KeptLog> log_;
  // Keyed by repository root and name.
  mutable std::map<std::pair<std::string, std::string>, std::optional<std::string>> commits_;
  mutable std::map<std::string, std::optional<std::string>> display_branches_;
};

}  // namespace lomarind::git_utils
