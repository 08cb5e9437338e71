#include "lomarind/storage/index_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include "lomarind/storage/index_writer.h"
#include "support/temp_git_repo.h"

namespace lomarind::repository_changes {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

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
  for (const char* added : {"CREATE TABLE accounts (id)",
                            "CREATE TRIGGER t AFTER INSERT ON files BEGIN SELECT 1; END"}) {
    SCOPED_TRACE(added);
    std::filesystem::remove(index_path());
    IndexWriter(index_path()).commit();
    make_database(added);
    expect_refused("not a lomarind index (unexpected schema)");
  }
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
  EXPECT_FALSE(IndexDb::open_for_queries(nested).empty());
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(nested.parent_path()), {}), 1);
}

// The umask is the process's: the death-test child may change its own.
TEST_F(IndexFileTest, NewIndexFileKeepsTheUsersUmask) {
  for (const mode_t mask : {022, 027, 077}) {
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

TEST_F(IndexFileTest, ReadOnlyFileStillAnswersQueries) {
  IndexWriter(index_path()).commit();
  ::chmod(index_path().c_str(), 0444);
  EXPECT_THAT(SqliteIndex().indexed_paths(IndexDb::open_for_queries(index_path()), {"a.py"}),
              ::testing::IsEmpty());
}

TEST_F(IndexFileTest, SecondWriterIsToldTheIndexIsBusy) {
  IndexWriter writer(index_path());
  EXPECT_THAT([&] { IndexWriter second(index_path(), 50); },
              ThrowsMessage<IndexError>(HasSubstr("the index is busy")));
}

}  // namespace
}  // namespace lomarind::repository_changes
