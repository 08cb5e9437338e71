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
#include "support/processes.h"
#include "support/temp_git_repo.h"

namespace lomarind::indexer {
namespace {

using repository_changes::IndexDb;
using repository_changes::IndexError;
using repository_changes::SqliteIndex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::ThrowsMessage;

constexpr char kPython[] =
    "class Greeter:\n    def greet(self, name):\n        return name\n\ndef helper():\n    pass\n";
constexpr char kGo[] = "package main\n\ntype T struct{ A int }\n\nfunc (t *T) Run() {\n}\n";

class IndexerTest : public ::testing::Test {
 protected:
  IndexerTest() {
    repo_.write("README.md", "# demo\n");
    repo_.write("setup.py", "def setup_all():\n    pass\n");
    repo_.write("services/api/go.mod", "module api\n");
    repo_.write("services/api/cmd/main.go", kGo);
    repo_.write("lib/geometry/area.py", "def area():\n    pass\n");
    repo_.write("lib/greet.py", kPython);
    repo_.commit("first", 1700000000);
  }

  std::filesystem::path index_path() const { return dir_.path() / "index.db"; }

  IndexerOptions options(bool full = false) const {
    return {.repo_root = repo_.root(), .index_path = index_path(), .full = full};
  }
  IndexSummary index(bool full = false) const { return build_index(options(full)); }

  // The index's rows but its bookkeeping, sorted: files as "path language
  // component", symbols as "path kind fqn start-end", and "schema name".
  // Only those that start with `prefix`, with it cut off.
  std::vector<std::string> rows(const std::string& prefix = "") const {
    SQLite::Database db(index_path().c_str());
    SQLite::Statement query(db, R"sql(
SELECT path || ' ' || ifnull(language, '-') || ' ' || ifnull(component, '-') FROM files
UNION ALL SELECT path || ' ' || kind || ' ' || fqn || ' ' || start_line || '-' || end_line
FROM symbols UNION ALL SELECT 'schema ' || name FROM sqlite_schema ORDER BY 1)sql");
    std::vector<std::string> out;
    while (query.executeStep()) {
      const std::string row = query.getColumn(0).getString();
      if (row.starts_with(prefix)) out.push_back(row.substr(prefix.size()));
    }
    return out;
  }

