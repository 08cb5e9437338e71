#include "cli/history_session.h"

#include <string>

namespace lomarind::cli {

HistorySession::HistorySession(std::filesystem::path repo_root, repository_changes::IndexDb db,
                               std::chrono::sys_seconds now, const LogSink& sink)
    : root_(std::move(repo_root)),
      db_(std::move(db)),
      git_(git_utils::GitRunner(), [now] { return now; }),
      logger_(std::string(git_history::kLoggerName), sink),
      history_(git_history::Neighbours{git_, index_, filters_, pagination_, logger_}) {}

}  // namespace lomarind::cli
