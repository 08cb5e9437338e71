#include "lomarind/utils/path_filter.h"

#include <algorithm>
#include <iterator>

namespace lomarind::path_filter {
namespace {

constexpr std::string_view kTestDirectories[] = {"test",     "tests", "__tests__", "testing",
                                                 "testdata", "spec",  "specs"};

// Build output, dependencies and caches.
constexpr std::string_view kSkippedDirectories[] = {
    "node_modules", "vendor",   "third_party", "third-party", "build",    "dist", "out",
    "target",       "obj",      ".git",        "__pycache__", ".venv",    "venv", ".tox",
    ".cache",       "coverage", ".next",       ".gradle",     "generated"};

// File-name parts that mark a test wherever they sit after the first
// character of the pattern (`*_test.*` and the like).
constexpr std::string_view kTestInfixes[] = {"_test.", "_tests.", "Test.",  "Tests.",
                                             ".test.", ".spec.",  "_spec.", "_unittest."};

template <std::size_t N>
bool one_of(std::string_view word, const std::string_view (&words)[N]) {
  return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

// Calls `visit` with each '/'-separated component of `path`; stops and
// returns true as soon as `visit` does.
template <typename Visit>
bool any_component(std::string_view path, Visit visit) {
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    if (visit(path.substr(0, slash))) return true;
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return false;
}

bool is_test_file_name(std::string_view name) {
  if (name.starts_with("test_") || name == "conftest.py") return true;
  return std::any_of(std::begin(kTestInfixes), std::end(kTestInfixes),
                     [name](std::string_view infix) { return name.find(infix) != name.npos; });
}

}  // namespace

bool is_test_path(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return is_test_file_name(path);
  return is_test_file_name(path.substr(slash + 1)) ||
         any_component(path.substr(0, slash),
                       [](std::string_view part) { return one_of(part, kTestDirectories); });
}

bool should_skip_path(std::string_view directory) {
  return any_component(directory,
                       [](std::string_view part) { return one_of(part, kSkippedDirectories); });
}

}  // namespace lomarind::path_filter
