// The commit cache's two tables, row by row: an entry with the paths it
// names, path numbers for an entry being written, and pruning to the cap.
// Each runs inside a transaction its caller holds. Throws what SQLite or
// decode() throws. Internal to storage/.
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "lomarind/storage/stored_changes.h"

namespace lomarind::commit_cache {

struct StoredRow {
  std::vector<StoredChange> files;
  std::uint64_t checksum = 0;
};

// Binds `value` as a blob: paths and attributes are bytes, not text.
void bind_blob(SQLite::Statement& statement, int index, const std::string& value);
// The value of `PRAGMA name`.
std::int64_t pragma(const SQLite::Database& db, const char* name);

// The rows of `commits` under `fingerprint`, by position; nullopt for one
// not held. Each row is looked up by id, or the table read in one pass
// when that costs less.
std::vector<std::optional<StoredRow>> read_rows(SQLite::Database& db, std::uint64_t fingerprint,
                                                const std::vector<std::string>& commits);

// Adds to `paths` each path that `rows` name and the table holds, looked
// up by number or read in one pass as read_rows() reads.
void read_paths(SQLite::Database& db, const std::vector<std::optional<StoredRow>>& rows,
                PathTable& paths);

// The number of (path, attribute), added to the table when new.
class PathWriter {
 public:
  explicit PathWriter(SQLite::Database& db);
  std::uint32_t number(const std::string& path, const std::string& attribute);

 private:
  SQLite::Database& db_;
  SQLite::Statement lookup_;
  SQLite::Statement insert_;
  std::unordered_map<std::string, std::uint32_t> known_;  // "path\0attribute"
};

// The distinct paths of the path table, at most `limit` of them.
std::vector<std::string> distinct_paths(SQLite::Database& db, std::size_t limit);

// When the file's live pages exceed `max_bytes`, drops the entries stored
// longest ago until they fill at most three quarters of it (so that the
// next stores do not prune again at once), then the paths no entry names,
// and gives the freed pages back to the file system.
void prune(SQLite::Database& db, std::uint64_t max_bytes);

}  // namespace lomarind::commit_cache
