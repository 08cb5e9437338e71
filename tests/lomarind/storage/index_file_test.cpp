#include "lomarind/storage/index_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "lomarind/storage/index_writer.h"
#include "lomarind/storage/sqlite_index.h"
#include "support/temp_git_repo.h"

namespace lomarind::repository_changes {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

// Enough rows that a writer with a small page cache spills to the file
// before it commits.
constexpr char kManySymbols[] =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 50000) "
    "INSERT INTO symbols SELECT 'b.py', 'f' || i, 'function', 'f' || i, i, i FROM n;";

class IndexFileTest : public ::testing::Test {
 protected:
  std::filesystem::path index_path() const { return dir_.path() / "index.db"; }

  // Both opens refuse the file, saying `reason`, and leave its bytes alone.
  void expect_refused(const std::string& reason) const {
    const std::string before = lomarind::testing::read_file(index_path());
    const auto refused =
        ThrowsMessage<IndexError>(HasSubstr("index " + index_path().string() + ": " + reason));
    EXPECT_THAT([&] { IndexDb::open_for_queries(index_path()); }, refused);
    EXPECT_THAT([&] { IndexWriter writer(index_path()); }, refused);
    EXPECT_EQ(lomarind::testing::read_file(index_path()), before);
  }

  // A committed index that knows `path`.
  void write_index(const char* path) const {
    IndexWriter writer(index_path());
    writer.put_file({path, "python", "lib", {}});
    writer.commit();
  }

  void make_database(const std::string& sql) const {
    SQLite::Database(index_path().c_str(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(sql);
  }

  lomarind::testing::TempDir dir_;
};

TEST_F(IndexFileTest, RefusesFilesThatAreNotOurIndex) {
  std::ofstream(index_path()) << std::string(4096, 'x');
  expect_refused("not a lomarind index (not an SQLite database); pass --index FILE");
  std::filesystem::remove(index_path());
  make_database("CREATE TABLE t (x); PRAGMA user_version = 7;");
  expect_refused("not a lomarind index (user_version 7)");
  std::filesystem::remove(index_path());
  IndexWriter(index_path()).commit();
  // Our own index, but for a trigger that would run on our writes.
  make_database("CREATE TRIGGER t AFTER INSERT ON files BEGIN SELECT 1; END");
  expect_refused("not a lomarind index (unexpected schema)");
}

TEST_F(IndexFileTest, RefusesASymlinkAndLeavesItsTargetAlone) {
  const std::filesystem::path real = dir_.path() / "real.db";
  { IndexWriter(real).commit(); }
  for (const auto& target : {real, dir_.path() / "nowhere.db"}) {
    std::filesystem::remove(index_path());
    std::filesystem::create_symlink(target, index_path());
    expect_refused("it is a symbolic link");
  }
  EXPECT_FALSE(std::filesystem::exists(dir_.path() / "nowhere.db"));
}

TEST_F(IndexFileTest, WriterMakesMissingDirectoriesThroughSymlinksAndNothingElse) {
  std::filesystem::create_directory(dir_.path() / "real");
  std::filesystem::create_directory_symlink(dir_.path() / "real", dir_.path() / "link");
  const std::filesystem::path nested = dir_.path() / "link" / "a" / "index.db";
  { IndexWriter(nested).commit(); }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(nested.parent_path()), {}), 1);
  EXPECT_FALSE(IndexDb::open_for_queries(nested).empty());
}

