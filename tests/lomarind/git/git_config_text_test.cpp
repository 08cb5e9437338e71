// The config parser against the texts git reads, with what git makes of
// each (checked by hand with `git config --list`).
#include "lomarind/git/git_config_text.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace lomarind::git_utils {

void PrintTo(const ConfigEntry& entry, std::ostream* os) {
  *os << entry.section << " \"" << entry.subsection << "\" " << entry.key << " = "
      << (entry.value ? "\"" + *entry.value + "\"" : "(none)");
}

namespace {

ConfigEntry entry(std::string section, std::string subsection, std::string key,
                  std::optional<std::string> value) {
  return {std::move(section), std::move(subsection), std::move(key), std::move(value)};
}

ConfigEntry include(std::string value) { return entry("include", "", "path", std::move(value)); }

TEST(GitConfigTextTest, ValuesReadAsGitReadsThem) {
  struct Case {
    std::string name;
    std::string text;
    std::vector<ConfigEntry> entries;
  } cases[] = {
      {"a comment after the value", "[include]\n\tpath = /x/fifo ; note\n", {include("/x/fifo")}},
      {"a hash comment", "[include]\npath=/x/fifo# note", {include("/x/fifo")}},
      {"quotes keep comment characters", "[include]\npath = \"/x/f;o#o\"\n", {include("/x/f;o#o")}},
      {"quotes, then a comment",
       "[include]\npath = \"/x/fifo\" ; \"note\"\n",
       {include("/x/fifo")}},
      {"quotes join what they touch", "[include]\npath = /x/\"fi\"fo\n", {include("/x/fifo")}},
      {"escapes", "[include]\npath = a\\tb\\\"c\\\\d\\ne\\bf\n", {include("a\tb\"c\\d\ne\bf")}},
      {"a continued line", "[include]\npath = /x/\\\nfifo\n", {include("/x/fifo")}},
      {"each inner blank is a space, outer ones go",
       "[include]\npath =  a \t b \t\n",
       {include("a   b")}},
      {"quoted blanks are kept", "[include]\npath = \" a\tb \"\n", {include(" a\tb ")}},
      {"CRLF line ends", "[include]\r\npath = /x/fifo\r\n", {include("/x/fifo")}},
      {"a byte order mark", "\xef\xbb\xbf[include]\npath = /x", {include("/x")}},
      {"an empty value and a bare key",
       "[core]\n a =\n b\n",
       {entry("core", "", "a", ""), entry("core", "", "b", std::nullopt)}},
      {"names are case-insensitive, subsections are not",
       "[IncludeIf \"gitdir:/Src/\"]\n  PATH = x\n",
       {entry("includeif", "gitdir:/Src/", "path", "x")}},
      {"escapes in a subsection",
       "[includeIf \"gitdir:a\\\"b\\\\c\\d\"]\npath = x",
       {entry("includeif", "gitdir:a\"b\\cd", "path", "x")}},
      {"the old dotted subsection is lower-cased",
       "[Include.Sub]\npath = x",
       {entry("include", "sub", "path", "x")}},
      {"a key on its section's line",
       "[core] attributesFile = /a ; c\n",
       {entry("core", "", "attributesfile", "/a")}},
      {"comment lines and blank lines",
       "# top\n\n ; [include]\n[include] # c\n path = x\n",
       {include("x")}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(parse_git_config(c.text), c.entries);
  }
}

// git stops at the first line it rejects, having read (and followed the
// includes of) the lines before it; nothing after it may count.
TEST(GitConfigTextTest, ParsingStopsAtTheFirstLineGitRejects) {
  const std::vector<ConfigEntry> first = {include("a")};
  for (const std::string bad : {"path = \\q", "path = \"open", "=x", "[core", "[core \"x\" ]",
                                "[co re]", "[core \"x\nb\"]"}) {
    SCOPED_TRACE(bad);
    EXPECT_EQ(parse_git_config("[include]\npath = a\n" + bad + "\n[include]\npath = b\n"), first);
  }
}

}  // namespace
}  // namespace lomarind::git_utils
