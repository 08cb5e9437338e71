// The production-source test: code that is no test and not generated.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/workers/git_history/git_history.h"

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

}  // namespace lomarind::git_history::detail
