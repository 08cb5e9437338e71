// Where the repository and its index are: the work tree's top level, found
// from any folder inside it, and the index file (given, or the default
// <git common dir>/lomarind/index.db, shared by every worktree).
#pragma once

#include <filesystem>
#include <ostream>

#include "cli/command_line.h"
#include "lomarind/git/git_runner.h"
#include "lomarind/storage/sqlite_index.h"

namespace lomarind::cli {

struct RepositoryLocation {
  std::filesystem::path root;        // the work tree's top level
  std::filesystem::path index_file;  // the index to read or build
  bool index_given = false;          // named by --index
};

// Throws std::runtime_error, saying what to pass instead, when options.repo
// is no folder or lies in no work tree; git_utils::GitError when git cannot
// run.
RepositoryLocation locate_repository(const git_utils::GitRunner& git, const GlobalOptions& options);

// The index for queries. A missing file is an empty index; when the answer
// would have used it (`needed`), that is said once on `err`, with how to
// build one. Throws IndexError for a file that is not a lomarind index.
repository_changes::IndexDb open_query_index(const RepositoryLocation& location, bool needed,
                                             std::ostream& err);

// Says once on `err` when `db` holds the tree of another commit than
// `commit` (what `name` resolved to), whose changed lines the answer's
// symbols are looked up on: they may then be missing or misplaced.
void warn_if_index_of_another_commit(const RepositoryLocation& location,
                                     const repository_changes::IndexDb& db,
                                     const std::string& commit, const std::string& name,
                                     std::ostream& err);

}  // namespace lomarind::cli
