#include "lomarind/storage/components.h"

#include <algorithm>
#include <iterator>

namespace lomarind::repository_changes {
namespace {

constexpr std::string_view kManifests[] = {
    "package.json", "Cargo.toml",       "go.mod",        "pyproject.toml", "setup.py", "pom.xml",
    "build.gradle", "build.gradle.kts", "composer.json", "Gemfile",        "mix.exs"};

}  // namespace

bool is_manifest(std::string_view file_name) {
  return std::find(std::begin(kManifests), std::end(kManifests), file_name) !=
             std::end(kManifests) ||
         (file_name.size() > 7 && file_name.ends_with(".csproj"));
}

Components::Components(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) continue;  // the root is never a component
    if (is_manifest(std::string_view(path).substr(slash + 1))) {
      directories_.push_back(path.substr(0, slash));
    }
  }
  // Views into directories_ stay valid: it no longer grows.
  manifest_directories_.insert(directories_.begin(), directories_.end());
}

std::optional<std::string> Components::component_of(std::string_view path) const {
  std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return std::nullopt;
  std::string_view directory = path.substr(0, slash);
  while (true) {
    if (manifest_directories_.contains(directory)) return std::string(directory);
    slash = directory.rfind('/');
    if (slash == std::string_view::npos) return std::string(directory);
    directory = directory.substr(0, slash);
  }
}

}  // namespace lomarind::repository_changes
