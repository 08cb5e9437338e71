// A git reader that keeps what each commit changed: log_commit_changes
// lists the period's commits without diffs, takes their changes from the
// repository's commit cache, and asks git only for the commits the cache
// does not hold, several git processes at once. Its answer is exactly the
// one the wrapped reader gives. Every other operation is forwarded as it is.
//
// The cache is an accelerator, never a source of truth: when it is missing,
// damaged, foreign, a symbolic link, locked or read-only, or when what
// shapes a diff cannot be checked, the answer is read from git and at most
// one warning is logged (on the logger given, never the history module's,
// and only from the calling thread). Commits read from git are stored while
// the caller builds its answer; the next period and the reader's end wait
// for that.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <future>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/git/git_cli.h"
#include "lomarind/git/git_reader_wrapper.h"
#include "lomarind/git/git_runner.h"
#include "lomarind/storage/commit_cache.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/logging.h"

namespace lomarind::commit_cache {

// The logger of the cache's own warnings.
inline constexpr std::string_view kCacheLoggerName = "lomarind.commit_cache";

class CachedGitReader final : public git_utils::GitReaderWrapper {
 public:
  // `git` and the sink of `warnings` must outlive the reader; `runner` runs
  // the few git commands that check what shapes a commit's diff. The cache
  // file is kept under `max_bytes`.
  CachedGitReader(const git_utils::GitCli& git, git_utils::GitRunner runner, Logger warnings,
                  std::uint64_t max_bytes = kCacheBytes)
      : GitReaderWrapper(git),
        git_(git),
        runner_(std::move(runner)),
        warnings_(std::move(warnings)),
        max_bytes_(max_bytes) {}
  // Waits for the last period's commits to be stored.
  ~CachedGitReader() override;
  CachedGitReader(const CachedGitReader&) = delete;
  CachedGitReader& operator=(const CachedGitReader&) = delete;

  std::vector<git_utils::CommitChanges> log_commit_changes(const std::filesystem::path& repo_root,
                                                           std::chrono::sys_seconds since,
                                                           const std::string& ref,
                                                           int max_commits) const override;

 private:
  // Gives the commits at `missing` positions their files, read from git.
  void read_missing(const std::filesystem::path& repo_root,
                    std::vector<git_utils::CommitChanges>& commits,
                    const std::vector<std::size_t>& missing) const;
  // Runs `step`. A CacheError or GitError leaving it is logged (once) and
  // gives false: the cache then plays no part in the answer.
  template <typename Step>
  bool attempt(Step&& step) const;
  // Waits for the commits read by the last period to be stored, and logs
  // why that failed, if it did.
  void finish_storing() const;
  // Logs `message` unless a warning was logged already.
  void warn_once(const std::string& message) const;

  const git_utils::GitCli& git_;
  const git_utils::GitRunner runner_;
  const Logger warnings_;
  const std::uint64_t max_bytes_;
  mutable std::atomic<bool> warned_ = false;
  mutable std::mutex storing_mutex_;
  // The last period's store: why it failed, if it did.
  mutable std::future<std::optional<std::string>> storing_;
};

}  // namespace lomarind::commit_cache
