// The rows of the branch and period answers, each key in its documented
// order: a changed file, a file's history over a period, a symbol.
#include "lomarind/workers/git_history/git_history.h"
#include "lomarind/workers/git_history/period.h"

namespace lomarind::git_history {

Json change_row(const git_utils::FileChange& change) {
  Json row = Json::object();
  row["path"] = change.path;
  row["status"] = change.status;
  if (change.old_path) row["old_path"] = *change.old_path;
  row["additions"] = change.additions;
  row["deletions"] = change.deletions;
  return row;
}

Json symbol_row(const repository_changes::SymbolOnLines& symbol) {
  Json row = Json::object();
  row["name"] = symbol.name;
  row["kind"] = symbol.kind;
  row["fqn"] = symbol.fqn;
  row["line"] = symbol.start_line;
  row["end_line"] = symbol.end_line;
  return row;
}

namespace detail {

Json history_row(const PathHistory& history) {
  Json row = change_row(history.as_change());
  row["commits"] = history.commits;
  row["last_changed"] = utc_timestamp(history.last_changed);
  return row;
}

}  // namespace detail
}  // namespace lomarind::git_history
