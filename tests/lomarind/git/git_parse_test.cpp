#include "lomarind/git/git_parse.h"

#include <gtest/gtest.h>

#include <string>

namespace lomarind::git_utils {
namespace {

using namespace std::string_literals;

FileChange change(std::string path, std::string status, std::int64_t added, std::int64_t deleted,
                  std::optional<std::string> old_path = std::nullopt) {
  return {std::move(path), std::move(status), added, deleted, std::move(old_path)};
}

TEST(ParseFileChangesTest, ReadsStatusesPathsAndCounts) {
  // A binary mode change, a deletion, an addition whose name looks like a
  // raw entry, a type change, and a rename with edits.
  std::string out =
      ":100644 100755 3e3315e 3e3315e M\0bin.dat\0"
      ":100644 000000 587be6b 0000000 D\0d/sp ace.txt\0"
      ":000000 100644 0000000 975fbec A\0:100644 1\t2\tx\n\xff\0"
      ":100644 120000 b478595 4d65d04 T\0s.txt\0"
      ":100644 100644 de98044 a7bc997 R050\0one.txt\0two \"2\".txt\0"
      "-\t-\tbin.dat\0"
      "0\t1\td/sp ace.txt\0"
      "1\t0\t:100644 1\t2\tx\n\xff\0"
      "1\t1\ts.txt\0"
      "2\t1\t\0one.txt\0two \"2\".txt\0"s;
  EXPECT_EQ(parse_file_changes(out),
            (std::vector<FileChange>{
                change("bin.dat", "modified", 0, 0), change("d/sp ace.txt", "deleted", 0, 1),
                change(":100644 1\t2\tx\n\xff", "added", 1, 0), change("s.txt", "modified", 1, 1),
                change("two \"2\".txt", "renamed", 2, 1, "one.txt")}));
}

TEST(ParseLogTest, MalformedOutputIsAGitError) {
  struct Case {
    const char* name;
    std::string raw;
    std::string numstat;
  } cases[] = {
      {"cut inside a path", "A\0a.txt\0"s, "1\t0\ta.t"s},
      {"rename without new path", "R100\0old\0"s, ""},
      {"counts missing", "A\0a\0"s, "\0def 2\0"s},
      {"counts of another path", "A\0a\0"s, "1\t0\tb\0"s},
      {"count not a number", "A\0a\0"s, "1x\t0\ta\0"s},
      {"unknown status", "U\0a\0"s, "1\t0\ta\0"s},
      {"empty paths, which would pass for the start of a commit", "R100\0\0\0"s, "1\t0\t\0\0\0"s},
      {"not a commit header", "A\0a\0"s, "1\t0\ta\0junk\0"s},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THROW(parse_log("\0abc 1\0\n:0 1 a b "s + c.raw + c.numstat), GitError);
  }
  // The last: a stray empty record puts a file's fields where a header goes.
  for (const std::string& header :
       {"abc 1\0"s, "\0abc 1x\0"s, "\0abc 1"s, "\0abc 1\0\0\n:0 5\0"s}) {
    EXPECT_THROW(parse_log(header), GitError);
  }
}

TEST(ParseCommitTimesTest, ReadsTimeAndIdPerLineAndRefusesAnythingElse) {
  const std::vector<CommitChanges> commits = parse_commit_times("20 abc\n-5 def\n");
  ASSERT_EQ(commits.size(), 2u);
  EXPECT_EQ(commits[1].commit, "def");
  EXPECT_EQ(commits[1].timestamp, -5);
  EXPECT_TRUE(parse_commit_times("").empty());
  for (const char* output : {"20 abc", "20abc\n", "x abc\n", "20 \n", "20 ABC\n"}) {
    SCOPED_TRACE(output);
    EXPECT_THROW(parse_commit_times(output), GitError);
  }
}

TEST(ParseLineSpansTest, KeysHeadSideSpansByHeadPath) {
  std::string patch =
      "diff --git a/a b.txt b/a b.txt\n--- a/a b.txt\t\n+++ b/a b.txt\t\n"
      "@@ -1,0 +2,2 @@ q\n+l1\n+++ b/fake\n"  // a body line, not a header
      "@@ -7,2 +8,0 @@\n-gone\n-gone\n@@ -20 +19 @@ int f()\n-x\n+y\n"
      "diff --git a/bad\xff b/bad\xff\n--- a/bad\xff\n+++ b/bad\xff\n@@ -1 +1,3 @@\n-x\n+y\n"
      "diff --git a/del b/del\n--- a/del\n+++ /dev/null\n@@ -1,2 +0,0 @@\n-a\n-b\n"
      "diff --git a/removed b/removed\n--- a/removed\n+++ b/removed\n@@ -3 +2,0 @@\n-c\n"
      "diff --git a/old b/new\nsimilarity index 100%\nrename from old\nrename to new\n"
      "diff --git a/img b/img\nBinary files a/img and b/img differ\n"
      "diff --git \"a/q \\\"x\\\"\" \"b/q \\\"x\\\"\"\n+++ \"b/q \\\"x\\\"\"\t\n@@ -0,0 +1 @@\n+q\n"
      "diff --git \"a/n\\nl\" \"b/n\\nl\"\n+++ \"b/n\\nl\"\n@@ -1 +1 @@\n-x\n+y\n"
      "\\ No newline at end of file\n";
  EXPECT_EQ(parse_line_spans(patch), (LineSpansByPath{{"a b.txt", {{2, 3, false}, {19, 19, false}}},
                                                      {"bad\xff", {{1, 3, false}}},
                                                      {"q \"x\"", {{1, 1, false}}},
                                                      {"n\nl", {{1, 1, false}}}}));
  for (std::string bad :
       {"+++ x\n@@ -1 +1 @@\n", "+++ b/x\n@@ -1 +1x @@\n", "+++ b/x\n@@ -1 +\n",
        "+++ \"b/x\n@@ -1 +1 @@\n", "+++ b/x\n@@ -2,0 +0,4 @@\n", "+++ b/x\n@@ -1 +3,-1 @@\n",
        "+++ b/x\n@@ -1 +9223372036854775807,2 @@\n"}) {
    SCOPED_TRACE(bad);
    EXPECT_THROW(parse_line_spans("diff --git a/x b/x\n" + bad), GitError);
  }
}

TEST(UnquotePathTest, UndoesCQuoting) {
  EXPECT_EQ(unquote_path("plain name"), "plain name");
  EXPECT_EQ(unquote_path("\"caf\\303\\251 \\t\\n\\r\\\"\\\\\\a\\b\\f\\v\\001\\377\""),
            "caf\xc3\xa9 \t\n\r\"\\\a\b\f\v\x01\xff");
  for (std::string_view bad : {"\"open", "\"", "\"a\\\"", "\"\\12\"", "\"\\q\""}) {
    SCOPED_TRACE(bad);
    EXPECT_THROW(unquote_path(bad), GitError);
  }
}

}  // namespace
}  // namespace lomarind::git_utils
