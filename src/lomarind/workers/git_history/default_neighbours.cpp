#include "lomarind/workers/git_history/default_neighbours.h"

#include <string>
#include <utility>

#include "lomarind/utils/language_filter.h"
#include "lomarind/utils/pagination.h"
#include "lomarind/utils/path_filter.h"

namespace lomarind::git_history {

bool DefaultSourceFilters::in_source_languages(std::string_view language) const {
  return language_filter::in_source_languages(language);
}

bool DefaultSourceFilters::is_source_extension(std::string_view path) const {
  return language_filter::is_source_extension(path);
}

bool DefaultSourceFilters::is_test_path(std::string_view path) const {
  return path_filter::is_test_path(path);
}

bool DefaultSourceFilters::should_skip_path(std::string_view directory) const {
  return path_filter::should_skip_path(directory);
}

Json DefaultPaginationHint::add_pagination_hint(Json result, std::int64_t count) const {
  return pagination::add_pagination_hint(std::move(result), count);
}

ProductionHistory::ProductionHistory(ProductionOptions options, const LogSink& sink)
    : git_(std::move(options.runner), std::move(options.now)),
      logger_(std::string(kLoggerName), sink),
      history_(Neighbours{git_, index_, filters_, pagination_, logger_}) {}

}  // namespace lomarind::git_history