  lomarind::testing::TempGitRepo repo_;
  lomarind::testing::TempDir dir_;
};

TEST_F(IndexerTest, StoresLanguagesComponentsAndSymbols) {
  const IndexSummary summary = index();
  EXPECT_EQ(summary.files, 6u);
  EXPECT_EQ(summary.languages, 3u);  // markdown, python, go
  EXPECT_FALSE(summary.incremental);
  EXPECT_THAT(rows("README.md "), ElementsAre("markdown -"));
  EXPECT_THAT(rows("services/api/go.mod "), ElementsAre("- services/api"));
  EXPECT_THAT(rows("lib/greet.py "), ElementsAre("class Greeter 1-3", "function helper 5-6",
                                                 "method Greeter.greet 2-3", "python lib"));
  EXPECT_THAT(rows("services/api/cmd/main.go "),
              ElementsAre("go services/api", "member main.T.A 3-3", "method main.T.Run 5-6",
                          "package main 1-1", "struct main.T 3-3"));
}

// Committed changes, a new manifest that moves an unchanged file to another
// component, and a work-tree edit that is later undone.
TEST_F(IndexerTest, IncrementalRunsMatchAFullRebuild) {
  index();
  repo_.write("lib/greet.py", std::string(kPython) + "\ndef added():\n    pass\n");
  repo_.git({"mv", "services/api/cmd/main.go", "services/api/cmd/server.go"});
  repo_.remove("setup.py");
  repo_.write("lib/geometry/Cargo.toml", "");
  repo_.commit("second", 1700000100);
  repo_.write("lib/greet.py", "def draft():\n    pass\n");

  const IndexSummary summary = index();
  EXPECT_TRUE(summary.incremental);
  EXPECT_EQ(summary.files_read, 3u);  // greet.py, server.go, Cargo.toml
  EXPECT_THAT(rows("lib/greet.py "), ElementsAre("function draft 1-2", "python lib"));
  repo_.git({"checkout", "--", "lib/greet.py"});
  EXPECT_EQ(index().files_read, 1u);
  EXPECT_EQ(index().files_read, 0u);
  EXPECT_THAT(rows("services/api/cmd/main.go"), IsEmpty());
  EXPECT_THAT(rows(), IsSupersetOf({"lib/greet.py function added 8-9", "schema symbols_by_path",
                                    "lib/geometry/area.py python lib/geometry"}));
  const std::vector<std::string> incremental = rows();
  EXPECT_FALSE(index(true).incremental);
  EXPECT_EQ(rows(), incremental);
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
  EXPECT_THAT(rows("lib/greet.py "), ElementsAre("function edited 1-2", "python lib"));
  EXPECT_FALSE(std::filesystem::exists(marker));
}

// ctags gives no end for Rust symbols: the index holds the extent their
// braces show, so a line edited inside a body finds its function.
TEST_F(IndexerTest, RustSymbolsGetTheExtentOfTheirBraces) {
  repo_.write("src/lib.rs",
              "pub struct S;\n\nimpl S {\n    pub fn new() -> Self {\n        let s = \"}\";\n"
              "        S\n    }\n}\n");
  repo_.commit("sources", 1700000200);
  index();
  EXPECT_THAT(rows("src/lib.rs "),
              ElementsAre("implementation S 3-8", "method S::new 4-7", "rust src", "struct S 1-1"));
}

TEST_F(IndexerTest, SymlinksAreNotFollowedOutOfTheRepository) {
  const lomarind::testing::TempDir outside;
  std::ofstream(outside.path() / "secret.py") << "def secret():\n    pass\n";
  std::filesystem::create_symlink(outside.path() / "secret.py", repo_.root() / "link.py");
  std::filesystem::create_directory_symlink(outside.path(), repo_.root() / "linked");
  repo_.commit("links", 1700000100);
  index();
  EXPECT_THAT(rows("link.py "), ElementsAre("python -"));  // stored, never read
}

// A run that fails, is stopped or is killed leaves the previous index as it
// was, and queries answer from it while the run writes.
TEST_F(IndexerTest, UnfinishedRunLeavesThePreviousIndexWhole) {
  index();
  const std::vector<std::string> before = rows();
  repo_.write("lib/greet.py", "def replaced():\n    pass\n");
  std::atomic<bool> stop = false;
  std::size_t answered = 0;
  IndexerOptions stopped = options(true);
  stopped.progress = [&](std::size_t done, std::size_t total) {
    answered = SqliteIndex()
                   .indexed_paths(IndexDb::open_for_queries(index_path()), {"lib/greet.py"})
                   .size();
    if (done + 1 == total) stop = true;  // while ctags runs
  };
  stopped.stop = &stop;
  const auto fails_saying = [&](const IndexerOptions& run, const std::string& message) {
    EXPECT_THAT([&] { build_index(run); }, ThrowsMessage<IndexError>(HasSubstr(message)));
    EXPECT_EQ(rows(), before);
  };
  fails_saying(stopped, "indexing interrupted");
  EXPECT_EQ(answered, 1u);
  IndexerOptions no_ctags = options(true);
  no_ctags.ctags_program = "lomarind-no-such-ctags";
  fails_saying(no_ctags, "not installed or not on PATH; install universal-ctags");

  // A parser stuck on one file: the run stops at the limit, saying so.
  const std::filesystem::path stuck = dir_.path() / "ctags", pid_file = dir_.path() / "pid";
  lomarind::testing::write_hanging_program(stuck, pid_file);
  IndexerOptions silent = options(true);
  silent.ctags_program = stuck.string();
  silent.ctags_inactivity_limit = std::chrono::milliseconds(300);
  fails_saying(silent,
               "ctags printed nothing for 1 s and was stopped (the limit for a silent ctags "
               "run); its parser may be stuck on ");
  EXPECT_TRUE(lomarind::testing::hanging_sleep_ends(pid_file));

  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    IndexerOptions killed = options(true);
    killed.progress = [](std::size_t done, std::size_t total) {
      if (done + 1 == total) ::raise(SIGKILL);
    };
    build_index(killed);
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(rows(), before);
  index();
  EXPECT_THAT(rows("lib/greet.py "), ElementsAre("function replaced 1-2", "python lib"));
}

}  // namespace
}  // namespace lomarind::indexer
