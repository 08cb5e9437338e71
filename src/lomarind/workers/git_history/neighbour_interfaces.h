// The small neighbours the answers are handed besides the git reader and
// the index: which files count as production source, and the next-page
// hint of a paginated answer.
#pragma once

#include <cstdint>
#include <string_view>

#include "lomarind/utils/json.h"

namespace lomarind::git_history {

// Which changed files count as production source.
class SourceFilters {
 public:
  virtual ~SourceFilters() = default;
  virtual bool in_source_languages(std::string_view language) const = 0;
  virtual bool is_source_extension(std::string_view path) const = 0;
  virtual bool is_test_path(std::string_view path) const = 0;
  virtual bool should_skip_path(std::string_view directory) const = 0;
};

// Adds the next-page hint to a paginated answer and returns the answer.
class PaginationHint {
 public:
  virtual ~PaginationHint() = default;
  virtual Json add_pagination_hint(Json result, std::int64_t count) const = 0;
};

}  // namespace lomarind::git_history
