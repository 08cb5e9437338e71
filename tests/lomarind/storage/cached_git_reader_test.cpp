// The commit cache must never change a period's log: every answer through
// it is compared with the git program reader's single log, on real
// repositories, after each change that reshapes commits' diffs.
#include "lomarind/storage/cached_git_reader.h"

#include <SQLiteCpp/Database.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <future>

#include "lomarind/git/git_cli.h"
#include "support/isolated_git.h"
#include "support/recording_log_sink.h"
#include "support/temp_git_repo.h"

namespace lomarind::git_utils {

// A commit as one line, so that a failed comparison shows what differs.
void PrintTo(const CommitChanges& commit, std::ostream* out) {
  *out << commit.commit.substr(0, 8) << " @" << commit.timestamp << ":";
  for (const FileChange& file : commit.files) {
    *out << " " << file.status << " " << file.path << " +" << file.additions << " -"
         << file.deletions << (file.old_path ? " from " + *file.old_path : "") << ";";
  }
}

}  // namespace lomarind::git_utils

namespace lomarind::commit_cache {
namespace {

using git_utils::CommitChanges;
using testing::TempGitRepo;

constexpr std::int64_t kStart = 1714564800;  // 2024-05-01T12:00:00Z

// A root commit, edits of a text file, a binary file, a rename, a delete
// and a merge that brings a side branch in.
void build_history(const TempGitRepo& repo, int extra_commits = 0) {
  repo.write("notes.txt", "one\ntwo\n");
  repo.write("src/a.c", "int a;\n");
  repo.commit("root", kStart);
  repo.write("notes.txt", "one\ntwo\nthree\n");
  repo.write("data.bin", std::string("\0\1\2", 3));
  repo.commit("edit", kStart + 60);
  repo.git({"mv", "src/a.c", "src/b.c"});
  repo.commit("rename", kStart + 120);
  repo.git({"checkout", "-q", "-b", "side"});
  repo.write("side.txt", "side\n");
  repo.commit("side", kStart + 180);
  repo.git({"checkout", "-q", "main"});
  repo.remove("data.bin");
  repo.commit("delete", kStart + 240);
  repo.git({"merge", "-q", "--no-ff", "-m", "merge", "side"});
  for (int i = 0; i < extra_commits; ++i) {
    repo.write("notes.txt", "line " + std::to_string(i) + "\n");
    repo.commit("more", kStart + 300 + i);
  }
}

class CachedGitReaderTest : public ::testing::Test {
 protected:
  CachedGitReaderTest()
      : git_(isolated_.runner()),
        cached_(git_, isolated_.runner(), Logger(std::string(kCacheLoggerName), sink_)) {}

  std::string head() const { return *git_.resolve_commit(repo_.root(), "HEAD"); }

  // Both readers over several periods: whole, cut short and from a date on.
  void expect_exact(std::string_view when) const {
    SCOPED_TRACE(when);
    for (auto [since, max] : {std::pair{0, 5000}, {0, 3}, {kStart + 100, 5000}}) {
      const std::chrono::sys_seconds start{std::chrono::seconds(since)};
      EXPECT_EQ(cached_.log_commit_changes(repo_.root(), start, head(), max),
                git_.log_commit_changes(repo_.root(), start, head(), max));
    }
    EXPECT_LE(sink_.records.size(), 1u);
  }

  std::vector<CommitChanges> exact() const {
    return git_.log_commit_changes(repo_.root(), {}, head(), 5000);
  }

  std::filesystem::path cache() const { return cache_file(repo_.root() / ".git"); }

