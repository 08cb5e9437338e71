#include "lomarind/storage/indexer.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/workers/retrieval.h"
#include "support/temp_git_repo.h"

namespace lomarind::indexer {
namespace {

using repository_changes::IndexDb;
using repository_changes::IndexedPath;
using repository_changes::IndexError;
using repository_changes::SqliteIndex;
using repository_changes::SymbolOnLines;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kPython[] =
    "class Greeter:\n"
    "    def greet(self, name):\n"
    "        return name\n"
    "\n"
    "def helper():\n"
    "    pass\n";

constexpr char kGo[] =
    "package main\n"
    "\n"
    "type T struct{ A int }\n"
    "\n"
    "func (t *T) Run() {\n"
    "}\n";

constexpr char kCpp[] =
    "namespace ns {\n"
    "struct Point {\n"
    "  int x;\n"
    "};\n"
    "int area(int w) {\n"
    "  return w;\n"
    "}\n"
    "}\n";

class IndexerTest : public ::testing::Test {
 protected:
  IndexerTest() {
    repo_.write("README.md", "# demo\n");
    repo_.write("setup.py", "def setup_all():\n    pass\n");
    repo_.write("services/api/go.mod", "module api\n");
    repo_.write("services/api/cmd/main.go", kGo);
    repo_.write("services/api/web/package.json", "{}\n");
    repo_.write("services/api/web/src/app.js", "function render() {\n}\n");
    repo_.write("lib/geometry/shapes.cc", kCpp);
    repo_.write("lib/greet.py", kPython);
    repo_.commit("first", 1700000000);
  }

  std::filesystem::path index_path() const { return dir_.path() / "index.db"; }

  IndexSummary index(bool full = false, const std::filesystem::path& path = {}) const {
    return build_index({.repo_root = repo_.root(),
                        .index_path = path.empty() ? index_path() : path,
                        .full = full});
  }

  std::vector<std::string> symbols(const std::string& path) const {
    std::vector<std::string> found;
    for (const SymbolOnLines& s : SqliteIndex().symbols_on_lines(
             IndexDb::open_for_queries(index_path()), {{path, 1, 2000000000}},
             retrieval::RETRIEVABLE_KINDS, 10)) {
      found.push_back(s.kind + " " + s.fqn + " " + std::to_string(s.start_line) + "-" +
                      std::to_string(s.end_line));
    }
    return found;
  }

  // Every row of the index but its bookkeeping, and the schema's names, in
  // a stable order.
  static std::vector<std::string> rows(const std::filesystem::path& path) {
    SQLite::Database db(path.c_str());
    SQLite::Statement query(db,
                            "SELECT path || ' ' || ifnull(language, '-') || ' ' || "
                            "ifnull(component, '-') FROM files UNION ALL "
                            "SELECT path || ' ' || name || ' ' || kind || ' ' || fqn || ' ' || "
                            "start_line || '-' || end_line FROM symbols UNION ALL "
                            "SELECT 'schema ' || name FROM sqlite_schema ORDER BY 1");
    std::vector<std::string> out;
    while (query.executeStep()) out.push_back(query.getColumn(0).getString());
    return out;
  }

