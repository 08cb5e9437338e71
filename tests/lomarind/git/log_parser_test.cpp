#include "lomarind/git/log_parser.h"

#include <gtest/gtest.h>

#include <string>

#include "lomarind/git/git_parse.h"
#include "support/fake_git_reader.h"

namespace lomarind::git_utils {
namespace {

using namespace std::string_literals;

// A change, a merge, a rename (whose counts hold an empty record of their
// own) and an empty commit last.
const std::string kLog =
    "\0"
    "55ac789a 1795396421\0\n:100644 100644 a7bc997 f8bab5d M\0two.txt\0"
    "1\t0\ttwo.txt\0"
    "\0"
    "cd68b0cd 1795396421\0"
    "\0"
    "6c3c98f1 1000\0\n:100644 100644 a b R100\0old\0new\0"
    "0\t0\t\0old\0new\0"
    "\0"
    "f3db15cc 0\0"s;

std::vector<CommitChanges> read_in_pieces(const std::string& log, std::size_t first,
                                          std::size_t size) {
  LogParser parser;
  parser.feed(std::string_view(log).substr(0, first));
  for (std::size_t at = first; at < log.size(); at += size) {
    parser.feed(std::string_view(log).substr(at, size));
  }
  return std::move(parser).finish();
}

TEST(LogParserTest, AnyCutOfTheOutputGivesTheCommitsInOrderWithMergesEmpty) {
  const std::vector<CommitChanges> whole = {
      {"55ac789a", 1795396421, {testing::change("two.txt", "modified", 1, 0)}},
      {"cd68b0cd", 1795396421, {}},
      {"6c3c98f1", 1000, {testing::change("new", "renamed", 0, 0, "old")}},
      {"f3db15cc", 0, {}}};
  EXPECT_EQ(parse_log(kLog), whole);
  EXPECT_TRUE(parse_log("").empty());
  for (std::size_t first = 0; first <= kLog.size(); ++first) {
    for (std::size_t size : {1u, 2u, 3u, 7u, 1000u}) {
      SCOPED_TRACE("first piece " + std::to_string(first) + ", then " + std::to_string(size));
      EXPECT_EQ(read_in_pieces(kLog, first, size), whole);
    }
  }
  EXPECT_TRUE(LogParser().finish().empty());
}

TEST(LogParserTest, OutputCutShortIsAGitError) {
  LogParser parser;
  parser.feed(kLog.substr(0, kLog.find("0\t0\t")));  // the rename's counts are missing
  EXPECT_THROW(std::move(parser).finish(), GitError);
}

}  // namespace
}  // namespace lomarind::git_utils