// The umask is the process's: the death-test child may change its own.
TEST_F(IndexFileTest, NewIndexFileKeepsTheUsersUmask) {
  for (const mode_t mask : {022, 077}) {
    SCOPED_TRACE(mask);
    EXPECT_EXIT(
        {
          ::umask(mask);
          { IndexWriter(index_path()).commit(); }
          struct stat st {};
          ::stat(index_path().c_str(), &st);
          std::exit((st.st_mode & 0777) == (0666 & ~mask) ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    std::filesystem::remove(index_path());
  }
}

// In write-ahead-log mode a writer, however much it has written, never
// blocks a query, which answers from the last commit. This one spills its
// pages early, which under a rollback journal would lock every reader out.
TEST_F(IndexFileTest, QueriesAnswerWhileAWriterHoldsABigTransaction) {
  write_index("a.py");
  const auto answer = [&] {
    return SqliteIndex().indexed_paths(IndexDb::open_for_queries(index_path()), {"a.py", "b.py"});
  };
  const IndexedPaths before = answer();
  ASSERT_EQ(before.size(), 1u);
  SQLite::Database writer(index_path().c_str(), SQLite::OPEN_READWRITE);
  writer.exec("PRAGMA cache_size = 10; BEGIN IMMEDIATE");
  writer.exec(std::string(kManySymbols) + "INSERT INTO files VALUES ('b.py', 'python', 'lib')");
  EXPECT_EQ(answer(), before);
  writer.exec("COMMIT");
  EXPECT_EQ(answer().size(), 2u);
}

// A user who may read but not write the index and its folder gets `paths`
// known paths from it. Root may write anything, so the check runs as
// nobody in a child process.
void expect_read_only_answer(const std::filesystem::path& index, std::size_t paths) {
  EXPECT_EXIT(
      {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) std::exit(2);
        const IndexedPaths known =
            SqliteIndex().indexed_paths(IndexDb::open_for_queries(index), {"a.py", "b.py"});
        std::exit(known.size() == paths ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// Queries need no write access: a read-only index in a read-only folder
// answers, alone and while its owner writes it.
TEST_F(IndexFileTest, ReadOnlyFileAndFolderStillAnswerQueries) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to run as a user without write access";
  write_index("a.py");
  ASSERT_EQ(::chmod(dir_.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(index_path().c_str(), 0644), 0);
  expect_read_only_answer(index_path(), 1);
  {
    IndexWriter writer(index_path());
    writer.put_file({"b.py", "python", "lib", {}});
    expect_read_only_answer(index_path(), 1);
    writer.commit();
  }
  // A writer killed with its pages written out leaves no hot journal that
  // a reader without write access would have to roll back.
  const pid_t killed = ::fork();
  ASSERT_GE(killed, 0);
  if (killed == 0) {
    SQLite::Database writer(index_path().c_str(), SQLite::OPEN_READWRITE);
    writer.exec("PRAGMA cache_size = 10; BEGIN IMMEDIATE; DELETE FROM files");
    writer.exec(kManySymbols);
    ::raise(SIGKILL);
  }
  ASSERT_EQ(::waitpid(killed, nullptr, 0), killed);
  expect_read_only_answer(index_path(), 2);
}

TEST_F(IndexFileTest, SecondWriterIsToldTheIndexIsBusy) {
  IndexWriter(index_path()).commit();
  IndexWriter writer(index_path());
  EXPECT_THAT([&] { IndexWriter second(index_path(), 50); },
              ThrowsMessage<IndexError>(HasSubstr("the index is busy")));
}

// A first run's index appears whole when it commits, and a first run that
// stops before leaves nothing behind, not an empty index.
TEST_F(IndexFileTest, FirstIndexAppearsOnlyWhenItsRunCommits) {
  // SQLite's own files beside an index that a query opened do not count.
  const auto files_here = [&] {
    return std::count_if(std::filesystem::directory_iterator(dir_.path()), {},
                         [](const auto& file) {
                           const std::string name = file.path().filename().string();
                           return !name.ends_with("-wal") && !name.ends_with("-shm");
                         });
  };
  {
    IndexWriter unfinished(index_path());
    unfinished.put_file({"a.py", "python", "lib", {}});
  }
  EXPECT_EQ(files_here(), 0);
  {
    IndexWriter first(index_path());
    first.put_file({"a.py", "python", "lib", {}});
    EXPECT_FALSE(std::filesystem::exists(index_path()));
    first.commit();
    EXPECT_EQ(SqliteIndex().indexed_paths(IndexDb::open_for_queries(index_path()), {"a.py"}).size(),
              1u);
  }
  EXPECT_EQ(files_here(), 1);
}

}  // namespace
}  // namespace lomarind::repository_changes
