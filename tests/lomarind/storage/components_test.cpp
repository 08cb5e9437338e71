#include "lomarind/storage/components.h"

#include <gtest/gtest.h>

namespace lomarind::repository_changes {
namespace {

TEST(ComponentsTest, DeepestManifestDirectoryElseTopLevel) {
  const Components components({"package.json", "README.md", "packages/web/package.json",
                               "packages/web/tools/cli/Cargo.toml", "services/billing/B.csproj",
                               "services/x.csproj.bak/a.cs", "libs/.csproj", "libs/core/a.c"});
  struct Case {
    std::string_view path;
    std::optional<std::string> component;
  };
  const Case cases[] = {
      {"package.json", std::nullopt},
      {"packages/web/package.json", "packages/web"},
      {"packages/web/src/app/main.ts", "packages/web"},
      {"packages/web/tools/cli/src/main.rs", "packages/web/tools/cli"},
      {"packages/api/src/server.py", "packages"},
      {"services/billing/src/Invoice.cs", "services/billing"},
      {"services/x.csproj.bak/a.cs", "services"},
      {"libs/core/a.c", "libs"},
      {"untracked/new.go", "untracked"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(components.component_of(c.path), c.component);
  }
}

}  // namespace
}  // namespace lomarind::repository_changes
