// The small neighbours the answers are handed besides the git reader and
// the index: which files count as production source, and where a period
// starts. Each is a plain function, so a caller with rules of its own (a
// test, a host) hands in its own.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

namespace lomarind::git_history {

// Which changed files count as production source.
struct SourceFilters {
  using Test = std::function<bool(std::string_view)>;
  Test in_source_languages;  // of a language name
  Test is_source_extension;  // of a path
  Test is_test_path;
  Test should_skip_path;  // of a directory
};

// The start of the period a user typed ("2 weeks", a date). Throws
// std::invalid_argument, whose text is shown to the user, for a string
// that is no period.
using TimeSpecParser = std::function<std::chrono::sys_seconds(const std::string& since)>;

}  // namespace lomarind::git_history
