#include "cli/history_session.h"

#include <utility>

namespace lomarind::cli {

HistorySession::HistorySession(std::filesystem::path repo_root, repository_changes::IndexDb db,
                               Options options, const LogSink& sink)
    : root_(std::move(repo_root)),
      db_(std::move(db)),
      production_({.now = [now = options.now] { return now; },
                   .runner = git_utils::GitRunner().stopped_by(options.stop),
                   .commit_cache = options.commit_cache},
                  sink) {}

}  // namespace lomarind::cli
