// A full or failing disk under the index and the commit cache: the write
// fails with a clear error (the index) or quietly (the cache, which never
// fails an answer), and the file written before stays whole.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "lomarind/production/production_history.h"
#include "lomarind/storage/indexer.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/workers/git_history/answer_json.h"
#include "support/faulty_sqlite.h"
#include "support/isolated_git.h"
#include "support/temp_git_repo.h"

namespace lomarind {
namespace {

using testing::FaultySqlite;

constexpr std::int64_t kStart = 1714564800;  // 2024-05-01T12:00:00Z

repository_changes::IndexedPaths facts(const std::filesystem::path& index) {
  const auto db = repository_changes::IndexDb::open_for_queries(index);
  return repository_changes::SqliteIndex().indexed_paths(db, {"a.py", "b.py", "c.py"});
}

// The product treats every refused write alike, so one kind of fault
// stands for all of them.
TEST(WriteFaultsTest, AnIndexUpdateOnAFullDiskKeepsThePreviousIndex) {
  testing::TempGitRepo repo;
  repo.write("a.py", "def a():\n    return 1\n");
  repo.write("b.py", "def b():\n    return 2\n");
  repo.commit("first", kStart);
  const testing::TempDir dir;
  const indexer::IndexerOptions options{.repo_root = repo.root(),
                                        .index_path = dir.path() / "index.db"};
  indexer::build_index(options);
  const repository_changes::IndexedPaths before = facts(options.index_path);
  ASSERT_EQ(before.size(), 2u);

  repo.write("c.py", "def c():\n    return 3\n");
  repo.commit("second", kStart + 60);
  FaultySqlite disk;
  disk.fail_writes("index.db", SQLITE_FULL);
  EXPECT_THROW(indexer::build_index(options), repository_changes::IndexError);
  EXPECT_GT(disk.refused(), 0);
  disk.heal();
  EXPECT_EQ(facts(options.index_path), before);
  indexer::build_index(options);
  EXPECT_EQ(facts(options.index_path).size(), 3u);
}

TEST(WriteFaultsTest, ACacheOnAFailingDiskStillAnswersExactlyAndKeepsWhatItHeld) {
  testing::TempGitRepo repo;
  repo.write("a.py", "x = 1\n");
  repo.commit("first", kStart);
  const testing::IsolatedGit isolated;
  const NullLogSink sink;
  const auto answer = [&](bool cache) {
    const git_history::ProductionHistory production(
        {.now = [] { return std::chrono::sys_seconds(std::chrono::seconds(kStart + 86400)); },
         .runner = isolated.runner(),
         .commit_cache = cache},
        sink);
    const repository_changes::IndexDb no_index;
    return git_history::to_json(
               production.history().recent_changes({no_index}, repo.root(),
                                                   {"1 year", std::nullopt, false, 50, 0, false}))
        .dump();
  };
  answer(true);  // fills the cache with the first commit
  repo.write("a.py", "x = 2\n");
  repo.write("b.py", "y = 1\n");
  repo.commit("second", kStart + 60);
  FaultySqlite disk;
  disk.fail_writes("commits.db", SQLITE_IOERR);
  EXPECT_EQ(answer(true), answer(false));
  EXPECT_GT(disk.refused(), 0);
  disk.heal();
  EXPECT_EQ(answer(true), answer(false));
}

}  // namespace
}  // namespace lomarind
