#include "cli/history_session.h"

#include <utility>

namespace lomarind::cli {

HistorySession::HistorySession(std::filesystem::path repo_root, repository_changes::IndexDb db,
                               std::chrono::sys_seconds now, const LogSink& sink)
    : root_(std::move(repo_root)),
      db_(std::move(db)),
      production_({.now = [now] { return now; }}, sink) {}

}  // namespace lomarind::cli
