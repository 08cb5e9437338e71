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

RecentChangesAnswer GitHistory::recent_changes(const repository_changes::Repository& repository,
                                               const std::filesystem::path& repo_root,
                                               const RecentChangesOptions& options) const {
  const detail::PeriodLog log = detail::read_period(n_.parse_time_spec, n_.git, n_.logger,
                                                    repo_root, options.since, options.branch);

  std::vector<detail::PathHistory> kept = detail::histories(log.commits);
  const std::size_t changed = kept.size();
  if (options.source_only) {
    detail::drop_non_source(kept, n_.filters, detail::index_facts(n_.index, repository.db, kept));
  }
  detail::sort_through_page(kept, options.limit, options.offset, latest_first);

  const std::vector<detail::PathHistory> page = detail::page(kept, options.limit, options.offset);
  RecentChangesAnswer answer{.period = detail::period_fields(options.since, log),
                             .excluded_files = static_cast<std::int64_t>(changed - kept.size())};
  answer.files.reserve(page.size());
  for (const detail::PathHistory& history : page)
    answer.files.push_back(detail::history_row(history));
  if (options.include_symbols && !page.empty()) {
    const std::optional<std::string> window_base = detail::reading_git(
        n_.logger, [&] { return n_.git.commit_before(repo_root, log.tip.commit, log.start); });
    std::vector<git_utils::FileChange> files;
    files.reserve(page.size());
    for (const detail::PathHistory& history : page) files.push_back(history.as_change());
    detail::attach_symbols(
        answer.files, touched_symbols(repository, repo_root, window_base, log.tip.commit, files,
                                      {.merge_base = false}));
  }
  answer.page = detail::page_fields(static_cast<std::int64_t>(kept.size()), options.limit,
                                    options.offset, static_cast<std::int64_t>(page.size()));
  return answer;
}

}  // namespace lomarind::git_history
