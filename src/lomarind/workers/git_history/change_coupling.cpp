// The coupling answer: the period's one log, folded, counted and listed.
#include <string>
#include <utility>
#include <vector>

#include "lomarind/workers/git_history/coupling.h"
#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/git_history.h"
#include "lomarind/workers/git_history/paging.h"
#include "lomarind/workers/git_history/source.h"

namespace lomarind::git_history {
namespace detail {

CouplingCounts count_period(const repository_changes::ChangeIndex& index,
                            const repository_changes::IndexDb& db, const SourceFilters& filters,
                            std::span<const git_utils::CommitChanges> commits, bool source_only,
                            std::int64_t max_changeset,
                            const std::set<std::string, std::less<>>& marked) {
  FoldedLog folded = fold_log(commits);
  std::vector<bool> kept(folded.histories.size());
  std::vector<std::string> existing;
  for (std::size_t i = 0; i < folded.histories.size(); ++i) {
    kept[i] = folded.histories[i].exists;
    if (kept[i]) existing.push_back(folded.histories[i].path);
  }
  std::int64_t excluded = 0;
  // The index is asked only when its languages decide what is source.
  if (source_only && !existing.empty()) {
    const repository_changes::IndexedPaths facts = index.indexed_paths(db, existing);
    for (std::size_t i = 0; i < folded.histories.size(); ++i) {
      if (kept[i] && !is_source(filters, folded.histories[i].path, facts)) {
        kept[i] = false;
        ++excluded;
      }
    }
  }
  CouplingCounts counts = count_coupling(commits, std::move(folded), kept, max_changeset, marked);
  counts.excluded_files = excluded;
  return counts;
}

}  // namespace detail

CouplingAnswer GitHistory::change_coupling(const repository_changes::Repository& repository,
                                           const std::filesystem::path& repo_root,
                                           const CouplingOptions& options) const {
  const detail::CouplingThresholds thresholds = detail::thresholds_of(options);
  detail::check_thresholds(thresholds);
  const detail::PeriodLog log = detail::read_period(n_.parse_time_spec, n_.git, n_.logger,
                                                    repo_root, options.since, options.branch);
  const detail::CouplingCounts counts = detail::count_period(
      n_.index, repository.db, n_.filters, log.commits, options.source_only, options.max_changeset,
      options.path ? std::set<std::string, std::less<>>{*options.path}
                   : std::set<std::string, std::less<>>{});

  std::vector<detail::CoupledPair> pairs = detail::listed_pairs(counts, thresholds);
  const detail::StrongerFirst order{counts};
  detail::sort_through_page(pairs, options.limit, options.offset, order);
  const std::vector<detail::CoupledPair> page = detail::page(pairs, options.limit, options.offset);
  CouplingAnswer answer{.period = detail::period_fields(options.since, log),
                        .bulk_commits = counts.bulk_commits,
                        .excluded_files = counts.excluded_files};
  answer.pairs.reserve(page.size());
  for (const detail::CoupledPair& pair : page)
    answer.pairs.push_back(detail::coupling_row(counts, pair));
  answer.page = detail::page_fields(static_cast<std::int64_t>(pairs.size()), options.limit,
                                    options.offset, static_cast<std::int64_t>(page.size()));
  return answer;
}

}  // namespace lomarind::git_history
