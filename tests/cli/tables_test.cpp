#include <gtest/gtest.h>

#include "cli/answer_text.h"

namespace lomarind::cli {
namespace {

using namespace std::chrono;
namespace gh = git_history;

const RenderOptions kPlain{.colour = false, .now = sys_days{2024y / May / 10}};
constexpr std::int64_t kMay10 = 1715299200;  // 2024-05-10T00:00:00Z

gh::PageFields page(std::int64_t total, std::int64_t offset, std::int64_t shown) {
  const bool more = offset + shown < total;
  return {total, more, more, offset, more ? std::optional(offset + shown) : std::nullopt};
}

// Periods and rows list their fields in the order answers.h declares them.

TEST(TablesTest, RecentShowsAgesRenamesSymbolsFutureDatesAndTheNextPage) {
  const gh::SymbolRow run{"run", "function", "app::run", 3, 9};
  gh::RecentChangesAnswer answer{
      .period = {"2 weeks", "main", 1, false, kMay10 - 14 * 86400},
      .files = {{{"src/new.cc", "renamed", "src/old.cc", 4, 1}, 2, kMay10 - 3 * 86400, {{run}}},
                {{"evil\x1b[2J.txt", "added", std::nullopt, 10}, 1, kMay10 + 86400 * 365}},
      .page = page(5, 0, 2)};
  EXPECT_EQ(recent_table(answer, kPlain),
            "main since '2 weeks' (2024-04-26): 1 commit\n"
            "FILE                      STATUS   COMMITS  ADDED  DELETED  LAST CHANGE\n"
            "src/old.cc -> src/new.cc  renamed        2     +4       -1  3 days ago\n"
            "    function run (lines 3-9)\n"
            "evil\\x1b[2J.txt           added          1    +10        0  2025-05-10 00:00\n"
            "Showing files 1-2 of 5; pass --offset 2 for the next page.\n");
}

TEST(TablesTest, HotspotsShowComponentsFilesCountAndRisk) {
  gh::HotspotsAnswer answer{
      .period = {"1 year", "main", 9, true, kMay10 - 366 * 86400, kMay10 - 30 * 86400},
      .excluded_files = 1,
      .hotspots = std::vector<gh::ComponentHotspot>{{"src/app", 8, 30, 2, 3, 1.0},
                                                    {"unknown", 1, 1, 0, 1, 0.12}},
      .page = page(2, 0, 2)};
  EXPECT_EQ(hotspots_table(answer, kPlain),
            "main since '1 year' (2023-05-10): 9 commits (the commit limit: commits before "
            "2024-04-10 are left out), by component; 1 file is not production source\n"
            "COMPONENT  COMMITS  ADDED  DELETED  FILES  RISK\n"
            "src/app          8    +30       -2      3  1.00\n"
            "unknown          1     +1        0      1  0.12\n"
            "Showing rows 1-2 of 2.\n");
}

TEST(TablesTest, OnANarrowTerminalPathsAreShortenedInTheMiddleAndPipedOutputIsWhole) {
  gh::BranchDiffAnswer answer{.base_branch = "main", .head_branch = "topic"};
  answer.files = {{{"src/runtime/scheduler/multi_thread/worker.rs", "modified", {}, 3, 1}}};
  answer.page = page(1, 0, 1);
  RenderOptions narrow = kPlain;
  narrow.width = 40;
  EXPECT_EQ(diff_table(answer, narrow),
            "topic against main: 0 commits\n"
            "FILE            STATUS    ADDED  DELETED\n"
            "src/ru\u2026rker.rs  modified     +3       -1\n"
            "Showing files 1-1 of 1.\n");
  EXPECT_NE(diff_table(answer, kPlain).find(answer.files[0].change.path), std::string::npos);
}

TEST(TablesTest, EmptyPagesSayWhyAndColourOnlyWhenAsked) {
  gh::BranchDiffAnswer answer{.base_branch = "main", .head_branch = "topic", .commit_count = 2};
  answer.page = page(4, 10, 0);
  EXPECT_EQ(diff_table(answer, kPlain),
            "topic against main: 2 commits\nNo files at offset 10; there are 4.\n");
  gh::BranchDiffAnswer same{
      .base_branch = "main", .head_branch = "main", .note = "Already on base branch"};
  EXPECT_EQ(diff_table(same, kPlain),
            "main against main: 0 commits; Already on base branch\nNo files.\n");

  gh::BranchDiffAnswer deleted{.base_branch = "main", .head_branch = "topic"};
  deleted.files = {{{"a", "deleted", {}, 0, 3}}};
  deleted.page = page(1, 0, 1);
  EXPECT_EQ(diff_table(deleted, kPlain).find('\x1b'), std::string::npos);
  RenderOptions colour = kPlain;
  colour.colour = true;
  EXPECT_NE(diff_table(deleted, colour).find("\x1b[31mdeleted\x1b[0m"), std::string::npos);
}

TEST(TablesTest, CouplingShowsBothFilesTheirCommitsAndWhatWasLeftOut) {
  gh::CouplingAnswer answer{
      .period = {"1 year", "main", 40, false, kMay10 - 366 * 86400},
      .bulk_commits = 2,
      .excluded_files = 1,
      .pairs = {{"src/a.cc", "src/a.h", 0.9, 9, 10, 10}, {"tab\there.py", "x.py", 0.35, 5, 12, 17}},
      .page = page(3, 0, 2)};
  EXPECT_EQ(coupling_table(answer, kPlain),
            "main since '1 year' (2023-05-10): 40 commits; 2 commits change too many files to "
            "count; 1 file is not production source\n"
            "FILE          COUPLED WITH  DEGREE  SHARED  COMMITS\n"
            "src/a.cc      src/a.h         0.90       9  10 / 10\n"
            "tab\\there.py  x.py            0.35       5  12 / 17\n"
            "Showing pairs 1-2 of 3; pass --offset 2 for the next page.\n");
}

TEST(TablesTest, DiffListsWhatTheBranchProbablyForgotOnlyWhenAsked) {
  gh::BranchDiffAnswer answer{.base_branch = "main", .head_branch = "topic", .commit_count = 1};
  answer.files = {{{"src/a.cc", "modified", {}, 2}}};
  answer.page = page(1, 0, 1);
  const std::string files =
      "topic against main: 1 commit\n"
      "FILE      STATUS    ADDED  DELETED\n"
      "src/a.cc  modified     +2        0\n"
      "Showing files 1-1 of 1.\n";
  EXPECT_EQ(diff_table(answer, kPlain), files);
  answer.missing_partners = std::vector<gh::MissingPartner>{{"src/a.h", "src/a.cc", 0.9, 9}};
  EXPECT_EQ(diff_table(answer, kPlain),
            files +
                "\nProbably also needs (they keep changing with these files on main):\n"
                "FILE     CHANGES WITH  DEGREE  SHARED\n"
                "src/a.h  src/a.cc        0.90       9\n");
  answer.missing_partners->clear();
  EXPECT_EQ(diff_table(answer, kPlain),
            files + "Probably also needs: nothing; no file on main keeps changing with these.\n");
}

}  // namespace
}  // namespace lomarind::cli
