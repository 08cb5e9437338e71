#include "lomarind/utils/language_filter.h"

#include <gtest/gtest.h>

#include <optional>
#include <string_view>

namespace lomarind::language_filter {
namespace {

TEST(LanguageFilterTest, ExtensionIsAfterTheLastDotOfTheFileName) {
  struct Case {
    std::string_view path;
    std::optional<std::string_view> extension;
  };
  const Case cases[] = {
      {"a.py", "py"},
      {"a.tar.gz", "gz"},
      {".py", std::nullopt},
      {"src/.env", std::nullopt},
      {"Makefile", std::nullopt},
      {"v1.2/Makefile", std::nullopt},
      {"dir/.hidden.sh", "sh"},
      {"a.", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(extension_of(c.path), c.extension);
  }
}

TEST(LanguageFilterTest, LanguageByCaseSensitiveExtension) {
  struct Case {
    std::string_view path;
    std::optional<std::string_view> language;
    bool source;
  };
  const Case cases[] = {
      {"lib/x.h", "c", true},
      {"lib/x.c++", "cpp", true},
      {"lib/x.inl", "cpp", true},
      {"a/b.R", "r", true},
      {"a/b.r", "r", true},
      {"a/b.PY", std::nullopt, false},
      {"web/x.cts", "typescript", true},
      {"ui/App.svelte", "svelte", true},
      {"obj/x.mm", "objective-c", true},
      {"sci/x.f95", "fortran", true},
      {"README.md", "markdown", false},
      {"conf/app.cfg", "ini", false},
      {"style.scss", "css", false},
      {"data.csv", "csv", false},
      {"archive.tar.gz", std::nullopt, false},
      {".py", std::nullopt, false},
      {"bin/tool", std::nullopt, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(language_of(c.path), c.language);
    EXPECT_EQ(is_source_extension(c.path), c.source);
  }
}

}  // namespace
}  // namespace lomarind::language_filter
