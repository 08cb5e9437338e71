#include "cli/commands.h"

namespace lomarind::cli {

int run_recent(const HistoryQuery& query, const RecentArgs& args, const Terminal& terminal) {
  const Json answer = query.history.recent_changes(query.repository, query.repo_root,
                                                   {.since = args.since,
                                                    .branch = args.branch,
                                                    .include_symbols = args.symbols,
                                                    .limit = args.limit,
                                                    .offset = args.offset,
                                                    .source_only = args.source_only});
  print_answer(answer, args.json, recent_table, terminal);
  return kExitOk;
}

}  // namespace lomarind::cli
