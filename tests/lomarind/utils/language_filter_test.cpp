#include "lomarind/utils/language_filter.h"

#include <gtest/gtest.h>

#include <optional>
#include <string_view>

namespace lomarind::language_filter {
namespace {

TEST(LanguageFilterTest, LanguageByCaseSensitiveExtensionOfTheFileName) {
  using Text = std::optional<std::string_view>;
  struct Case {
    std::string_view path;
    Text extension;
    Text language;
    bool source;
  } cases[] = {
      {"lib/x.h", "h", "c", true},
      {"a/b.R", "R", "r", true},
      {"a/b.PY", "PY", std::nullopt, false},
      {"dir/.hidden.sh", "sh", "shell", true},
      {"README.md", "md", "markdown", false},
      {"archive.tar.gz", "gz", std::nullopt, false},
      {".py", std::nullopt, std::nullopt, false},
      {"v1.2/Makefile", std::nullopt, std::nullopt, false},
      {"a.", "", std::nullopt, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(extension_of(c.path), c.extension);
    EXPECT_EQ(language_of(c.path), c.language);
    EXPECT_EQ(is_source_extension(c.path), c.source);
  }
}

}  // namespace
}  // namespace lomarind::language_filter
