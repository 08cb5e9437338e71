// The program's commands. Each history command asks the module one
// question and prints the answer, as JSON or as a table; nothing reaches
// stdout unless the whole answer was built.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <ostream>
#include <string>

#include "cli/answer_text.h"
#include "cli/command_line.h"
#include "lomarind/storage/repository_changes.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::cli {

// Where answers and notices go, and how tables look.
struct Terminal {
  std::ostream& out;
  std::ostream& err;
  RenderOptions render;
  bool progress = false;  // err is a terminal: show a progress line
};

// What every history command works on: the module with its neighbours and
// the repository it asks about.
struct HistoryQuery {
  const git_history::GitHistory& history;
  const repository_changes::Repository& repository;
  const std::filesystem::path& repo_root;
};

// Each returns the exit status. Errors of the module, git and the index are
// thrown to the caller.
int run_recent(const HistoryQuery& query, const RecentArgs& args, const Terminal& terminal);
int run_hotspots(const HistoryQuery& query, const HotspotsArgs& args, const Terminal& terminal);
int run_diff(const HistoryQuery& query, const DiffArgs& args, const Terminal& terminal);

struct RepositoryLocation;

// Builds or updates the index of `location`; stops early, leaving the
// previous index whole, once `stop` is raised.
// Where `lomarind index` also keeps what the newest commits changed.
struct CommitCacheUse {
  bool enabled = true;
  const LogSink& sink;  // the cache's warnings
};

int run_index(const RepositoryLocation& location, const IndexArgs& args, const Terminal& terminal,
              const CommitCacheUse& cache, const std::atomic<bool>& stop);

}  // namespace lomarind::cli
