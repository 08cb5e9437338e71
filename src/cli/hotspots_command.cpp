#include "cli/commands.h"

namespace lomarind::cli {

int run_hotspots(const HistoryQuery& query, const HotspotsArgs& args, const Terminal& terminal) {
  const Json answer = query.history.hotspots(query.repository, query.repo_root,
                                             {.since = args.since,
                                              .branch = args.branch,
                                              .group_by = args.group_by,
                                              .limit = args.limit,
                                              .offset = args.offset,
                                              .source_only = args.source_only});
  print_answer(answer, args.json, hotspots_table, terminal);
  return kExitOk;
}

}  // namespace lomarind::cli
