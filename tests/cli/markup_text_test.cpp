#include "cli/markup_text.h"

#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

TEST(MarkupTextTest, NamesNeverBecomeMarkup) {
  struct Case {
    const char* name;
    std::string input;
    std::string html;
    std::string markdown;
  } cases[] = {
      {"element", "<img src=x onerror=alert(1)>.c", "&lt;img src=x onerror=alert(1)&gt;.c",
       "\\<img src=x onerror=alert(1)\\>.c"},
      {"attribute break", "\"><script>", "&quot;&gt;&lt;script&gt;", "\"\\>\\<script\\>"},
      {"reference and quote", "a&b's", "a&amp;b&#39;s", "a\\&b's"},
      {"cell and emphasis", "a|b*c_d`e~f$g[h]", "a|b*c_d`e~f$g[h]",
       "a\\|b\\*c\\_d\\`e\\~f\\$g\\[h\\]"},
      {"backslash", "a\\b", "a\\b", "a\\\\b"},
      {"line break and escape", "a\nb\x1b[1m", "a\\nb\\x1b[1m", "a\\\\nb\\\\x1b\\[1m"},
      {"not utf-8", "bad\xff.c", "bad\\udcff.c", "bad\\\\udcff.c"},
      {"printable non-ascii", "caf\xc3\xa9", "caf\xc3\xa9", "caf\xc3\xa9"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(html_text(c.input), c.html);
    EXPECT_EQ(markdown_text(c.input), c.markdown);
  }
}

}  // namespace
}  // namespace lomarind::cli
