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

// The rows of `commits` under `fingerprint`, by position; nullopt for one
// not held.
std::vector<std::optional<StoredRow>> read_rows(SQLite::Database& db, std::uint64_t fingerprint,
                                                const std::vector<std::string>& commits);

// Reads from the path table the paths rows name, one number at a time:
// never the whole table.
class PathReader {
 public:
  explicit PathReader(SQLite::Database& db);
  // Adds to `paths` each path `files` names that it lacks. False when the
  // table has no such number (the row is then damaged).
  bool add(const std::vector<StoredChange>& files, PathTable& paths);

 private:
  bool add(std::uint32_t id, PathTable& paths);
  SQLite::Statement lookup_;
};

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
