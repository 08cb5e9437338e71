#include "lomarind/workers/git_history/source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_history_neighbours.h"

namespace lomarind::git_history::detail {
namespace {

using ::testing::ElementsAreArray;

TEST(IsSourcePathTest, TestsThenLanguageThenExtensionThenDirectory) {
  struct Case {
    const char* path;
    std::optional<std::string> language;
    bool expected;
    std::vector<std::string> calls;
  } cases[] = {
      // clang-format off
      {"tests/a.py", "python", false, {"is_test_path(tests/a.py)"}},
      {"doc.py", "markdown", false, {"is_test_path(doc.py)", "in_source_languages(markdown)"}},
      {"build/a.cpp", "cpp", true, {"is_test_path(build/a.cpp)", "in_source_languages(cpp)"}},
      {"a.py", "", false, {"is_test_path(a.py)", "in_source_languages()"}},
      {"vendor/lib/x.py", std::nullopt, false, {"is_test_path(vendor/lib/x.py)",
       "is_source_extension(vendor/lib/x.py)", "should_skip_path(vendor/lib)"}},
      {"a.py", std::nullopt, true,
       {"is_test_path(a.py)", "is_source_extension(a.py)", "should_skip_path(.)"}},
      {"build/README.md", std::nullopt, false,
       {"is_test_path(build/README.md)", "is_source_extension(build/README.md)"}},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    testing::FakeSourceFilters filters;
    EXPECT_EQ(is_source_path(filters, c.path, c.language), c.expected);
    EXPECT_THAT(filters.calls, ElementsAreArray(c.calls));
  }
}

TEST(IsSourceTest, AnEntryWithoutLanguageIsJudgedLikeAnUnknownFile) {
  testing::FakeSourceFilters filters;
  const repository_changes::IndexedPaths facts = {{"build/a.py", {std::nullopt, "app"}},
                                                  {"doc.py", {"markdown", std::nullopt}}};
  EXPECT_FALSE(is_source(filters, "build/a.py", facts));
  EXPECT_FALSE(is_source(filters, "doc.py", facts));
  EXPECT_TRUE(is_source(filters, "gone.py", facts));
}

}  // namespace
}  // namespace lomarind::git_history::detail
