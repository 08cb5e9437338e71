#include "lomarind/storage/index_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <string>

#include "lomarind/storage/index_writer.h"
#include "support/temp_git_repo.h"

namespace lomarind::repository_changes {
namespace {

using ::testing::HasSubstr;

std::string read_bytes(const std::filesystem::path& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

class IndexFileTest : public ::testing::Test {
 protected:
  std::filesystem::path index_path() const { return dir_.path() / "index.db"; }

  // Both opens refuse the file, saying `reason`, and leave its bytes alone.
  void expect_refused(const std::string& reason) const {
    const std::string before = read_bytes(index_path());
    const auto refused = [&](auto open) {
      try {
        open();
        ADD_FAILURE() << "opened " << index_path();
      } catch (const IndexError& e) {
        EXPECT_THAT(e.what(), HasSubstr("index " + index_path().string() + ": " + reason));
      }
    };
    refused([&] { IndexDb::open_for_queries(index_path()); });
    refused([&] { IndexWriter writer(index_path()); });
    EXPECT_EQ(read_bytes(index_path()), before);
  }

  lomarind::testing::TempDir dir_;
};

TEST_F(IndexFileTest, RefusesFilesThatAreNotOurIndex) {
  struct Case {
    bool ours;        // `sql` runs on a new index of ours, else on a new database
    std::string sql;  // empty: the file is plain text
    std::string reason;
  };
  for (const Case& c : {
           Case{false, "", "not a lomarind index (not an SQLite database); pass --index FILE"},
           {false, "CREATE TABLE t (x); PRAGMA user_version = 7;",
            "not a lomarind index (user_version 7)"},
           {true, "CREATE TABLE accounts (id);", "not a lomarind index (unexpected tables)"},
       }) {
    SCOPED_TRACE(c.reason);
    std::filesystem::remove(index_path());
    if (c.ours) IndexWriter(index_path()).commit();
    if (c.sql.empty()) {
      std::ofstream(index_path()) << std::string(4096, 'x');
    } else {
      SQLite::Database(index_path().c_str(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
          .exec(c.sql);
    }
    expect_refused(c.reason);
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

TEST_F(IndexFileTest, ReadOnlyFileStillAnswersQueries) {
  IndexWriter(index_path()).commit();
  ::chmod(index_path().c_str(), 0444);
  EXPECT_THAT(SqliteIndex().indexed_paths(IndexDb::open_for_queries(index_path()), {"a.py"}),
              ::testing::IsEmpty());
}

TEST_F(IndexFileTest, SecondWriterIsToldTheIndexIsBusy) {
  IndexWriter writer(index_path());
  try {
    IndexWriter second(index_path(), 50);
    ADD_FAILURE() << "two writers at once";
  } catch (const IndexError& e) {
    EXPECT_THAT(e.what(), HasSubstr("the index is busy"));
  }
}

}  // namespace
}  // namespace lomarind::repository_changes
