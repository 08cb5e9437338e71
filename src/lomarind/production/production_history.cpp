#include "lomarind/production/production_history.h"

#include <cstdlib>
#include <string>
#include <utility>

#include "lomarind/utils/language_filter.h"
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

std::chrono::sys_seconds wall_clock() {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

bool commit_cache_disabled_by_environment() {
  const char* value = std::getenv("LOMARIND_NO_CACHE");
  return value != nullptr && std::string_view(value) != "" && std::string_view(value) != "0";
}

// The cache warns on a logger of its own, so the history module's logger
// carries only the module's own lines.
ProductionHistory::ProductionHistory(ProductionOptions options, const LogSink& sink)
    : git_(options.runner, std::move(options.now)),
      cache_logger_(std::string(commit_cache::kCacheLoggerName), sink),
      cached_(options.commit_cache && !commit_cache_disabled_by_environment()
                  ? std::make_optional<commit_cache::CachedGitReader>(git_, options.runner,
                                                                      cache_logger_)
                  : std::nullopt),
      logger_(std::string(kLoggerName), sink),
      history_(Neighbours{reader(), index_, filters_, logger_}) {}

const git_utils::GitReader& ProductionHistory::reader() const {
  if (cached_) return *cached_;
  return git_;
}

}  // namespace lomarind::git_history
