// The history module with its production neighbours (the git program, the
// index file, the library's filters and pagination hint), built once per
// run for one repository.
#pragma once

#include <filesystem>

#include "cli/commands.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/git_cli.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/default_neighbours.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::cli {

class HistorySession {
 public:
  // `sink` must outlive the session; `now` is the time periods count back from.
  HistorySession(std::filesystem::path repo_root, repository_changes::IndexDb db,
                 std::chrono::sys_seconds now, const LogSink& sink);
  // The module holds references to the members.
  HistorySession(const HistorySession&) = delete;
  HistorySession& operator=(const HistorySession&) = delete;

  HistoryQuery query() const { return {history_, repository_, root_}; }

 private:
  std::filesystem::path root_;
  repository_changes::IndexDb db_;
  repository_changes::Repository repository_{db_};
  git_utils::GitCli git_;
  repository_changes::SqliteIndex index_;
  git_history::DefaultSourceFilters filters_;
  git_history::DefaultPaginationHint pagination_;
  Logger logger_;
  git_history::GitHistory history_;
};

}  // namespace lomarind::cli
