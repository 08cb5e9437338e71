#include "lomarind/utils/logging.h"

#include <gtest/gtest.h>

namespace lomarind {
namespace {

TEST(LogRecordTest, MessageSubstitutesArgumentsInOrder) {
  struct Case {
    const char* format;
    std::vector<std::string> args;
    const char* expected;
  } cases[] = {
      {"git failed: %s", {"fatal: bad object"}, "git failed: fatal: bad object"},
      {"No hotspots for %s: %s", {"/r", "x %s y"}, "No hotspots for /r: x %s y"},
      {"100%% of %s", {"it"}, "100% of it"},
      {"%s and %s", {"only"}, "only and %s"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ((LogRecord{"n", LogLevel::kInfo, c.format, c.args}.message()), c.expected);
  }
}

}  // namespace
}  // namespace lomarind
