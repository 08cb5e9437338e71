// Extracting symbols with universal-ctags: a few ctags processes in
// parallel, each given its share of the files on stdin, their output read
// as it comes and turned into complete files for the indexer.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "lomarind/process/subprocess.h"
#include "lomarind/storage/index_writer.h"

namespace lomarind::repository_changes {

struct CtagsOptions {
  std::filesystem::path repo_root;  // files are read relative to it
  std::string program = "ctags";    // a path, or a name looked up on PATH
  int jobs = 2;                     // ctags processes run at once
  const std::atomic<bool>* stop = nullptr;
  // A ctags run silent this long is stopped: a parser stuck on one file
  // must not hang an unattended run.
  std::chrono::milliseconds inactivity_limit = subprocess::kInactivityLimit;
};

// Reads the symbols of `files` (paths relative to the root; each file's
// language picks the kind names) and hands each file to `on_file` with its
// symbols filled in, sorted by line, duplicates dropped. A symbol whose end
// ctags does not give ends where its source shows (symbol_extents.h); the
// file is then read again, as ctags read it. `on_file` runs on
// the calling thread; files come in no fixed order, each exactly once.
// REQUIRES: every file is a regular file inside the root, and its path is
// valid UTF-8 without line breaks.
// Returns early, with some files not handed over, once *stop is set.
// Throws IndexError when ctags is missing, fails or stays silent past the
// limit; an exception from
// `on_file` stops every ctags process and propagates.
void extract_symbols(const CtagsOptions& options, std::vector<IndexedFile> files,
                     const std::function<void(IndexedFile)>& on_file);

}  // namespace lomarind::repository_changes
