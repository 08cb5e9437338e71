// Which component each tracked file belongs to: the deepest directory above
// it, other than the root, that holds a package manifest (package.json,
// Cargo.toml, go.mod, pyproject.toml, setup.py, pom.xml, build.gradle[.kts],
// composer.json, Gemfile, mix.exs, *.csproj); else its top-level directory;
// none for a file at the root. A component is named by its directory's
// path from the root.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace lomarind::repository_changes {

class Components {
 public:
  // `paths` are all tracked files, relative to the root, '/'-separated.
  explicit Components(const std::vector<std::string>& paths);

  std::optional<std::string> component_of(std::string_view path) const;

 private:
  std::unordered_set<std::string_view> manifest_directories_;
  std::vector<std::string> directories_;  // storage for the views above
};

// Whether a file of this name marks its directory as a component.
bool is_manifest(std::string_view file_name);

}  // namespace lomarind::repository_changes
