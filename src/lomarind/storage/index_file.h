// Opening the index file, for queries and for the indexer. Both opens
// refuse a symbolic link at the index location and any file that is not
// our schema, and never modify such a file. Internal to storage/.
#pragma once

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Database.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "lomarind/storage/sqlite_index.h"

namespace lomarind::repository_changes {

// The schema version written to PRAGMA user_version.
inline constexpr int kIndexSchemaVersion = 1;

inline constexpr char kCreateSymbolsIndex[] =
    "CREATE INDEX symbols_by_path ON symbols(path, start_line)";

// How long a query or the indexer waits for another connection's lock.
inline constexpr int kBusyTimeoutMs = 5000;

struct IndexDb::Impl {
  std::filesystem::path path;  // as the caller named it, for messages
  SQLite::Database db;
  // A connection must not run statements from two threads at once.
  mutable std::mutex mutex;
};

// Opens an existing index file read-only. Returns nullptr when there is no
// file at `path`. Throws IndexError for a file we must not or cannot use.
std::unique_ptr<IndexDb::Impl> open_index_for_queries(const std::filesystem::path& path);

// Where the index `path` names is, its folder's symbolic links resolved:
// only the file itself is never followed. Throws IndexError for a name
// that is no file name.
std::filesystem::path index_location(const std::filesystem::path& path);

// Whether an index file is at `location`. Throws IndexError, naming `path`,
// for anything there but a regular file (a symbolic link above all).
bool index_exists(const std::filesystem::path& location, const std::filesystem::path& path);

// Writes the schema, in write-ahead-log mode, into the new, empty `db`.
void write_index_schema(SQLite::Database& db);

// Opens the existing index file at `location` for writing; `path` names it
// in messages. Throws IndexError for a foreign or read-only file.
SQLite::Database open_index_for_writing(const std::filesystem::path& location,
                                        const std::filesystem::path& path,
                                        int busy_timeout_ms = kBusyTimeoutMs);

// A TEXT column that may be NULL.
std::optional<std::string> optional_text(const SQLite::Column& column);

// The key under which the index keeps the commit it was built from.
inline constexpr char kIndexedCommitKey[] = "indexed_commit";
// The value of `key` in the index's meta table, if it has one. Throws
// SQLite::Exception.
std::optional<std::string> meta_value(const SQLite::Database& db, const std::string& key);

// Turns the SQLite failure being handled into an IndexError about `path`
// (`doing` is e.g. "open" or "query"), keeping it as the nested cause.
[[noreturn]] void throw_index_error(const std::filesystem::path& path, std::string_view doing);

}  // namespace lomarind::repository_changes
