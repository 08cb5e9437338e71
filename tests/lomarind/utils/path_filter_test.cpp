#include "lomarind/utils/path_filter.h"

#include <gtest/gtest.h>

#include <string_view>

namespace lomarind::path_filter {
namespace {

TEST(PathFilterTest, TestPathsAndSkippedDirectories) {
  for (std::string_view path : {"tests/util.py", "pkg/__tests__/a.js", "a/testdata/b/c.go",
                                "test_api.py", "pkg/api_test.go", "src/UserTests.cs",
                                "web/app.spec.js", "base/x_unittest.cc", "pkg/conftest.py"}) {
    EXPECT_TRUE(is_test_path(path)) << path;
  }
  for (std::string_view path :
       {"src/latest.py", "src/contest.py", "src/tests.py", "attest/x.py", "src/test_utils/x.py"}) {
    EXPECT_FALSE(is_test_path(path)) << path;
  }
  for (std::string_view dir :
       {"node_modules", "web/node_modules/react/lib", "a/third-party", "proto/generated/x"}) {
    EXPECT_TRUE(should_skip_path(dir)) << dir;
  }
  for (std::string_view dir : {".", "", "src", "builds", "src/Build"}) {
    EXPECT_FALSE(should_skip_path(dir)) << dir;
  }
}

}  // namespace
}  // namespace lomarind::path_filter
