// A period answer end to end over a real git repository, the git program
// reader, an empty index and the library's own filters and hint.
#include <gtest/gtest.h>

#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/git_cli.h"
#include "lomarind/workers/git_history/default_neighbours.h"
#include "lomarind/workers/git_history/git_history.h"
#include "support/isolated_git.h"
#include "support/temp_git_repo.h"

namespace lomarind::git_history {
namespace {

TEST(HistoryOnARealRepositoryTest, FollowsRenamesThroughTheGitProgram) {
  testing::TempGitRepo repo;
  repo.write("src/a.py", "def f():\n    return 1\n");
  repo.write("README.md", "hello\n");
  repo.commit("start", 1714564800);  // 2024-05-01T12:00:00Z
  repo.write("src/a.py", "def f():\n    return 2\n");
  repo.commit("edit", 1714568400);
  repo.git({"mv", "src/a.py", "src/b.py"});
  repo.commit("rename", 1714572000);

  const testing::IsolatedGit isolated;
  const git_utils::GitCli git(
      isolated.runner(), [] { return std::chrono::sys_seconds(std::chrono::seconds(1714600000)); });
  const repository_changes::SqliteIndex index;
  const DefaultSourceFilters filters;
  const DefaultPaginationHint hint;
  const NullLogSink sink;
  const Logger logger(std::string(kLoggerName), sink);
  const GitHistory history(Neighbours{git, index, filters, hint, logger});
  const repository_changes::IndexDb db;
  const repository_changes::Repository repository{db};

  const Json recent = history.recent_changes(repository, repo.root(),
                                             {"2024-05-01T12:30:00", "main", true, 10, 0, true});
  EXPECT_EQ(recent.at("files").dump(),
            R"([{"path":"src/b.py","status":"renamed","old_path":"src/a.py","additions":1,)"
            R"("deletions":1,"commits":2,"last_changed":"2024-05-01T14:00:00+00:00",)"
            R"("symbols":[]}])");
}

}  // namespace
}  // namespace lomarind::git_history
