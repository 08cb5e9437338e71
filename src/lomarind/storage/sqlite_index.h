// The index file: one SQLite database holding each tracked file's language
// and component and its symbols. Queries open it read-only; a missing file
// is an empty index; a file of any other schema is refused, never rebuilt over.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "lomarind/storage/repository_changes.h"

namespace lomarind::repository_changes {

// The index file cannot be used; the message names the file and what to do.
class IndexError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An open index, or an empty one. Move-only.
class IndexDb {
 public:
  // An index with nothing in it.
  IndexDb();
  ~IndexDb();
  IndexDb(IndexDb&&) noexcept;
  IndexDb& operator=(IndexDb&&) noexcept;

  // Opens `path` for queries: read-only, no symlink followed, a busy
  // timeout. A missing file gives an empty index and is not created. Throws
  // IndexError, naming the file and what to do, for a symbolic link or a
  // file that is not a lomarind index; such a file is left as it is.
  static IndexDb open_for_queries(const std::filesystem::path& path);

  // Whether there was no index file: queries on it answer nothing.
  bool empty() const;

  // The commit whose tree the index holds, as the indexer recorded it;
  // nullopt for an empty index or one built where there was no commit.
  std::optional<std::string> indexed_commit() const;

  struct Impl;
  const Impl* impl() const { return impl_.get(); }

 private:
  std::unique_ptr<Impl> impl_;
};

// The ChangeIndex over IndexDb files.
class SqliteIndex final : public ChangeIndex {
 public:
  IndexedPaths indexed_paths(const IndexDb& db,
                             const std::vector<std::string>& paths) const override;
  std::vector<SymbolOnLines> symbols_on_lines(const IndexDb& db,
                                              const std::vector<LineRange>& ranges,
                                              std::span<const std::string_view> kinds,
                                              int per_file) const override;
};

}  // namespace lomarind::repository_changes
