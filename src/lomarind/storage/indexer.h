// Building and refreshing the index file of a repository: each tracked
// file's language and component, and its symbols as universal-ctags reads
// them. A run re-reads only what changed since the previous one, and writes
// in one transaction: a run that fails or is killed leaves the previous
// index whole, and queries keep answering from it while a run writes.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

#include "lomarind/process/subprocess.h"
#include "lomarind/storage/index_git.h"

namespace lomarind::indexer {

struct IndexerOptions {
  std::filesystem::path repo_root;   // the work tree's top level
  std::filesystem::path index_path;  // e.g. default_index_path(repo_root)
  bool full = false;                 // re-read every file, not only what changed
  // Called from the indexing thread as files are stored: `done` of `total`
  // files to read in this run.
  std::function<void(std::size_t done, std::size_t total)> progress = nullptr;
  // Set by a signal handler: the run stops promptly and rolls back.
  const std::atomic<bool>* stop = nullptr;
  std::string ctags_program = "ctags";  // a path, or a name looked up on PATH
  // What git is asked; null: the git program. Must outlive the run.
  const repository_changes::IndexGit* git = nullptr;
  // A ctags run silent this long is stopped and the run fails.
  std::chrono::milliseconds ctags_inactivity_limit = subprocess::kInactivityLimit;
};

struct IndexSummary {
  std::size_t files = 0;       // files in the index after the run
  std::size_t symbols = 0;     // symbols in the index after the run
  std::size_t languages = 0;   // distinct languages among the files
  double seconds = 0;          // wall time of the run
  bool incremental = false;    // only what changed since the last run was read
  std::size_t files_read = 0;  // files (re-)read in this run
};

// Brings the index at options.index_path up to date with the work tree's
// tracked files, creating the file (and its directory) when missing.
// Throws repository_changes::IndexError when the index file cannot be used
// (a symbolic link, a foreign file, busy with another run), when ctags is
// missing or fails, or when *options.stop was set (the index then stays as
// it was); git_utils::GitError when git fails.
IndexSummary build_index(const IndexerOptions& options);

// <git common dir>/lomarind/index.db of the repository at `repo_root`.
// Throws git_utils::GitError when it is no git repository.
std::filesystem::path default_index_path(const std::filesystem::path& repo_root);

// The same for a repository whose git common dir is already known.
std::filesystem::path default_index_path_in(const std::filesystem::path& common_dir);

}  // namespace lomarind::indexer
