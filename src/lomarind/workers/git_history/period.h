// One period's log folded into per-file histories that follow renames, and
// the rows and fields the period answers build from them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "lomarind/utils/git_utils.h"
#include "lomarind/workers/git_history/answers.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history::detail {

// Folds `commits` (newest first, as git lists them) oldest first into one
// history per file, under the file's last path. A file keeps the place its
// first change gave it; a rename moves its record to the end, or into the
// place of the path it was renamed onto (dropping the record found there).
// One pass, a constant number of hash look-ups per changed file.
std::vector<PathHistory> histories(std::span<const git_utils::CommitChanges> commits);

// The change row of history.as_change(), then commits and last_changed.
HistoryRow history_row(const PathHistory& history);

// The period's fields; commit_limit_reached when the log reached MAX_COMMITS.
PeriodFields period_fields(const std::string& since, const std::string& branch,
                           std::span<const git_utils::CommitChanges> commits);

struct PeriodLog;
// The fields of a period read from `log`: its tip's name and its start.
PeriodFields period_fields(const std::string& since, const PeriodLog& log);

}  // namespace lomarind::git_history::detail
