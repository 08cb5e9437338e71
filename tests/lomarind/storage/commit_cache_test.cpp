// The cache file through its own interface: bounded whatever is stored in
// it, and shared by hosts that run different gits.
#include "lomarind/storage/commit_cache.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "support/temp_git_repo.h"

namespace lomarind::commit_cache {
namespace {

// A commit id of a history rewritten for the `round`th time.
std::string commit_id(int round, int commit) {
  return fmt::format("{:020x}{:020x}", round, commit);
}

// The commits of one rewritten history: a file everyone edits, a file
// of this history alone, and one renamed from the history before.
std::vector<CachedCommit> history(int round, int commits) {
  std::vector<CachedCommit> written;
  for (int i = 0; i < commits; ++i) {
    const std::string own = fmt::format("src/history{}/file{}.c", round, i);
    const std::string moved = fmt::format("docs/{}/notes.md", round);
    written.push_back(
        {commit_id(round, i),
         {{{"README.md", "modified", i + 1, 1, std::nullopt}, "unspecified", ""},
          {{own, "added", 10, 0, std::nullopt}, "unspecified", ""},
          {{moved, "renamed", 0, 0, fmt::format("docs/{}/notes.md", round - 1)}, "unset", "set"}}});
  }
  return written;
}

// The paths the cache's path table holds.
std::set<std::string> stored_paths(const std::filesystem::path& file) {
  SQLite::Database db(file.string(), SQLite::OPEN_READONLY);
  SQLite::Statement paths(db, "SELECT path FROM paths");
  std::set<std::string> found;
  while (paths.executeStep()) found.insert(paths.getColumn(0).getString());
  return found;
}

class CommitCacheTest : public ::testing::Test {
 protected:
  std::filesystem::path file() const { return dir_.path() / "lomarind" / "commits.db"; }

  testing::TempDir dir_;
};

// Each history replaces the one before it, as a force-push or a rebase
// does: old entries and the paths only they name must make room. Each
// store holds ten histories, as a period reaching over them would read.
TEST_F(CommitCacheTest, StaysUnderItsCapAcrossAThousandRewrittenHistories) {
  constexpr std::uint64_t kCap = 256 * 1024;
  constexpr int kRounds = 1000, kCommits = 20, kPerStore = 10;
  CommitCache cache = CommitCache::open(file(), kCap);
  const CacheKey key{.fingerprint = 1, .git = 2};
  std::uintmax_t largest = 0;
  for (int round = 0; round < kRounds; round += kPerStore) {
    std::vector<CachedCommit> read;
    for (int k = round; k < round + kPerStore; ++k) {
      std::vector<CachedCommit> rewritten = history(k, kCommits);
      read.insert(read.end(), rewritten.begin(), rewritten.end());
    }
    cache.store(key, read);
    largest = std::max(largest, std::filesystem::file_size(file()));
  }
  EXPECT_LE(largest, kCap);

  // The newest histories are held whole, the oldest are gone, and the path
  // table holds exactly the paths of what is held.
  std::vector<std::string> ids;
  for (int round = 0; round < kRounds; ++round) {
    for (int i = 0; i < kCommits; ++i) ids.push_back(commit_id(round, i));
  }
  const FoundCommits found = cache.find(key.fingerprint, ids);
  std::set<std::string> named;
  for (const auto& [id, path] : found.paths) named.insert(path.path);
  EXPECT_EQ(stored_paths(file()), named);
  EXPECT_FALSE(found.commits.front());
  for (std::size_t i = ids.size() - 3 * kCommits; i < ids.size(); ++i) {
    ASSERT_TRUE(found.commits[i]) << ids[i];
  }
  const auto& newest = *found.commits.back();
  ASSERT_EQ(newest.size(), 3u);
  EXPECT_EQ(found.paths.at(newest[2].path).path, fmt::format("docs/{}/notes.md", kRounds - 1));
  EXPECT_EQ(found.paths.at(newest[2].old_path).attribute, "set");
}

// Two hosts with different gits share one repository's cache: neither
// wipes what the other stored, while a git's own entries from before a
// change of what shapes its diffs make way.
TEST_F(CommitCacheTest, AnotherGitsEntriesStayAndOnlyTheSameGitsOlderStateGoes) {
  CommitCache cache = CommitCache::open(file());
  const CacheKey first{.fingerprint = 10, .git = 1}, other_git{.fingerprint = 20, .git = 2},
      first_changed{.fingerprint = 11, .git = 1};
  const auto held = [&](const CacheKey& key, int round) {
    return cache.find(key.fingerprint, {commit_id(round, 0)}).commits[0].has_value();
  };
  cache.store(first, history(0, 1));
  cache.store(other_git, history(1, 1));
  EXPECT_TRUE(held(first, 0));
  EXPECT_TRUE(held(other_git, 1));
  cache.store(first_changed, history(2, 1));
  EXPECT_FALSE(held(first, 0));
  EXPECT_TRUE(held(other_git, 1));
  EXPECT_TRUE(held(first_changed, 2));
}

// A path stored under two attributes (a rename's old side) is named once;
// past the limit, none are.
TEST_F(CommitCacheTest, KnownPathsAreEachPathOnceUpToALimit) {
  CommitCache cache = CommitCache::open(file());
  EXPECT_EQ(cache.known_paths(10), std::vector<std::string>());
  cache.store({.fingerprint = 1, .git = 1}, history(1, 1));
  cache.store({.fingerprint = 1, .git = 1}, history(2, 1));  // docs/1 "set" as the old side
  const auto paths = cache.known_paths(6);
  ASSERT_TRUE(paths.has_value());
  EXPECT_EQ(std::multiset<std::string>(paths->begin(), paths->end()),
            (std::multiset<std::string>{"README.md", "src/history1/file0.c", "src/history2/file0.c",
                                        "docs/0/notes.md", "docs/1/notes.md", "docs/2/notes.md"}));
  EXPECT_FALSE(cache.known_paths(5).has_value());
}

// What an older layout of our own holds is only ever a copy: it is dropped,
// and the file rebuilt so that pruning can give pages back.
TEST_F(CommitCacheTest, OurOlderLayoutIsRebuiltForPruning) {
  std::filesystem::create_directories(file().parent_path());
  {
    SQLite::Database old(file().string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    old.exec(
        "CREATE TABLE paths (id INTEGER PRIMARY KEY, path BLOB, attribute BLOB);"
        "CREATE TABLE commits (id TEXT, fingerprint INTEGER, files BLOB, checksum INTEGER);"
        "PRAGMA application_id = 1819108195; PRAGMA user_version = 2;");  // "lmcc"
  }
  CommitCache cache = CommitCache::open(file());
  cache.store({.fingerprint = 1, .git = 1}, history(0, 2));
  EXPECT_TRUE(cache.find(1, {commit_id(0, 1)}).commits[0]);
  SQLite::Database db(file().string(), SQLite::OPEN_READONLY);
  EXPECT_EQ(db.execAndGet("PRAGMA auto_vacuum").getInt(), 2);  // incremental
}

}  // namespace
}  // namespace lomarind::commit_cache
