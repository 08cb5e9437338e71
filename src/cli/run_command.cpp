#include "cli/run_command.h"

#include <chrono>
#include <variant>

#include "cli/display_text.h"
#include "cli/history_session.h"
#include "cli/report.h"
#include "cli/repository_location.h"
#include "lomarind/utils/git_runner.h"
#include "lomarind/workers/git_history/coupling.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::cli {

namespace {

HistorySession::Options session_options(const CommandLine& line, const Terminal& terminal) {
  return {.now = terminal.render.now, .commit_cache = !line.global.no_cache};
}

template <typename Args>
int run_history(const CommandLine& line, const Args& args, const Terminal& terminal,
                const LogSink& sink,
                int (*command)(const HistoryQuery&, const Args&, const Terminal&)) {
  const RepositoryLocation location = locate_repository(git_utils::GitRunner(), line.global);
  HistorySession session(location.root, open_query_index(location, terminal.err),
                         session_options(line, terminal), sink);
  return command(session.query(), args, terminal);
}

int run_report_command(const CommandLine& line, const ReportArgs& args, const Terminal& terminal,
                       const LogSink& sink) {
  const RepositoryLocation location = locate_repository(git_utils::GitRunner(), line.global);
  repository_changes::IndexDb db = open_query_index(location, terminal.err);
  const bool index_used = !db.empty();
  HistorySession session(location.root, std::move(db), session_options(line, terminal), sink);
  return run_report(session, args, index_used, terminal);
}

// The text of the failure `failure` and of each cause it was raised from,
// leaving out a cause whose text the message already holds.
std::string failure_chain(const std::exception& failure, std::string message) {
  try {
    std::rethrow_if_nested(failure);
  } catch (const std::exception& cause) {
    if (message.find(cause.what()) == std::string::npos)
      message += ": " + std::string(cause.what());
    return failure_chain(cause, std::move(message));
  }
  return message;
}

}  // namespace

int run_command(const CommandLine& line, const Terminal& terminal, const LogSink& sink,
                const std::atomic<bool>& stop) {
  return std::visit(
      [&](const auto& args) -> int {
        using Args = std::decay_t<decltype(args)>;
        if constexpr (std::is_same_v<Args, RecentArgs>) {
          return run_history(line, args, terminal, sink, run_recent);
        } else if constexpr (std::is_same_v<Args, HotspotsArgs>) {
          return run_history(line, args, terminal, sink, run_hotspots);
        } else if constexpr (std::is_same_v<Args, DiffArgs>) {
          return run_history(line, args, terminal, sink, run_diff);
        } else if constexpr (std::is_same_v<Args, CouplingArgs>) {
          // A threshold out of range needs no repository to be refused.
          git_history::detail::check_thresholds(git_history::detail::thresholds_of(args.question));
          return run_history(line, args, terminal, sink, run_coupling);
        } else if constexpr (std::is_same_v<Args, ReportArgs>) {
          return run_report_command(line, args, terminal, sink);
        } else {
          const RepositoryLocation location =
              locate_repository(git_utils::GitRunner(), line.global);
          return run_index(location, args, terminal, {!line.global.no_cache, sink}, stop);
        }
      },
      line.command);
}

int report_failure(std::exception_ptr failure, std::ostream& err) {
  std::string message;
  try {
    std::rethrow_exception(failure);
  } catch (const git_history::GitHistoryError& e) {
    // Its message already says what the cause was.
    message = e.what();
  } catch (const git_utils::GitError& e) {
    message = "git failed: " + std::string(e.what());
  } catch (const std::exception& e) {
    message = failure_chain(e, e.what());
  }
  err << program_lines("", message) << std::flush;
  return kExitFailure;
}

}  // namespace lomarind::cli
