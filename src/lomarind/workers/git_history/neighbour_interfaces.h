// The small neighbour the answers are handed besides the git reader and
// the index: which files count as production source.
#pragma once

#include <string_view>

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

}  // namespace lomarind::git_history
