// Path rules: test files, and directories of build output, dependencies or caches.
#pragma once

#include <string_view>

namespace lomarind::path_filter {

bool is_test_path(std::string_view path);
// `directory` is a parent directory as a string; "." is never skipped.
bool should_skip_path(std::string_view directory);

}  // namespace lomarind::path_filter
