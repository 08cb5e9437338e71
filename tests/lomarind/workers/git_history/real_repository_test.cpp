// A branch answer end to end over a real git repository, the git program
// reader, a real index built by ctags and the library's own filters and hint.
#include <gtest/gtest.h>

#include <map>

#include "lomarind/production/production_history.h"
#include "lomarind/storage/indexer.h"
#include "lomarind/workers/git_history/git_history.h"
#include "support/isolated_git.h"
#include "support/temp_git_repo.h"

namespace lomarind::git_history {
namespace {

class HistoryOnARealRepositoryTest : public ::testing::Test {
 protected:
  testing::TempGitRepo repo_;
  const testing::IsolatedGit isolated_;
  const NullLogSink sink_{};
  const ProductionHistory production_{
      {.now = [] { return std::chrono::sys_seconds(std::chrono::seconds(1714600000)); },
       .runner = isolated_.runner()},
      sink_};
  const GitHistory& history_ = production_.history();
};

std::string functions(int first, int count, const std::string& body) {
  std::string text;
  for (int i = first; i < first + count; ++i) {
    text += "def f" + std::to_string(i) + "():\n    return " + body + "\n";
  }
  return text;
}

template <typename Row>
std::string symbol_names(const Row& row) {
  std::string names;
  for (const SymbolRow& symbol : row.symbols.value()) {
    names += symbol.name + ":" + std::to_string(symbol.line) + "-" +
             std::to_string(symbol.end_line) + " ";
  }
  return names;
}

// Symbols from a real index on the lines git says each file changed: an
// edit only touches the function it is in, a renamed file is diffed under
// both names, and an added file lists its first ten symbols.
TEST_F(HistoryOnARealRepositoryTest, BranchSymbolsLieOnTheChangedLines) {
  repo_.write("lib.py", functions(0, 4, "0"));
  repo_.write("old.py", functions(10, 3, "0"));
  repo_.commit("start", 1714564800);
  repo_.git({"checkout", "-q", "-b", "feature"});
  std::string lib = functions(0, 4, "0");
  lib.replace(lib.find("return 0", 20), 8, "return 1");  // inside f1
  repo_.write("lib.py", lib);
  repo_.git({"mv", "old.py", "new.py"});
  std::string moved = functions(10, 3, "0");
  moved.replace(moved.rfind("return 0"), 8, "return 2");  // inside f12
  repo_.write("new.py", moved);
  repo_.write("big.py", functions(20, 12, "0"));
  repo_.commit("feature", 1714568400);

  const testing::TempDir dir;
  indexer::build_index({.repo_root = repo_.root(), .index_path = dir.path() / "index.db"});
  const repository_changes::IndexDb db =
      repository_changes::IndexDb::open_for_queries(dir.path() / "index.db");

  const BranchDiffAnswer diff =
      history_.branch_diff({db}, repo_.root(), {"main", std::nullopt, true, 10, 0, false});
  std::map<std::string, std::string> found;
  for (const DiffRow& row : diff.files) found[row.change.path] = symbol_names(row);
  EXPECT_EQ(found.at("lib.py"), "f1:3-4 ");
  EXPECT_EQ(found.at("new.py"), "f12:5-6 ");
  EXPECT_EQ(found.at("big.py"),
            "f20:1-2 f21:3-4 f22:5-6 f23:7-8 f24:9-10 f25:11-12 f26:13-14 f27:15-16 f28:17-18 "
            "f29:19-20 ");
}

}  // namespace
}  // namespace lomarind::git_history