  TempGitRepo repo_;
  testing::IsolatedGit isolated_;
  testing::RecordingLogSink sink_;
  git_utils::GitCli git_;
  CachedGitReader cached_;
};

TEST_F(CachedGitReaderTest, ColdWarmAndPartlyWarmAnswersAreTheLog) {
  build_history(repo_, 70);
  const std::chrono::sys_seconds recent{std::chrono::seconds(kStart + 340)};
  EXPECT_EQ(cached_.log_commit_changes(repo_.root(), recent, head(), 5000),
            git_.log_commit_changes(repo_.root(), recent, head(), 5000));
  expect_exact("partly warm");
  std::filesystem::remove(cache());
  expect_exact("cold");  // the whole history, read by several git processes at once
  expect_exact("warm");
  EXPECT_TRUE(sink_.records.empty());
  EXPECT_TRUE(std::filesystem::is_regular_file(cache()));
}

// Each change reshapes some commit's diff; the cache was filled before it,
// and must not serve what git no longer shows. New or rewritten commits
// have ids of their own, so the partly warm test covers them.
TEST_F(CachedGitReaderTest, ChangesThatReshapeDiffsAreNeverServedStale) {
  using Step = std::function<void(const TempGitRepo&)>;
  const auto git = [](std::vector<std::string> args) {
    return [args](const TempGitRepo& repo) { repo.git(args); };
  };
  const auto file = [](std::string path, std::string text) {
    return [path, text](const TempGitRepo& repo) { repo.write(path, text); };
  };
  const auto gone = [](std::string path) {
    return [path](const TempGitRepo& repo) { repo.remove(path); };
  };
  const Step none = [](const TempGitRepo&) {};
  // The rename's parent becomes the root, so its diff takes in the edit.
  const Step graft = [](const TempGitRepo& repo) {
    repo.write(".git/info/grafts", repo.rev("HEAD~2") + " " + repo.rev("HEAD~4") + "\n");
  };
  struct Case {
    std::string_view name;
    Step setup, change, undo;
  };
  const std::string outside = (repo_.root() / ".git" / "more-attributes").string();
  const Case cases[] = {
      {"work-tree .gitattributes", none, file(".gitattributes", "*.txt -diff\n"),
       gone(".gitattributes")},
      {"nested untracked .gitattributes", none, file("src/.gitattributes", "*.c binary\n"),
       gone("src/.gitattributes")},
      {"info/attributes", none, file(".git/info/attributes", "*.txt -diff\n"),
       gone(".git/info/attributes")},
      {"core.attributesFile", file(".git/more-attributes", "*.txt -diff\n"),
       git({"config", "core.attributesFile", outside}),
       git({"config", "--unset", "core.attributesFile"})},
      {"diff driver marked binary", file(".git/info/attributes", "*.txt diff=opaque\n"),
       git({"config", "diff.opaque.binary", "true"}),
       git({"config", "--unset", "diff.opaque.binary"})},
      {"git replace --graft", none,
       [](const TempGitRepo& repo) {
         repo.git({"replace", "--graft", repo.rev("HEAD~2"), repo.rev("HEAD~4")});
       },
       [](const TempGitRepo& repo) {
         repo.git({"replace", "-d", repo.rev("HEAD~2")});
       }},
      {"info/grafts", none, graft, gone(".git/info/grafts")},
  };
  build_history(repo_);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    c.setup(repo_);
    expect_exact("before");
    const std::vector<CommitChanges> before = exact();
    c.change(repo_);
    EXPECT_NE(exact(), before) << "the change must show in the log";
    expect_exact("changed");
    c.undo(repo_);
    expect_exact("undone");
  }
}

TEST_F(CachedGitReaderTest, ShallowCommitsAreReadAgainOnceDeepened) {
  build_history(repo_, 3);
  testing::TempDir dir;
  testing::run_command(
      {"git", "clone", "-q", "--depth", "2", "file://" + repo_.root().string(), "clone"},
      dir.path());
  const TempGitRepo clone(dir.path() / "clone");
  const std::string tip = clone.rev("HEAD");
  const auto both = [&] {
    return std::pair(cached_.log_commit_changes(clone.root(), {}, tip, 5000),
                     git_.log_commit_changes(clone.root(), {}, tip, 5000));
  };
  auto [cached, exact] = both();
  EXPECT_EQ(cached, exact);
  clone.git({"fetch", "-q", "--deepen", "3"});
  auto [deepened, deepened_exact] = both();
  EXPECT_NE(deepened_exact, exact);
  EXPECT_EQ(deepened, deepened_exact);
}

// A cache we must not use is left as it is and costs one warning at most.
TEST_F(CachedGitReaderTest, UnusableCacheGivesTheLogAndIsLeftAlone) {
  using Damage = std::function<void(const std::filesystem::path& cache)>;
  const std::filesystem::path target = repo_.root() / ".git" / "elsewhere.db";
  struct Case {
    std::string_view name;
    Damage damage;
    std::filesystem::path untouched = {};  // the cache file itself
  };
  const Case cases[] = {
      {"corrupt",
       [](const auto& cache) {
         std::fstream out(cache, std::ios::in | std::ios::out | std::ios::binary);
         out.seekp(100);
         out << std::string(3000, '\x5a');
       }},
      {"truncated",
       [](const auto& cache) {
         std::filesystem::resize_file(cache, std::filesystem::file_size(cache) / 2);
       }},
      {"foreign",
       [](const auto& cache) {
         std::filesystem::remove(cache);
         SQLite::Database(cache.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
             .exec("CREATE TABLE t (x)");
       }},
      {"symbolic link",
       [&target](const auto& cache) {
         std::filesystem::rename(cache, target);
         std::filesystem::create_symlink(target, cache);
       },
       target},
      {"a trigger that never ends",
       [](const auto& cache) {
         SQLite::Database(cache.string(), SQLite::OPEN_READWRITE)
             .exec(
                 "DELETE FROM commits; CREATE TRIGGER t AFTER INSERT ON commits BEGIN "
                 "SELECT count(*) FROM (WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT "
                 "x + 1 FROM c) SELECT x FROM c); END");
       }},
      {"folder is a file",
       [](const auto& cache) {
         std::filesystem::remove_all(cache.parent_path());
         std::ofstream(cache.parent_path()) << "not a folder";
       }},
  };
  build_history(repo_);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove_all(cache().parent_path());
    expect_exact("cold");
    c.damage(cache());
    const std::filesystem::path kept = c.untouched.empty() ? cache() : c.untouched;
    const std::string bytes = testing::read_file(kept);
    expect_exact("damaged");
    EXPECT_EQ(testing::read_file(kept), bytes);
    std::filesystem::remove(target);
  }
  // One reader warns once, on the cache's own logger.
  ASSERT_EQ(sink_.records.size(), 1u);
  EXPECT_EQ(sink_.records[0].logger, kCacheLoggerName);
}

// Rows edited in place decode as well as ever but no longer say what git
// showed: they are read again, and the cache mends them.
TEST_F(CachedGitReaderTest, EditedEntriesAreReadFromGitAgain) {
  build_history(repo_);
  for (const char* edit : {"UPDATE commits SET files = (SELECT files FROM commits AS other "
                           "WHERE other.id != commits.id AND length(other.files) > 0 LIMIT 1)",
                           "UPDATE paths SET path = path || '.x'",
                           "DELETE FROM paths WHERE id = (SELECT max(id) FROM paths)",
                           "UPDATE commits SET fingerprint = fingerprint + 1"}) {
    SCOPED_TRACE(edit);
    expect_exact("cold");
    SQLite::Database(cache().string(), SQLite::OPEN_READWRITE).exec(edit);
    expect_exact("edited");
    expect_exact("mended");
  }
}

TEST_F(CachedGitReaderTest, TwoProgramsFillingACacheAtOnceBothAnswerExactly) {
  build_history(repo_, 80);
  const auto run = [this](std::vector<std::string> options) {
    std::vector<std::string> argv = {LOMARIND_BINARY, "--repo", repo_.root().string()};
    argv.insert(argv.end(), options.begin(), options.end());
    argv.insert(argv.end(), {"hotspots", "--since", "2000-01-01", "--json"});
    return testing::run_command(argv, repo_.root()).out;
  };
  const std::string exact = run({"--no-cache"});
  EXPECT_FALSE(std::filesystem::exists(cache()));
  auto first = std::async(std::launch::async, run, std::vector<std::string>{});
  auto second = std::async(std::launch::async, run, std::vector<std::string>{});
  EXPECT_EQ(first.get(), exact);
  EXPECT_EQ(second.get(), exact);
  EXPECT_EQ(run({}), exact);
}

}  // namespace
}  // namespace lomarind::commit_cache
