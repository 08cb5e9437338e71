// The production neighbours of the history answers: the library's own
// language and path filters and its pagination hint.
#pragma once

#include <cstdint>
#include <string_view>

#include "lomarind/utils/json.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::git_history {

class DefaultSourceFilters final : public SourceFilters {
 public:
  bool in_source_languages(std::string_view language) const override;
  bool is_source_extension(std::string_view path) const override;
  bool is_test_path(std::string_view path) const override;
  bool should_skip_path(std::string_view directory) const override;
};

class DefaultPaginationHint final : public PaginationHint {
 public:
  Json add_pagination_hint(Json result, std::int64_t count) const override;
};

}  // namespace lomarind::git_history
