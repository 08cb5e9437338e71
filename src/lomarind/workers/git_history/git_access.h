// Git access for the answers: the guard that turns a failed git command
// into GitHistoryError, the start of a period, and the resolution of the
// base, head and branch names that callers type into commits.
#pragma once

#include <chrono>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/neighbour_interfaces.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history::detail {

// Runs `block` and returns its result. A GitError leaving it is logged once
// as a warning and rethrown as GitHistoryError("git failed: " + its text)
// with the GitError as cause; anything else, a GitHistoryError included,
// passes through untouched.
template <typename Block>
decltype(auto) reading_git(const Logger& logger, Block&& block) {
  try {
    return std::forward<Block>(block)();
  } catch (const git_utils::GitError& error) {
    logger.warning("git failed: %s", {error.what()});
    throw GitHistoryError(std::string("git failed: ") + error.what(), std::current_exception());
  }
}

// The start of the period `since`. A string that is no period throws
// GitHistoryError with the parser's message, the parser's error as cause.
std::chrono::sys_seconds period_start(const TimeSpecParser& parse_time_spec,
                                      const std::string& since);

// A name that resolved, and its commit.
struct ResolvedRef {
  std::string name;
  std::string commit;

  bool operator==(const ResolvedRef&) const = default;
};

// `name` itself, then origin/<name> unless it already starts so; the first
// that resolves wins. nullopt when neither does.
std::optional<ResolvedRef> resolve_branch(const git_utils::GitReader& git,
                                          const std::filesystem::path& repo_root,
                                          const std::string& name);

// The named base, else the default branch. Throws GitHistoryError saying
// what to give when neither resolves.
ResolvedRef resolve_base(const git_utils::GitReader& git, const std::filesystem::path& repo_root,
                         const std::optional<std::string>& name);

// The named head, else what is checked out. `parameter` is the name under
// which the caller's user gave `name`, quoted in the error.
ResolvedRef resolve_head(const git_utils::GitReader& git, const std::filesystem::path& repo_root,
                         const std::optional<std::string>& name, std::string_view parameter);

// One period's log: where it starts, the tip it was read from, and its
// commits, newest first.
struct PeriodLog {
  std::chrono::sys_seconds start;
  ResolvedRef tip;
  std::vector<git_utils::CommitChanges> commits;
};

// The start of `since`, then (inside the git-error guard) the tip of
// `branch` or of what is checked out, and one log of at most MAX_COMMITS
// commits from it.
PeriodLog read_period(const TimeSpecParser& parse_time_spec, const git_utils::GitReader& git,
                      const Logger& logger, const std::filesystem::path& repo_root,
                      const std::string& since, const std::optional<std::string>& branch);

}  // namespace lomarind::git_history::detail
