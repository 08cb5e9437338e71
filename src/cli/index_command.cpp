#include <fmt/format.h>

#include <chrono>
#include <mutex>
#include <stdexcept>

#include "cli/commands.h"
#include "cli/display_text.h"
#include "cli/repository_location.h"
#include "lomarind/process/subprocess.h"
#include "lomarind/production/production_history.h"
#include "lomarind/storage/cached_git_reader.h"
#include "lomarind/storage/indexer.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::cli {

namespace {

// "\rlomarind: indexing 120/3400 files" on a terminal, redrawn at most ten
// times a second; erased when the run ends.
class ProgressLine {
 public:
  ProgressLine(std::ostream& err, bool shown) : err_(err), shown_(shown) {}
  ~ProgressLine() {
    if (drawn_) err_ << "\r\x1b[K" << std::flush;
  }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void update(std::size_t done, std::size_t total) {
    if (!shown_) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (drawn_ && done != total && now - last_ < std::chrono::milliseconds(100)) return;
    last_ = now;
    drawn_ = true;
    err_ << fmt::format("\rlomarind: indexing {}/{} files", done, total) << std::flush;
  }

 private:
  std::ostream& err_;
  const bool shown_;
  std::mutex mutex_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point last_;
};

std::string summary(const indexer::IndexSummary& index, const std::filesystem::path& file) {
  return fmt::format("{} {} files ({} read) with {} symbols in {} languages in {:.1f} s: {}\n",
                     index.incremental ? "Updated" : "Indexed", index.files, index.files_read,
                     index.symbols, index.languages, index.seconds, terminal_text(file.string()));
}

// Reads what the newest MAX_COMMITS commits of HEAD changed through the
// commit cache, so the first period question after indexing finds them
// there. Every git command stops once `stop` is raised.
void fill_commit_cache(const RepositoryLocation& location, const CommitCacheUse& cache,
                       const std::atomic<bool>& stop) {
  if (!cache.enabled) return;
  const git_history::ProductionHistory production(
      {.now = [] { return std::chrono::sys_seconds(); },
       .runner = git_utils::GitRunner().stopped_by(&stop),
       .commit_cache = true},
      cache.sink);
  const git_utils::GitReader& git = production.neighbours().git;
  try {
    if (std::optional<std::string> head = git.resolve_commit(location.root, "HEAD")) {
      git.log_commit_changes(location.root, std::chrono::sys_seconds(), *head,
                             git_history::MAX_COMMITS);
    }
  } catch (const git_utils::GitError& error) {
    // The index is built; the cache is only a head start for the next question.
    Logger(std::string(commit_cache::kCacheLoggerName), cache.sink)
        .warning("cannot fill the commit cache: git failed: %s", {error.what()});
  } catch (const subprocess::Interrupted&) {
    std::throw_with_nested(
        std::runtime_error("interrupted while filling the commit cache; the index " +
                           terminal_text(location.index_file.string()) + " is built"));
  }
}

}  // namespace

int run_index(const RepositoryLocation& location, const IndexArgs& args, const Terminal& terminal,
              const CommitCacheUse& cache, const std::atomic<bool>& stop) {
  indexer::IndexSummary index;
  {
    ProgressLine progress(terminal.err, terminal.progress);
    index = indexer::build_index(
        {.repo_root = location.root,
         .index_path = location.index_file,
         .full = args.full,
         .progress = [&progress](std::size_t done,
                                 std::size_t total) { progress.update(done, total); },
         .stop = &stop});
  }
  fill_commit_cache(location, cache, stop);
  terminal.out << summary(index, location.index_file) << std::flush;
  return kExitOk;
}

}  // namespace lomarind::cli
