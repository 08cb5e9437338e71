#include <gtest/gtest.h>

#include "cli/commands.h"

namespace lomarind::cli {
namespace {

using namespace std::chrono;

const RenderOptions kPlain{.colour = false, .now = sys_days{2024y / May / 10}};

// An answer: `head` (a JSON object's text) with its rows and page fields.
Json page(const char* head, const char* key, const char* rows, std::int64_t total,
          std::int64_t offset, bool has_more) {
  Json answer = Json::parse(head);
  answer[key] = Json::parse(rows);
  answer["total_count"] = total;
  answer["truncated"] = has_more;
  answer["has_more"] = has_more;
  answer["offset"] = offset;
  if (has_more) answer["next_offset"] = offset + static_cast<std::int64_t>(answer[key].size());
  return answer;
}

TEST(TablesTest, RecentShowsAgesRenamesSymbolsAndTheNextPage) {
  const Json answer = page(
      R"({"since": "2 weeks", "branch": "main", "commit_count": 3, "excluded_files": 0})", "files",
      R"([{"path": "src/new.cc", "status": "renamed", "old_path": "src/old.cc", "additions": 4,
           "deletions": 1, "commits": 2, "last_changed": "2024-05-07T00:00:00+00:00",
           "symbols": [{"name": "run", "kind": "function", "fqn": "app::run", "line": 3,
                        "end_line": 9}]},
          {"path": "evil\u001b[2J.txt", "status": "added", "additions": 10, "deletions": 0,
           "commits": 1, "last_changed": "2024-05-09T22:00:00+00:00"}])",
      5, 0, true);
  EXPECT_EQ(recent_table(answer, kPlain),
            "main since '2 weeks': 3 commits\n"
            "PATH                      STATUS   COMMITS   LINES  LAST CHANGED\n"
            "src/old.cc -> src/new.cc  renamed        2   +4 -1  3 days ago\n"
            "    function run (lines 3-9)\n"
            "evil\\x1b[2J.txt           added          1  +10 -0  2 hours ago\n"
            "Showing files 1-2 of 5; pass --offset 2 for the next page.\n");
}

TEST(TablesTest, HotspotsShowComponentsFilesCountAndRisk) {
  const Json answer = page(
      R"({"since": "1 year", "branch": "main", "commit_count": 9, "commit_limit_reached": true,
          "group_by": "component", "excluded_files": 2})",
      "hotspots",
      R"([{"name": "src/app", "type": "component", "commits": 8, "additions": 30, "deletions": 2,
           "files": 3, "risk_score": 1.0},
          {"name": "unknown", "type": "component", "commits": 1, "additions": 1, "deletions": 0,
           "files": 1, "risk_score": 0.12}])",
      2, 0, false);
  EXPECT_EQ(hotspots_table(answer, kPlain),
            "main since '1 year': 9 commits, by component (the commit limit; older commits are "
            "left out); 2 files are not production source\n"
            "NAME     TYPE       COMMITS   LINES  FILES  RISK\n"
            "src/app  component        8  +30 -2      3  1.00\n"
            "unknown  component        1   +1 -0      1  0.12\n"
            "Showing rows 1-2 of 2.\n");
}

TEST(TablesTest, EmptyPagesSayWhyAndColourOnlyWhenAsked) {
  const char* head =
      R"({"base_branch": "main", "head_branch": "topic", "commit_count": 2, "excluded_files": 0})";
  EXPECT_EQ(diff_table(page(head, "files", "[]", 4, 10, false), kPlain),
            "topic against main: 2 commits\nNo files at offset 10; there are 4.\n");
  Json same = page(head, "files", "[]", 0, 0, false);
  same["head_branch"] = "main";
  same["commit_count"] = 0;
  same["note"] = "Already on base branch";
  EXPECT_EQ(diff_table(same, kPlain),
            "main against main: 0 commits; Already on base branch\nNo files.\n");

  const Json deleted =
      page(head, "files", R"([{"path": "a", "status": "deleted", "additions": 0, "deletions": 3}])",
           1, 0, false);
  EXPECT_EQ(diff_table(deleted, kPlain).find('\x1b'), std::string::npos);
  RenderOptions colour = kPlain;
  colour.colour = true;
  EXPECT_NE(diff_table(deleted, colour).find("\x1b[31mdeleted\x1b[0m"), std::string::npos);
}

}  // namespace
}  // namespace lomarind::cli
