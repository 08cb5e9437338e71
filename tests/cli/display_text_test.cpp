#include "cli/display_text.h"

#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

TEST(DisplayTextTest, EscapesWhatDoesNotPrint) {
  struct Case {
    const char* name;
    std::string input;
    std::string expected;
  } cases[] = {
      {"terminal escape", "a\x1b[31mb", "a\\x1b[31mb"},
      {"line breaks", "a\nb\tc\rd", "a\\nb\\tc\\rd"},
      {"delete and c1", "\x7f\xc2\x85", "\\x7f\\x85"},
      {"bidi override",
       "a\xe2\x80\xae"
       "b",
       "a\\u202eb"},
      {"no-break space", "a\xc2\xa0", "a\\xa0"},
      {"printable non-ascii", "caf\xc3\xa9 \xe6\x97\xa5", "caf\xc3\xa9 \xe6\x97\xa5"},
      {"invalid byte", "a\xff", "a\\xff"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(terminal_text(c.input), c.expected);
  }
  EXPECT_EQ(terminal_message("fatal: x\n\thint\x1b"), "fatal: x\n\thint\\x1b");
}

TEST(DisplayTextTest, WidthCountsColumnsNotBytes) {
  EXPECT_EQ(display_width("abc"), 3u);
  EXPECT_EQ(display_width("caf\xc3\xa9"), 4u);
  EXPECT_EQ(display_width("\xe6\x97\xa5\xe6\x9c\xac"), 4u);  // two wide characters
  EXPECT_EQ(display_width("e\xcc\x81"), 1u);                 // combining accent
}

}  // namespace
}  // namespace lomarind::cli
