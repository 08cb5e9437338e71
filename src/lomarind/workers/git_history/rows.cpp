// The rows of the branch and period answers: a changed file, a file's
// history over a period, a symbol.
#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/git_history.h"
#include "lomarind/workers/git_history/period.h"

namespace lomarind::git_history {

ChangeRow change_row(const git_utils::FileChange& change) {
  return ChangeRow{.path = change.path,
                   .status = change.status,
                   .old_path = change.old_path,
                   .additions = change.additions,
                   .deletions = change.deletions};
}

SymbolRow symbol_row(const repository_changes::SymbolOnLines& symbol) {
  return SymbolRow{.name = symbol.name,
                   .kind = symbol.kind,
                   .fqn = symbol.fqn,
                   .line = symbol.start_line,
                   .end_line = symbol.end_line};
}

namespace detail {

HistoryRow history_row(const PathHistory& history) {
  return HistoryRow{.change = change_row(history.as_change()),
                    .commits = history.commits,
                    .last_changed = history.last_changed};
}

PeriodFields period_fields(const std::string& since, const std::string& branch,
                           std::span<const git_utils::CommitChanges> commits) {
  PeriodFields fields{
      .since = since,
      .branch = branch,
      .commit_count = static_cast<std::int64_t>(commits.size()),
      .commit_limit_reached = commits.size() >= static_cast<std::size_t>(MAX_COMMITS)};
  for (const git_utils::CommitChanges& commit : commits) {
    if (fields.oldest == 0 || commit.timestamp < fields.oldest) fields.oldest = commit.timestamp;
  }
  return fields;
}

PeriodFields period_fields(const std::string& since, const PeriodLog& log) {
  PeriodFields fields = period_fields(since, log.tip.name, log.commits);
  fields.start = log.start.time_since_epoch().count();
  return fields;
}

}  // namespace detail
}  // namespace lomarind::git_history
