#include "lomarind/utils/git_parse.h"

#include <gtest/gtest.h>

#include <string>

namespace lomarind::git_utils {
namespace {

using namespace std::string_literals;

FileChange change(std::string path, std::string status, std::int64_t additions,
                  std::int64_t deletions, std::optional<std::string> old_path = std::nullopt) {
  return {std::move(path), std::move(status), additions, deletions, std::move(old_path)};
}

// `git diff -z --raw --numstat -M` across a mode change of a binary file, a
// deletion, an addition with a tab and a quote in its name, a type change
// and a rename with edits.
const std::string kDiff =
    ":100644 100755 3e3315e 3e3315e M\0bin.dat\0"
    ":100644 000000 587be6b 0000000 D\0d/sp ace.txt\0"
    ":000000 100644 0000000 975fbec A\0tab\tq\"x\0"
    ":100644 120000 b478595 4d65d04 T\0s.txt\0"
    ":100644 100644 de98044 a7bc997 R050\0one.txt\0two.txt\0"
    "-\t-\tbin.dat\0"
    "0\t1\td/sp ace.txt\0"
    "1\t0\ttab\tq\"x\0"
    "1\t1\ts.txt\0"
    "2\t1\t\0one.txt\0two.txt\0"s;

TEST(ParseFileChangesTest, ReadsStatusesPathsAndCounts) {
  EXPECT_EQ(parse_file_changes(kDiff),
            (std::vector<FileChange>{
                change("bin.dat", "modified", 0, 0), change("d/sp ace.txt", "deleted", 0, 1),
                change("tab\tq\"x", "added", 1, 0), change("s.txt", "modified", 1, 1),
                change("two.txt", "renamed", 2, 1, "one.txt")}));
  EXPECT_TRUE(parse_file_changes("").empty());
}

TEST(ParseFileChangesTest, PathsThatLookLikeEntriesStayPaths) {
  std::string out =
      ":000000 100644 0000000 975fbec A\0:100644 100644 a b M\0"
      ":000000 100644 0000000 975fbec A\0"
      "1\t2\tx\0"
      ":000000 100644 0000000 975fbec A\0\xff\n\x01\0"
      "3\t0\t:100644 100644 a b M\0"
      "4\t0\t1\t2\tx\0"
      "5\t0\t\xff\n\x01\0"s;
  EXPECT_EQ(parse_file_changes(out),
            (std::vector<FileChange>{change(":100644 100644 a b M", "added", 3, 0),
                                     change("1\t2\tx", "added", 4, 0),
                                     change("\xff\n\x01", "added", 5, 0)}));
}

TEST(ParseFileChangesTest, MalformedOutputIsAGitError) {
  struct Case {
    const char* name;
    std::string out;
  } cases[] = {
      {"cut inside a path",
       ":000000 100644 0 1 A\0a.txt\0"
       "1\t0\ta.t"s},
      {"rename without its new path", ":100644 100644 0 1 R100\0old\0"s},
      {"line counts missing", ":000000 100644 0 1 A\0a.txt\0"s},
      {"line counts for another path",
       ":000000 100644 0 1 A\0a.txt\0"
       "1\t0\tb.txt\0"s},
      {"rename counts for another pair",
       ":100644 100644 0 1 R090\0a\0b\0"
       "1\t0\t\0x\0b\0"s},
      {"count not a number",
       ":000000 100644 0 1 A\0a\0"
       "1x\t0\ta\0"s},
      {"count missing",
       ":000000 100644 0 1 A\0a\0"
       "\t0\ta\0"s},
      {"unknown status",
       ":000000 100644 0 1 U\0a\0"
       "1\t0\ta\0"s},
      {"raw entry without status", ":000000\0a\0"s},
      {"trailing garbage",
       ":000000 100644 0 1 A\0a\0"
       "1\t0\ta\0junk\0"s},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THROW(parse_file_changes(c.out), GitError);
  }
}

TEST(ParseLogTest, ReadsCommitsInOrderWithMergesEmpty) {
  std::string out =
      "\0"
      "55ac789a0490 1795396421\0"
      "\n:100644 100644 a7bc997 f8bab5d M\0two.txt\0"
      "1\t0\ttwo.txt\0"
      "\0"
      "cd68b0cd9718 1795396421\0"  // a merge: no diff
      "\0"
      "6c3c98f1b0d6 1000\0"
      "\n:000000 100644 0000000 8876 A\0caf\xc3\xa9 \"q\"\0"
      ":100644 100644 a b R100\0old\nname\0new\\name\0"
      "-\t-\tcaf\xc3\xa9 \"q\"\0"
      "0\t0\t\0old\nname\0new\\name\0"
      "\0"
      "f3db15cc 0\0"s;  // an empty commit, last
  std::vector<CommitChanges> expected = {
      {"55ac789a0490", 1795396421, {change("two.txt", "modified", 1, 0)}},
      {"cd68b0cd9718", 1795396421, {}},
      {"6c3c98f1b0d6",
       1000,
       {change("caf\xc3\xa9 \"q\"", "added", 0, 0),
        change("new\\name", "renamed", 0, 0, "old\nname")}},
      {"f3db15cc", 0, {}},
  };
  EXPECT_EQ(parse_log(out), expected);
  EXPECT_TRUE(parse_log("").empty());
}

TEST(ParseLogTest, MalformedOutputIsAGitError) {
  struct Case {
    const char* name;
    std::string out;
  } cases[] = {
      {"no header record", "abc 1\0"s},
      {"header without time", "\0abc\0"s},
      {"time not a number", "\0abc 1x\0"s},
      {"cut after the header", "\0abc 1"s},
      {"cut inside the counts",
       "\0abc 1\0\n:0 1 a b A\0x\0"
       "1\t"s},
      {"counts of the next commit missing",
       "\0abc 1\0\n:0 1 a b A\0x\0"
       "1\t0\tx\0"
       "\0def 2\0\n:0 1 a b A\0y\0"s},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THROW(parse_log(c.out), GitError);
  }
}

// `git diff -U0` with core.quotePath=false, as git prints it.
const std::string kPatch =
    "diff --git a/a b.txt b/a b.txt\n"
    "index bca70f3..696eb3e 100644\n"
    "--- a/a b.txt\t\n"
    "+++ b/a b.txt\t\n"
    "@@ -1,0 +2,2 @@ q\n"
    "+l1\n"
    "+++ b/fake\n"
    "@@ -7,2 +8,0 @@\n"
    "-gone\n"
    "-gone\n"
    "@@ -20 +19 @@ int main()\n"
    "-x\n"
    "+y\n"
    "diff --git a/bad\xff b/bad\xff\n"
    "--- a/bad\xff\n"
    "+++ b/bad\xff\n"
    "@@ -1 +1,3 @@\n"
    "-x\n"
    "+y\n"
    "diff --git a/deleted.txt b/deleted.txt\n"
    "deleted file mode 100644\n"
    "--- a/deleted.txt\n"
    "+++ /dev/null\n"
    "@@ -1,2 +0,0 @@\n"
    "-a\n"
    "-b\n"
    "diff --git a/only-removed b/only-removed\n"
    "--- a/only-removed\n"
    "+++ b/only-removed\n"
    "@@ -3 +2,0 @@\n"
    "-c\n"
    "diff --git a/old.txt b/new.txt\n"
    "similarity index 100%\n"
    "rename from old.txt\n"
    "rename to new.txt\n"
    "diff --git a/img.png b/img.png\n"
    "index 1..2 100644\n"
    "Binary files a/img.png and b/img.png differ\n"
    "diff --git \"a/nl\\nname\" \"b/nl\\nname\"\n"
    "--- \"a/nl\\nname\"\n"
    "+++ \"b/nl\\nname\"\n"
    "@@ -1 +1 @@\n"
    "-x\n"
    "+y\n"
    "\\ No newline at end of file\n";

TEST(ParseLineSpansTest, KeysHeadSideSpansByHeadPath) {
  LineSpansByPath expected = {
      {"a b.txt", {{2, 3, false}, {19, 19, false}}},
      {"bad\xff", {{1, 3, false}}},
      {"nl\nname", {{1, 1, false}}},
  };
  EXPECT_EQ(parse_line_spans(kPatch), expected);
  EXPECT_TRUE(parse_line_spans("").empty());
}

TEST(ParseLineSpansTest, MalformedHeadersAreAGitError) {
  for (const char* patch :
       {"diff --git a/x b/x\n+++ x\n@@ -1 +1 @@\n", "diff --git a/x b/x\n+++ b/x\n@@ -1 +1x @@\n",
        "diff --git a/x b/x\n+++ b/x\n@@ -1 +\n", "diff --git a/x b/x\n+++ \"b/x\n@@ -1 +1 @@\n"}) {
    SCOPED_TRACE(patch);
    EXPECT_THROW(parse_line_spans(patch), GitError);
  }
}

TEST(UnquotePathTest, UndoesCQuoting) {
  struct Case {
    std::string_view quoted;
    std::string expected;
  } cases[] = {
      {"plain name", "plain name"},
      {"\"caf\\303\\251\"", "caf\xc3\xa9"},
      {"\"t\\tn\\nr\\r\\\"q\\\"\\\\\"", "t\tn\nr\r\"q\"\\"},
      {"\"\\a\\b\\f\\v\\001\\377\"", "\a\b\f\v\x01\xff"},
      {"\"\"", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.quoted);
    EXPECT_EQ(unquote_path(c.quoted), c.expected);
  }
  for (std::string_view bad : {"\"open", "\"", "\"a\\\"", "\"\\12\"", "\"\\q\""}) {
    SCOPED_TRACE(bad);
    EXPECT_THROW(unquote_path(bad), GitError);
  }
}

}  // namespace
}  // namespace lomarind::git_utils
