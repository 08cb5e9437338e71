#include "lomarind/storage/index_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "lomarind/storage/index_writer.h"
#include "support/temp_git_repo.h"

namespace lomarind::repository_changes {
namespace {

using ::testing::HasSubstr;

std::string read_bytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void write_bytes(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

void make_sqlite_file(const std::filesystem::path& path, const std::string& sql) {
  SQLite::Database db(path.c_str(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  db.exec(sql);
}

class IndexFileTest : public ::testing::Test {
 protected:
  std::filesystem::path index_path() const { return dir_.path() / "index.db"; }

  // Both opens refuse the file with a message holding `reason`, and leave
  // its bytes as they were.
  void expect_refused(const std::string& reason) const {
    const std::string before = read_bytes(index_path());
    const std::function<void()> opens[] = {
        [&] { IndexDb::open_for_queries(index_path()); },
        [&] { IndexWriter writer(index_path()); },
    };
    for (const auto& open : opens) {
      try {
        open();
        ADD_FAILURE() << "opened " << index_path();
      } catch (const IndexError& e) {
        EXPECT_THAT(e.what(), HasSubstr("index " + index_path().string() + ": "));
        EXPECT_THAT(e.what(), HasSubstr(reason));
      }
    }
    EXPECT_EQ(read_bytes(index_path()), before);
  }

  lomarind::testing::TempDir dir_;
};

TEST_F(IndexFileTest, RefusesAFileThatIsNoDatabase) {
  write_bytes(index_path(), std::string(4096, 'x'));
  expect_refused("not a lomarind index (not an SQLite database); pass --index FILE or remove it");
}

TEST_F(IndexFileTest, RefusesAnotherSchemaVersion) {
  make_sqlite_file(index_path(), "CREATE TABLE t (x); PRAGMA user_version = 7;");
  expect_refused("not a lomarind index (user_version 7); pass --index FILE or remove it");
}

TEST_F(IndexFileTest, RefusesForeignTablesUnderOurVersion) {
  make_sqlite_file(index_path(),
                   "CREATE TABLE files (path TEXT PRIMARY KEY, language TEXT, component TEXT);"
                   "CREATE TABLE symbols (path, name, kind, fqn, start_line, end_line);"
                   "CREATE TABLE meta (key TEXT PRIMARY KEY, value TEXT);"
                   "CREATE TABLE accounts (id); PRAGMA user_version = 1;");
  expect_refused("not a lomarind index (unexpected tables)");
}

TEST_F(IndexFileTest, RefusesASymlinkAndLeavesItsTargetAlone) {
  const std::filesystem::path real = dir_.path() / "real.db";
  { IndexWriter(real).commit(); }
  std::filesystem::create_symlink(real, index_path());
  expect_refused("symbolic link");
  std::filesystem::remove(index_path());
  std::filesystem::create_symlink(dir_.path() / "nowhere.db", index_path());
  expect_refused("symbolic link");
  EXPECT_FALSE(std::filesystem::exists(dir_.path() / "nowhere.db"));
}

TEST_F(IndexFileTest, FollowsSymlinksAboveTheFile) {
  std::filesystem::create_directory(dir_.path() / "real");
  std::filesystem::create_directory_symlink(dir_.path() / "real", dir_.path() / "link");
  { IndexWriter(dir_.path() / "link" / "index.db").commit(); }
  EXPECT_FALSE(IndexDb::open_for_queries(dir_.path() / "link" / "index.db").empty());
}

TEST_F(IndexFileTest, WriterCreatesMissingDirectoriesAndNothingElse) {
  const std::filesystem::path nested = dir_.path() / "a" / "b" / "index.db";
  { IndexWriter(nested).commit(); }
  EXPECT_FALSE(IndexDb::open_for_queries(nested).empty());
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(nested.parent_path())) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_EQ(names, std::vector<std::string>{"index.db"});
}

TEST_F(IndexFileTest, ReadOnlyFileStillAnswersQueries) {
  {
    IndexWriter writer(index_path());
    writer.put_file({"a.py", "python", std::nullopt, {}});
    writer.commit();
  }
  ::chmod(index_path().c_str(), 0444);
  const IndexDb db = IndexDb::open_for_queries(index_path());
  EXPECT_EQ(SqliteIndex().indexed_paths(db, {"a.py"}).size(), 1u);
}

}  // namespace
}  // namespace lomarind::repository_changes
