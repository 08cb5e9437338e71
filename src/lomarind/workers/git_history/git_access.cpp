#include "lomarind/workers/git_history/git_access.h"

#include <stdexcept>

#include "lomarind/utils/quoting.h"

namespace lomarind::git_history::detail {
namespace {

constexpr std::string_view kRemotePrefix = "origin/";

}  // namespace

std::chrono::sys_seconds period_start(const TimeSpecParser& parse_time_spec,
                                      const std::string& since) {
  try {
    return parse_time_spec(since);
  } catch (const std::invalid_argument& error) {
    throw GitHistoryError(error.what(), std::current_exception());
  }
}

std::optional<ResolvedRef> resolve_branch(const git_utils::GitReader& git,
                                          const std::filesystem::path& repo_root,
                                          const std::string& name) {
  if (std::optional<std::string> commit = git.resolve_commit(repo_root, name)) {
    return ResolvedRef{name, std::move(*commit)};
  }
  if (name.starts_with(kRemotePrefix)) return std::nullopt;
  // A branch with no local copy is read from its remote-tracking branch.
  std::string remote = std::string(kRemotePrefix) + name;
  if (std::optional<std::string> commit = git.resolve_commit(repo_root, remote)) {
    return ResolvedRef{std::move(remote), std::move(*commit)};
  }
  return std::nullopt;
}

ResolvedRef resolve_base(const git_utils::GitReader& git, const std::filesystem::path& repo_root,
                         const std::optional<std::string>& name) {
  if (name) {
    if (std::optional<ResolvedRef> named = resolve_branch(git, repo_root, *name)) return *named;
  }
  std::optional<ResolvedRef> fallback =
      resolve_branch(git, repo_root, git.get_default_branch(repo_root));
  if (!name) {
    if (fallback) return *fallback;
    throw GitHistoryError(
        "No default branch found (origin/HEAD, main or master): give base_branch");
  }
  const std::string hint =
      fallback ? "leave base_branch empty to use the default branch '" + fallback->name + "'"
               : "and there is no default branch (origin/HEAD, main or master) either";
  throw GitHistoryError("Base branch " + quoting::quoted_name(*name) + " not found; " + hint);
}

ResolvedRef resolve_head(const git_utils::GitReader& git, const std::filesystem::path& repo_root,
                         const std::optional<std::string>& name, std::string_view parameter) {
  if (!name) {
    std::optional<std::string> commit = git.resolve_commit(repo_root, "HEAD");
    if (!commit) throw GitHistoryError("The repository has no commit yet");
    std::optional<std::string> display = git.resolve_display_branch(repo_root);
    if (!display || display->empty()) display = "HEAD";
    return ResolvedRef{std::move(*display), std::move(*commit)};
  }
  if (std::optional<ResolvedRef> named = resolve_branch(git, repo_root, *name)) return *named;
  throw GitHistoryError("Branch " + quoting::quoted_name(*name) + " not found; leave " +
                        std::string(parameter) + " empty to use the current branch");
}

PeriodLog read_period(const TimeSpecParser& parse_time_spec, const git_utils::GitReader& git,
                      const Logger& logger, const std::filesystem::path& repo_root,
                      const std::string& since, const std::optional<std::string>& branch) {
  PeriodLog log{.start = period_start(parse_time_spec, since), .tip = {}, .commits = {}};
  log.commits = reading_git(logger, [&] {
    log.tip = resolve_head(git, repo_root, branch, "branch");
    return git.log_commit_changes(repo_root, log.start, log.tip.commit, MAX_COMMITS);
  });
  return log;
}

}  // namespace lomarind::git_history::detail
