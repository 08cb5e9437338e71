#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/git_history.h"
#include "lomarind/workers/git_history/paging.h"
#include "lomarind/workers/git_history/period.h"
#include "lomarind/workers/git_history/source.h"
#include "lomarind/workers/git_history/symbols.h"

namespace lomarind::git_history {
namespace {

// The latest change first, then more commits, then by path.
bool latest_first(const detail::PathHistory& a, const detail::PathHistory& b) {
  if (a.last_changed != b.last_changed) return a.last_changed > b.last_changed;
  if (a.commits != b.commits) return a.commits > b.commits;
  return detail::code_point_less(a.path, b.path);
}

}  // namespace

Json GitHistory::recent_changes(const repository_changes::Repository& repository,
                                const std::filesystem::path& repo_root,
                                const RecentChangesOptions& options) const {
  const std::chrono::sys_seconds start = detail::period_start(n_.git, options.since);
  detail::ResolvedRef tip;
  const std::vector<git_utils::CommitChanges> commits = detail::reading_git(n_.logger, [&] {
    tip = detail::resolve_head(n_.git, repo_root, options.branch, "branch");
    return n_.git.log_commit_changes(repo_root, start, tip.commit, MAX_COMMITS);
  });

  std::vector<detail::PathHistory> kept = detail::histories(commits);
  const std::size_t changed = kept.size();
  if (options.source_only) {
    std::vector<std::string> paths;
    paths.reserve(kept.size());
    for (const detail::PathHistory& history : kept) paths.push_back(history.path);
    const repository_changes::IndexedPaths facts = n_.index.indexed_paths(repository.db, paths);
    std::erase_if(kept, [&](const detail::PathHistory& history) {
      return !detail::is_source(n_.filters, history.path, facts);
    });
  }
  detail::sort_through_page(kept, options.limit, options.offset, latest_first);

  const std::vector<detail::PathHistory> page = detail::page(kept, options.limit, options.offset);
  std::vector<Json> rows;
  rows.reserve(page.size());
  for (const detail::PathHistory& history : page) rows.push_back(detail::history_row(history));
  if (options.include_symbols && !page.empty()) {
    const std::optional<std::string> window_base = detail::reading_git(
        n_.logger, [&] { return n_.git.commit_before(repo_root, tip.commit, start); });
    std::vector<git_utils::FileChange> files;
    files.reserve(page.size());
    for (const detail::PathHistory& history : page) files.push_back(history.as_change());
    detail::attach_symbols(rows, touched_symbols(repository, repo_root, window_base, tip.commit,
                                                 files, {.merge_base = false}));
  }

  Json result = detail::period_fields(options.since, tip.name, commits);
  result["excluded_files"] = static_cast<std::int64_t>(changed - kept.size());
  return detail::paginated(std::move(result), "files", std::move(rows),
                           static_cast<std::int64_t>(kept.size()), options.limit, options.offset,
                           n_.pagination);
}

}  // namespace lomarind::git_history