  lomarind::testing::TempGitRepo repo_;
  lomarind::testing::TempDir dir_;
};

TEST_F(IndexerTest, StoresLanguagesComponentsAndSymbols) {
  const IndexSummary summary = index();
  EXPECT_EQ(summary.files, 8u);
  EXPECT_EQ(summary.languages, 6u);  // markdown, python, go, javascript, cpp, json
  EXPECT_FALSE(summary.incremental);
  const repository_changes::IndexedPaths facts = SqliteIndex().indexed_paths(
      IndexDb::open_for_queries(index_path()),
      {"README.md", "setup.py", "services/api/cmd/main.go", "services/api/web/src/app.js",
       "lib/geometry/shapes.cc", "services/api/go.mod"});
  EXPECT_EQ(facts.at("README.md"), (IndexedPath{"markdown", std::nullopt}));
  EXPECT_EQ(facts.at("setup.py"), (IndexedPath{"python", std::nullopt}));
  EXPECT_EQ(facts.at("services/api/cmd/main.go"), (IndexedPath{"go", "services/api"}));
  EXPECT_EQ(facts.at("services/api/web/src/app.js"),
            (IndexedPath{"javascript", "services/api/web"}));
  EXPECT_EQ(facts.at("lib/geometry/shapes.cc"), (IndexedPath{"cpp", "lib"}));
  EXPECT_EQ(facts.at("services/api/go.mod"), (IndexedPath{std::nullopt, "services/api"}));

  EXPECT_THAT(symbols("lib/greet.py"),
              ElementsAre("class Greeter 1-3", "method Greeter.greet 2-3", "function helper 5-6"));
  EXPECT_THAT(symbols("services/api/cmd/main.go"),
              ElementsAre("struct main.T 3-3", "method main.T.Run 5-6"));
  EXPECT_THAT(symbols("lib/geometry/shapes.cc"),
              ElementsAre("struct ns::Point 2-4", "function ns::area 5-7"));
  EXPECT_THAT(symbols("README.md"), IsEmpty());
}

TEST_F(IndexerTest, IncrementalRunMatchesAFullRebuild) {
  index();
  repo_.write("lib/greet.py", std::string(kPython) + "\ndef added():\n    pass\n");
  repo_.git({"mv", "services/api/cmd/main.go", "services/api/cmd/server.go"});
  repo_.remove("setup.py");
  repo_.write("lib/geometry/Cargo.toml", "");  // a component of its own now
  repo_.commit("second", 1700000100);
  repo_.write("README.md", "# changed but not committed\n");

  const IndexSummary summary = index();
  EXPECT_TRUE(summary.incremental);
  EXPECT_EQ(summary.files_read, 4u);  // greet.py, server.go, Cargo.toml, README.md
  EXPECT_THAT(symbols("lib/greet.py"), ::testing::Contains("function added 8-9"));
  EXPECT_THAT(symbols("services/api/cmd/main.go"), IsEmpty());

  const std::filesystem::path rebuilt = dir_.path() / "full.db";
  EXPECT_FALSE(index(true, rebuilt).incremental);
  EXPECT_EQ(rows(index_path()), rows(rebuilt));
  EXPECT_THAT(rows(index_path()), ::testing::Contains("lib/geometry/shapes.cc cpp lib/geometry"));
  EXPECT_THAT(rows(rebuilt), ::testing::Contains("schema symbols_by_path"));
}

TEST_F(IndexerTest, RereadsAFileWhoseWorkTreeChangeWasUndone) {
  index();
  repo_.write("lib/greet.py", "def draft():\n    pass\n");
  index();
  EXPECT_THAT(symbols("lib/greet.py"), ElementsAre("function draft 1-2"));
  repo_.git({"checkout", "--", "lib/greet.py"});
  EXPECT_EQ(index().files_read, 1u);
  EXPECT_THAT(symbols("lib/greet.py"), ::testing::Contains("class Greeter 1-3"));
  EXPECT_EQ(index().files_read, 0u);
}

// A clean or process filter of the repository's config would run while git
// compares the work tree with HEAD; even a driver whose name cannot be
// switched off on git's command line must never run.
TEST_F(IndexerTest, FilterDriversOfTheRepositoryNeverRun) {
  repo_.write(".gitattributes", "*.py filter=pwn\n*.go filter=a=b\n");
  repo_.commit("attributes", 1700000050);
  const std::filesystem::path marker = dir_.path() / "ran";
  const std::string command = "touch '" + marker.string() + "'; cat";
  for (const char* driver : {"pwn", "a=b"}) {
    repo_.git({"config", std::string("filter.") + driver + ".clean", command});
    repo_.git({"config", std::string("filter.") + driver + ".process", command});
  }
  index();
  repo_.write("lib/greet.py", "def edited():\n    pass\n");
  repo_.write("services/api/cmd/main.go", "package main\n");
  EXPECT_TRUE(index().incremental);
  EXPECT_THAT(symbols("lib/greet.py"), ElementsAre("function edited 1-2"));
  EXPECT_FALSE(std::filesystem::exists(marker));
}

TEST_F(IndexerTest, SymlinksAreNotFollowedOutOfTheRepository) {
  const lomarind::testing::TempDir outside;
  std::ofstream(outside.path() / "secret.py") << "def secret():\n    pass\n";
  std::filesystem::create_symlink(outside.path() / "secret.py", repo_.root() / "link.py");
  std::filesystem::create_directory_symlink(outside.path(), repo_.root() / "linked");
  repo_.commit("links", 1700000100);
  index();
  EXPECT_THAT(symbols("link.py"), IsEmpty());
  EXPECT_THAT(rows(index_path()), ::testing::Contains("link.py python -"));
}

TEST_F(IndexerTest, MissingCtagsSaysWhatToInstallAndKeepsTheIndex) {
  index();
  const std::vector<std::string> before = rows(index_path());
  try {
    build_index({.repo_root = repo_.root(),
                 .index_path = index_path(),
                 .full = true,
                 .ctags_program = "lomarind-no-such-ctags"});
    FAIL() << "indexed without ctags";
  } catch (const IndexError& e) {
    EXPECT_THAT(e.what(), HasSubstr("not installed or not on PATH; install universal-ctags"));
  }
  EXPECT_EQ(rows(index_path()), before);
}

TEST_F(IndexerTest, StopRollsBackAndQueriesAnswerDuringTheRun) {
  index();
  const std::vector<std::string> before = rows(index_path());
  std::atomic<bool> stop = false;
  std::size_t answered = 0;
  const auto progress = [&](std::size_t done, std::size_t total) {
    // A reader sees the last committed index while the run writes.
    answered = SqliteIndex()
                   .indexed_paths(IndexDb::open_for_queries(index_path()), {"lib/greet.py"})
                   .size();
    if (done + 1 == total) stop = true;  // while ctags runs
  };
  EXPECT_THROW(build_index({.repo_root = repo_.root(),
                            .index_path = index_path(),
                            .full = true,
                            .progress = progress,
                            .stop = &stop}),
               IndexError);
  EXPECT_EQ(answered, 1u);
  EXPECT_EQ(rows(index_path()), before);
}

TEST_F(IndexerTest, KilledRunLeavesThePreviousIndexWhole) {
  index();
  const std::vector<std::string> before = rows(index_path());
  repo_.write("lib/greet.py", "def replaced():\n    pass\n");
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const auto die = [](std::size_t done, std::size_t total) {
      if (done + 1 == total) ::raise(SIGKILL);
    };
    build_index(
        {.repo_root = repo_.root(), .index_path = index_path(), .full = true, .progress = die});
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(rows(index_path()), before);
  EXPECT_THAT(symbols("lib/greet.py"), ::testing::Contains("class Greeter 1-3"));
  index();
  EXPECT_THAT(symbols("lib/greet.py"), ElementsAre("function replaced 1-2"));
}

TEST_F(IndexerTest, DefaultIndexLivesInTheCommonGitDirectory) {
  EXPECT_EQ(default_index_path(repo_.root()).lexically_normal(),
            (repo_.root() / ".git" / "lomarind" / "index.db").lexically_normal());
  EXPECT_THROW(default_index_path(dir_.path()), git_utils::GitError);
}

}  // namespace
}  // namespace lomarind::indexer
