// One write transaction on the index file, for the indexer: the facts and
// symbols of files replaced or dropped, and the run's bookkeeping in meta.
// Internal to storage/.
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lomarind/storage/index_draft.h"
#include "lomarind/storage/index_file.h"
#include "lomarind/storage/repository_changes.h"

namespace lomarind::repository_changes {

struct IndexedSymbol {
  std::string name;
  std::string kind;
  std::string fqn;
  std::int64_t start_line = 0;
  std::int64_t end_line = 0;

  bool operator==(const IndexedSymbol&) const = default;
};

struct IndexedFile {
  std::string path;
  std::optional<std::string> language;
  std::optional<std::string> component;
  std::vector<IndexedSymbol> symbols;

  bool operator==(const IndexedFile&) const = default;
};

class IndexWriter {
 public:
  // Opens the index at `path` and takes its write lock (BEGIN IMMEDIATE),
  // waiting up to `busy_timeout_ms` for another writer; where there is no
  // index yet, the run writes a new one that appears at `path` only with
  // commit(). Throws IndexError when the file cannot be used or stays busy.
  explicit IndexWriter(const std::filesystem::path& path, int busy_timeout_ms = kBusyTimeoutMs);
  // Rolls back unless commit() ran: the index stays as it was.
  ~IndexWriter();
  IndexWriter(const IndexWriter&) = delete;
  IndexWriter& operator=(const IndexWriter&) = delete;

  std::optional<std::string> meta(const std::string& key) const;
  void set_meta(const std::string& key, const std::string& value);
  void erase_meta(const std::string& key);
  // A set of paths kept in meta under keys `prefix` + path.
  std::vector<std::string> meta_paths(const std::string& prefix) const;
  void set_meta_paths(const std::string& prefix, const std::vector<std::string>& paths);

  // Every file the index holds, with its facts.
  IndexedPaths stored_files() const;

  // Drops every file and symbol. Until commit() the symbols are not
  // indexed by path (rebuilding the index once is far cheaper than keeping
  // it up to date row by row), so remove_file() and replacing a file by
  // put_file() get slow; each path should be put once.
  void clear();
  // Drops one file and its symbols; a path the index lacks is no error.
  void remove_file(const std::string& path);
  // Stores a file and its symbols in place of what the index held for it.
  void put_file(const IndexedFile& file);
  // Changes a stored file's language and component, keeping its symbols.
  void set_facts(const IndexedFile& file);

  struct Totals {
    std::size_t files = 0;
    std::size_t symbols = 0;
    std::size_t languages = 0;
  };
  Totals totals() const;

  void commit();

 private:
  // Runs `write`, turning an SQLite failure into an IndexError.
  template <typename Write>
  void guarded(Write write) const;

  std::filesystem::path path_;
  // A first run writes a draft, moved into place by commit(); destroyed
  // after the connection to it.
  std::unique_ptr<IndexDraft> draft_;
  SQLite::Database db_;
  SQLite::Statement delete_file_;
  SQLite::Statement delete_symbols_;
  SQLite::Statement insert_file_;
  SQLite::Statement insert_symbol_;
  SQLite::Statement insert_symbol_batch_;  // kSymbolBatch rows at once
  SQLite::Statement update_facts_;
  bool open_ = false;     // a transaction is in progress
  bool cleared_ = false;  // clear() ran: no file to replace, no index on symbols
};

}  // namespace lomarind::repository_changes
