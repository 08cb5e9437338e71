// Folding one period's log into per-file histories: a synthetic log of
// 5,000 commits of 20 files each, with renames, additions and deletions
// mixed in. The fold must keep well ahead of the git log it reads.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "lomarind/utils/git_utils.h"
#include "lomarind/workers/git_history/period.h"

namespace {

using lomarind::git_utils::CommitChanges;
using lomarind::git_utils::FileChange;

constexpr int kCommits = 5000;
constexpr int kFilesPerCommit = 20;
constexpr int kDistinctFiles = 4000;

std::string file_path(int n) {
  return "src/module_" + std::to_string(n % 97) + "/component_" + std::to_string(n) + ".cpp";
}

// Newest first, as git lists commits. Every 50th change renames a file to a
// fresh name, every 70th adds one, every 90th deletes one.
std::vector<CommitChanges> synthetic_log() {
  std::vector<CommitChanges> log;
  log.reserve(kCommits);
  int renamed = 0;
  for (int c = kCommits - 1; c >= 0; --c) {
    CommitChanges commit{"c" + std::to_string(c), 1700000000 + c, {}};
    for (int f = 0; f < kFilesPerCommit; ++f) {
      const int n = (c * 7919 + f * 104729) % kDistinctFiles;
      const int k = c * kFilesPerCommit + f;
      FileChange change{file_path(n), "modified", k % 13, k % 5, std::nullopt};
      if (k % 50 == 0) {
        change.status = "renamed";
        change.old_path = change.path;
        change.path = "moved/" + std::to_string(renamed++) + ".cpp";
      } else if (k % 70 == 0) {
        change.status = "added";
      } else if (k % 90 == 0) {
        change.status = "deleted";
      }
      commit.files.push_back(std::move(change));
    }
    log.push_back(std::move(commit));
  }
  return log;
}

void BM_FoldHistories(benchmark::State& state) {
  const std::vector<CommitChanges> log = synthetic_log();
  for (auto _ : state) {
    benchmark::DoNotOptimize(lomarind::git_history::detail::histories(log));
  }
  state.SetItemsProcessed(state.iterations() * kCommits * kFilesPerCommit);
  state.SetLabel("items = file changes");
}
BENCHMARK(BM_FoldHistories)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
