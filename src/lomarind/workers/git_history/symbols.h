// Symbols on changed lines: the rows they are shown as, and how they are
// attached to the rows of an answer's page.
#pragma once

#include <vector>

#include "lomarind/workers/git_history/answers.h"

namespace lomarind::git_history::detail {

// Sets each row's symbols to the list under the row's path, or to an empty
// list when `symbols` has none.
void attach_symbols(std::vector<DiffRow>& rows, const SymbolsByPath& symbols);
void attach_symbols(std::vector<HistoryRow>& rows, const SymbolsByPath& symbols);

}  // namespace lomarind::git_history::detail
