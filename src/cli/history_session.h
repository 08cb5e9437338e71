// The history module with its production neighbours, built once per run
// for one repository.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>

#include "cli/commands.h"
#include "lomarind/production/production_history.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/logging.h"

namespace lomarind::cli {

class HistorySession {
 public:
  struct Options {
    std::chrono::sys_seconds now;  // the time periods count back from
    bool commit_cache = true;      // take what commits changed from the commit cache
    // Every git command stops once *stop is raised; must outlive the session.
    const std::atomic<bool>* stop = nullptr;
  };
  // `sink` must outlive the session.
  HistorySession(std::filesystem::path repo_root, repository_changes::IndexDb db, Options options,
                 const LogSink& sink);
  // The query holds references to the members.
  HistorySession(const HistorySession&) = delete;
  HistorySession& operator=(const HistorySession&) = delete;

  HistoryQuery query() const { return {production_.history(), repository_, root_}; }
  // For a caller that wraps one of the production neighbours.
  const git_history::ProductionHistory& production() const { return production_; }

 private:
  std::filesystem::path root_;
  repository_changes::IndexDb db_;
  repository_changes::Repository repository_{db_};
  git_history::ProductionHistory production_;
};

}  // namespace lomarind::cli
