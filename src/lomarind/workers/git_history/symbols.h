// Symbols on changed lines: the rows they are shown as, and how they are
// attached to the rows of an answer's page.
#pragma once

#include <vector>

#include "lomarind/utils/json.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history::detail {

// Sets each row's "symbols" to the list under the row's "path", or to an
// empty list when `symbols` has none. A row that already has "symbols"
// keeps the key's place. REQUIRES: every row has a string "path".
void attach_symbols(std::vector<Json>& rows, const SymbolsByPath& symbols);

}  // namespace lomarind::git_history::detail
