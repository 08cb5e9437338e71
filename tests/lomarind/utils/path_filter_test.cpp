#include "lomarind/utils/path_filter.h"

#include <gtest/gtest.h>

#include <string_view>

namespace lomarind::path_filter {
namespace {

TEST(PathFilterTest, TestPaths) {
  struct Case {
    std::string_view path;
    bool test;
  };
  const Case cases[] = {
      {"tests/util.py", true},        {"pkg/__tests__/a.js", true}, {"a/testdata/b/c.go", true},
      {"spec/models/user.rb", true},  {"test_api.py", true},        {"pkg/api_test.go", true},
      {"pkg/api_tests.rs", true},     {"src/UserTest.java", true},  {"src/UserTests.cs", true},
      {"web/app.test.ts", true},      {"web/app.spec.js", true},    {"lib/user_spec.rb", true},
      {"base/x_unittest.cc", true},   {"pkg/conftest.py", true},    {"src/latest.py", false},
      {"src/contest.py", false},      {"src/tests.py", false},      {"src/test", false},
      {"testing.py", false},          {"attest/x.py", false},       {"src/Testing/x.py", false},
      {"src/test_utils/x.py", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(is_test_path(c.path), c.test);
  }
}

TEST(PathFilterTest, SkippedDirectories) {
  struct Case {
    std::string_view directory;
    bool skip;
  };
  const Case cases[] = {
      {".", false},
      {"", false},
      {"src", false},
      {"node_modules", true},
      {"web/node_modules/react/lib", true},
      {"a/third-party", true},
      {"proto/generated/x", true},
      {".venv/lib", true},
      {"builds", false},
      {"src/output", false},
      {"src/Build", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.directory);
    EXPECT_EQ(should_skip_path(c.directory), c.skip);
  }
}

}  // namespace
}  // namespace lomarind::path_filter
