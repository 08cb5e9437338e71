#include "lomarind/production/production_history.h"

#include <cstdlib>
#include <string>
#include <utility>

#include "lomarind/utils/language_filter.h"
#include "lomarind/utils/path_filter.h"

namespace lomarind::git_history {

SourceFilters builtin_source_filters() {
  return {.in_source_languages = language_filter::in_source_languages,
          .is_source_extension = language_filter::is_source_extension,
          .is_test_path = path_filter::is_test_path,
          .should_skip_path = path_filter::should_skip_path};
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
    : git_(options.runner),
      cache_logger_(std::string(commit_cache::kCacheLoggerName), sink),
      cached_(options.commit_cache && !commit_cache_disabled_by_environment()
                  ? std::make_optional<commit_cache::CachedGitReader>(git_, options.runner,
                                                                      cache_logger_)
                  : std::nullopt),
      logger_(std::string(kLoggerName), sink),
      parse_time_spec_([now = std::move(options.now)](const std::string& since) {
        return git_utils::parse_time_spec(since, now());
      }),
      history_(neighbours()) {}

const git_utils::GitReader& ProductionHistory::reader() const {
  if (cached_) return *cached_;
  return git_;
}

}  // namespace lomarind::git_history
