// The production-source test: code that is no test and not generated.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/workers/git_history/neighbour_interfaces.h"

namespace lomarind::git_history::detail {

// The parent directory of a relative POSIX path: all but its last
// component, "." for a file at the root.
std::string parent_directory(std::string_view path);

// A test is never source; otherwise the index's language decides alone;
// with no language, a source extension outside a directory of build output,
// dependencies or caches.
bool is_source_path(const SourceFilters& filters, std::string_view path,
                    const std::optional<std::string>& language);

// is_source_path with the language the index holds for `path`, if any.
bool is_source(const SourceFilters& filters, const std::string& path,
               const repository_changes::IndexedPaths& facts);

// What the index holds about the paths of `items` (anything with a `path`):
// one query for all of them.
template <typename T>
repository_changes::IndexedPaths index_facts(const repository_changes::ChangeIndex& index,
                                             const repository_changes::IndexDb& db,
                                             const std::vector<T>& items) {
  std::vector<std::string> paths;
  paths.reserve(items.size());
  for (const T& item : items) paths.push_back(item.path);
  return index.indexed_paths(db, paths);
}

// Drops the items whose path is not production source by `facts`.
template <typename T>
void drop_non_source(std::vector<T>& items, const SourceFilters& filters,
                     const repository_changes::IndexedPaths& facts) {
  std::erase_if(items, [&](const T& item) { return !is_source(filters, item.path, facts); });
}

}  // namespace lomarind::git_history::detail
