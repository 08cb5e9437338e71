#include "cli/commands.h"

namespace lomarind::cli {

int run_diff(const HistoryQuery& query, const DiffArgs& args, const Terminal& terminal) {
  const Json answer = query.history.branch_diff(query.repository, query.repo_root,
                                                {.base_branch = args.base,
                                                 .head_branch = args.head,
                                                 .include_symbols = args.symbols,
                                                 .limit = args.limit,
                                                 .offset = args.offset,
                                                 .source_only = args.source_only});
  print_answer(answer, args.json, diff_table, terminal);
  return kExitOk;
}

}  // namespace lomarind::cli
