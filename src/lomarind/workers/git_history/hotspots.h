// Hotspot rows: files or components of a period, the busiest first, each
// scored against the busiest.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/workers/git_history/answers.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history::detail {

// commits / busiest, rounded to two places by the quotient's exact binary
// value with an exact half going to the even digit (1/8 gives 0.12).
double risk_score(std::int64_t commits, std::int64_t busiest);

// One file row per history, in order, scored against the first history.
// REQUIRES: `histories` sorted busiest first.
std::vector<FileHotspot> file_rows(std::span<const PathHistory> histories,
                                   const repository_changes::IndexedPaths& facts);
// As above, scored against `busiest` commits: the rows of one page of a
// longer list, whose first history need not be the busiest.
std::vector<FileHotspot> file_rows(std::span<const PathHistory> histories,
                                   const repository_changes::IndexedPaths& facts,
                                   std::int64_t busiest);

// One row per component ("unknown" for a file without one), ranked by
// commits, then name.
std::vector<ComponentHotspot> component_rows(std::span<const PathHistory> histories,
                                             const repository_changes::IndexedPaths& facts);

}  // namespace lomarind::git_history::detail
