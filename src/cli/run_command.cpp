#include "cli/run_command.h"

#include <chrono>
#include <variant>

#include "cli/display_text.h"
#include "cli/history_session.h"
#include "cli/report.h"
#include "cli/repository_location.h"
#include "lomarind/git/git_runner.h"
#include "lomarind/workers/git_history/coupling.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::cli {

namespace {

// Every git command of the run stops once `stop` is raised.
git_utils::GitRunner stopping_git(const std::atomic<bool>& stop) {
  return git_utils::GitRunner().stopped_by(&stop);
}

HistorySession::Options session_options(const CommandLine& line, const Terminal& terminal,
                                        const std::atomic<bool>& stop) {
  return {.now = terminal.render.now, .commit_cache = !line.global.no_cache, .stop = &stop};
}

// What an answer takes from the index: facts (languages, components),
// and symbols on the changed lines of `head` (absent: what is checked out).
struct IndexUse {
  bool facts = false;
  bool symbols = false;
  std::optional<std::string> head{};
};

IndexUse index_use(const RecentArgs& args) {
  const auto& q = args.question;
  return {q.include_symbols || q.source_only, q.include_symbols, q.branch};
}
IndexUse index_use(const HotspotsArgs&) { return {.facts = true}; }
IndexUse index_use(const CouplingArgs& args) { return {.facts = args.question.source_only}; }
IndexUse index_use(const DiffArgs& args) {
  const auto& q = args.question;
  return {q.include_symbols || q.source_only, q.include_symbols, q.head_branch};
}

// Says when the symbols would come from an index of another commit than
// the one the answer reads. A name that does not resolve here is left to
// the answer, which says what is wrong with it.
void check_index_commit(const HistorySession& session, const RepositoryLocation& location,
                        const IndexUse& use, std::ostream& err) {
  const repository_changes::IndexDb& db = session.query().repository.db;
  if (!use.symbols || db.empty()) return;
  const std::string name = use.head.value_or("HEAD");
  const std::optional<std::string> commit =
      session.production().neighbours().git.resolve_commit(location.root, name);
  if (commit) warn_if_index_of_another_commit(location, db, *commit, name, err);
}

template <typename Args>
int run_history(const CommandLine& line, const Args& args, const Terminal& terminal,
                const LogSink& sink, const std::atomic<bool>& stop,
                int (*command)(const HistoryQuery&, const Args&, const Terminal&)) {
  const RepositoryLocation location = locate_repository(stopping_git(stop), line.global);
  const IndexUse use = index_use(args);
  HistorySession session(location.root, open_query_index(location, use.facts, terminal.err),
                         session_options(line, terminal, stop), sink);
  check_index_commit(session, location, use, terminal.err);
  return command(session.query(), args, terminal);
}

int run_report_command(const CommandLine& line, const ReportArgs& args, const Terminal& terminal,
                       const LogSink& sink, const std::atomic<bool>& stop) {
  const ReportFormat format = report_format(args);
  const RepositoryLocation location = locate_repository(stopping_git(stop), line.global);
  repository_changes::IndexDb db = open_query_index(location, true, terminal.err);
  const bool index_used = !db.empty();
  HistorySession session(location.root, std::move(db), session_options(line, terminal, stop), sink);
  check_index_commit(session, location, {.facts = true, .symbols = true, .head = args.branch},
                     terminal.err);
  return run_report(session, args, format, index_used, terminal);
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
          return run_history(line, args, terminal, sink, stop, run_recent);
        } else if constexpr (std::is_same_v<Args, HotspotsArgs>) {
          return run_history(line, args, terminal, sink, stop, run_hotspots);
        } else if constexpr (std::is_same_v<Args, DiffArgs>) {
          return run_history(line, args, terminal, sink, stop, run_diff);
        } else if constexpr (std::is_same_v<Args, CouplingArgs>) {
          // A threshold out of range needs no repository to be refused.
          git_history::detail::check_thresholds(git_history::detail::thresholds_of(args.question));
          return run_history(line, args, terminal, sink, stop, run_coupling);
        } else if constexpr (std::is_same_v<Args, ReportArgs>) {
          return run_report_command(line, args, terminal, sink, stop);
        } else {
          const RepositoryLocation location = locate_repository(stopping_git(stop), line.global);
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
