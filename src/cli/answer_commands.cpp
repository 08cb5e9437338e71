#include "cli/commands.h"
#include "cli/json_writer.h"
#include "lomarind/workers/git_history/answer_json.h"

namespace lomarind::cli {

namespace {

// The three answer commands differ only in the question they ask and the
// table that shows its answer.
template <typename Answer>
int print_answer(const Answer& answer, bool json,
                 std::string (*table)(const Answer&, const RenderOptions&),
                 const Terminal& terminal) {
  // Rendered whole before the first byte is written, so a failure while
  // rendering leaves stdout empty.
  const std::string text =
      json ? write_json(git_history::to_json(answer)) + "\n" : table(answer, terminal.render);
  terminal.out << text << std::flush;
  return kExitOk;
}

}  // namespace

int run_recent(const HistoryQuery& query, const RecentArgs& args, const Terminal& terminal) {
  return print_answer(
      query.history.recent_changes(query.repository, query.repo_root, args.question), args.json,
      recent_table, terminal);
}

int run_hotspots(const HistoryQuery& query, const HotspotsArgs& args, const Terminal& terminal) {
  return print_answer(query.history.hotspots(query.repository, query.repo_root, args.question),
                      args.json, hotspots_table, terminal);
}

int run_diff(const HistoryQuery& query, const DiffArgs& args, const Terminal& terminal) {
  return print_answer(query.history.branch_diff(query.repository, query.repo_root, args.question),
                      args.json, diff_table, terminal);
}

}  // namespace lomarind::cli
