// The production neighbours of the history answers: the git program, the
// index file's queries and the library's own language and path filters.
// ProductionHistory is the one place that wires them; the program, the
// Python extension and the end-to-end tests all build it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "lomarind/git/git_cli.h"
#include "lomarind/git/git_runner.h"
#include "lomarind/storage/cached_git_reader.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/logging.h"
#include "lomarind/utils/time_spec.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::git_history {

// The library's own language and path rules.
SourceFilters builtin_source_filters();

// The wall clock, to the second.
std::chrono::sys_seconds wall_clock();

struct ProductionOptions {
  git_utils::Clock now = wall_clock;  // periods count back from it
  git_utils::GitRunner runner = git_utils::GitRunner();
  // Periods take what each commit changed from the repository's commit
  // cache. LOMARIND_NO_CACHE=1 in the environment turns it off for any host.
  bool commit_cache = true;
};

// Whether the environment turns the commit cache off (LOMARIND_NO_CACHE set
// to anything but "" or "0").
bool commit_cache_disabled_by_environment();

// The answers over the production neighbours. `sink` must outlive it.
// Holds references to its own members: neither copied nor moved.
class ProductionHistory {
 public:
  ProductionHistory(ProductionOptions options, const LogSink& sink);
  ProductionHistory(const ProductionHistory&) = delete;
  ProductionHistory& operator=(const ProductionHistory&) = delete;

  const GitHistory& history() const { return history_; }
  // The neighbours themselves, for a caller that wraps one of them (a
  // reader that serves several answers from one log, say).
  Neighbours neighbours() const { return {reader(), index_, filters_, logger_, parse_time_spec_}; }

 private:
  const git_utils::GitReader& reader() const;

  git_utils::GitCli git_;
  Logger cache_logger_;
  std::optional<commit_cache::CachedGitReader> cached_;
  repository_changes::SqliteIndex index_;
  SourceFilters filters_ = builtin_source_filters();
  Logger logger_;
  TimeSpecParser parse_time_spec_;
  GitHistory history_;
};

}  // namespace lomarind::git_history
