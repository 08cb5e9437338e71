#include "cli/commands.h"
#include "cli/json_writer.h"

namespace lomarind::cli {

// The three answer commands differ only in the question they ask and the
// table that shows its answer.

void print_answer(const Json& answer, bool json,
                  std::string (*table)(const Json&, const RenderOptions&),
                  const Terminal& terminal) {
  // Rendered whole before the first byte is written, so a failure while
  // rendering leaves stdout empty.
  const std::string text = json ? write_json(answer) + "\n" : table(answer, terminal.render);
  terminal.out << text << std::flush;
}

int run_recent(const HistoryQuery& query, const RecentArgs& args, const Terminal& terminal) {
  print_answer(query.history.recent_changes(query.repository, query.repo_root, args.question),
               args.json, recent_table, terminal);
  return kExitOk;
}

int run_hotspots(const HistoryQuery& query, const HotspotsArgs& args, const Terminal& terminal) {
  print_answer(query.history.hotspots(query.repository, query.repo_root, args.question), args.json,
               hotspots_table, terminal);
  return kExitOk;
}

int run_diff(const HistoryQuery& query, const DiffArgs& args, const Terminal& terminal) {
  print_answer(query.history.branch_diff(query.repository, query.repo_root, args.question),
               args.json, diff_table, terminal);
  return kExitOk;
}

}  // namespace lomarind::cli
