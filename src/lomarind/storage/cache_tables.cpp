#include "lomarind/storage/cache_tables.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace lomarind::commit_cache {
namespace {

// Pruning stops after this many rounds even if the file is still over its
// target: the next store goes on where it stopped.
constexpr int kPruneRounds = 4;

std::string_view blob(const SQLite::Column& column) {
  return {static_cast<const char*>(column.getBlob()), static_cast<std::size_t>(column.getBytes())};
}

// Whether reading every row of `table` costs less than looking up `wanted`
// rows by `key`: a step of a pass costs a fraction of a lookup. The span of
// the keys bounds the number of rows from above.
bool one_pass_is_cheaper(SQLite::Database& db, const std::string& table, const std::string& key,
                         std::size_t wanted) {
  constexpr std::int64_t kStepsPerLookup = 4;
  SQLite::Statement span(db, "SELECT max(" + key + ") - min(" + key + ") + 1 FROM " + table);
  if (!span.executeStep() || span.getColumn(0).isNull()) return false;
  return static_cast<std::int64_t>(wanted) * kStepsPerLookup >= span.getColumn(0).getInt64();
}

// The bytes of the pages in use; free pages are not counted.
std::uint64_t live_bytes(SQLite::Database& db) {
  const std::int64_t pages = pragma(db, "page_count") - pragma(db, "freelist_count");
  return static_cast<std::uint64_t>(std::max<std::int64_t>(pages, 0)) *
         static_cast<std::uint64_t>(pragma(db, "page_size"));
}

// Entries are numbered in the order they were stored.
void drop_oldest(SQLite::Database& db, std::int64_t rows) {
  SQLite::Statement drop(
      db,
      "DELETE FROM commits WHERE seq <= (SELECT seq FROM commits ORDER BY seq LIMIT 1 OFFSET ?)");
  drop.bind(1, rows - 1);
  drop.exec();
}

void delete_each(SQLite::Database& db, const char* sql, const std::vector<std::int64_t>& keys) {
  SQLite::Statement drop(db, sql);
  for (const std::int64_t key : keys) {
    drop.reset();
    drop.bind(1, key);
    drop.exec();
  }
}

// Every remaining entry is read (pruning is rare); one that no longer
// decodes goes too.
void drop_unused_paths(SQLite::Database& db) {
  std::unordered_set<std::int64_t> named;
  std::vector<std::int64_t> damaged, unused;
  SQLite::Statement rows(db, "SELECT seq, files FROM commits");
  while (rows.executeStep()) {
    try {
      for (const StoredChange& file : decode(blob(rows.getColumn(1)))) {
        named.insert(file.path);
        named.insert(file.old_path);
      }
    } catch (const CacheError&) {
      damaged.push_back(rows.getColumn(0).getInt64());
    }
  }
  SQLite::Statement ids(db, "SELECT id FROM paths");
  while (ids.executeStep()) {
    if (!named.contains(ids.getColumn(0).getInt64())) unused.push_back(ids.getColumn(0).getInt64());
  }
  delete_each(db, "DELETE FROM commits WHERE seq = ?", damaged);
  delete_each(db, "DELETE FROM paths WHERE id = ?", unused);
}

}  // namespace

void bind_blob(SQLite::Statement& statement, int index, const std::string& value) {
  statement.bind(index, value.data(), static_cast<int>(value.size()));
}

std::int64_t pragma(const SQLite::Database& db, const char* name) {
  SQLite::Statement statement(db, std::string("PRAGMA ") + name);
  statement.executeStep();
  return statement.getColumn(0).getInt64();
}

std::vector<std::optional<StoredRow>> read_rows(SQLite::Database& db, std::uint64_t fingerprint,
                                                const std::vector<std::string>& commits) {
  std::vector<std::optional<StoredRow>> rows(commits.size());
  const auto keep = [&](std::size_t i, const SQLite::Statement& row, int first) {
    rows[i] = StoredRow{decode(blob(row.getColumn(first))),
                        static_cast<std::uint64_t>(row.getColumn(first + 1).getInt64())};
  };
  if (one_pass_is_cheaper(db, "commits", "seq", commits.size())) {
    std::unordered_map<std::string_view, std::size_t> position;
    for (std::size_t i = 0; i < commits.size(); ++i) position.emplace(commits[i], i);
    // A commit asked twice is looked up by id, where each place gets its row.
    if (position.size() == commits.size()) {
      SQLite::Statement scan(db, "SELECT id, files, checksum FROM commits WHERE fingerprint = ?");
      scan.bind(1, static_cast<std::int64_t>(fingerprint));
      while (scan.executeStep()) {
        const auto found = position.find(blob(scan.getColumn(0)));
        if (found != position.end()) keep(found->second, scan, 1);
      }
      return rows;
    }
  }
  SQLite::Statement lookup(db,
                           "SELECT files, checksum FROM commits WHERE id = ? AND fingerprint = ?");
  for (std::size_t i = 0; i < commits.size(); ++i) {
    lookup.reset();
    lookup.bind(1, commits[i]);
    lookup.bind(2, static_cast<std::int64_t>(fingerprint));
    if (lookup.executeStep()) keep(i, lookup, 0);
  }
  return rows;
}

void read_paths(SQLite::Database& db, const std::vector<std::optional<StoredRow>>& rows,
                PathTable& paths) {
  std::unordered_set<std::uint32_t> wanted;
  for (const std::optional<StoredRow>& row : rows) {
    if (!row) continue;
    for (const StoredChange& file : row->files) {
      wanted.insert(file.path);
      if (file.old_path != 0) wanted.insert(file.old_path);
    }
  }
  const auto keep = [&](std::uint32_t id, const SQLite::Statement& row, int first) {
    paths.emplace(
        id, StoredPath{row.getColumn(first).getString(), row.getColumn(first + 1).getString()});
  };
  if (one_pass_is_cheaper(db, "paths", "id", wanted.size())) {
    SQLite::Statement scan(db, "SELECT id, path, attribute FROM paths");
    while (scan.executeStep()) {
      const std::int64_t id = scan.getColumn(0).getInt64();
      if (id >= 0 && id <= std::numeric_limits<std::uint32_t>::max() &&
          wanted.contains(static_cast<std::uint32_t>(id))) {
        keep(static_cast<std::uint32_t>(id), scan, 1);
      }
    }
    return;
  }
  SQLite::Statement lookup(db, "SELECT path, attribute FROM paths WHERE id = ?");
  for (std::uint32_t id : wanted) {
    lookup.reset();
    lookup.bind(1, static_cast<std::int64_t>(id));
    if (lookup.executeStep()) keep(id, lookup, 0);
  }
}

PathWriter::PathWriter(SQLite::Database& db)
    : db_(db),
      lookup_(db, "SELECT id FROM paths WHERE path = ? AND attribute = ?"),
      insert_(db, "INSERT INTO paths (path, attribute) VALUES (?, ?)") {}

std::uint32_t PathWriter::number(const std::string& path, const std::string& attribute) {
  // Neither a path nor an attribute value holds a NUL.
  auto [known, added] = known_.try_emplace(path + '\0' + attribute, 0);
  if (!added) return known->second;
  lookup_.reset();
  bind_blob(lookup_, 1, path);
  bind_blob(lookup_, 2, attribute);
  std::int64_t id;
  if (lookup_.executeStep()) {
    id = lookup_.getColumn(0).getInt64();
  } else {
    insert_.reset();
    bind_blob(insert_, 1, path);
    bind_blob(insert_, 2, attribute);
    insert_.exec();
    id = db_.getLastInsertRowid();
  }
  if (id <= 0 || id > std::numeric_limits<std::uint32_t>::max()) {
    throw CacheError("the cache file is damaged (a path number is out of range)");
  }
  known->second = static_cast<std::uint32_t>(id);
  return known->second;
}

std::vector<std::string> distinct_paths(SQLite::Database& db, std::size_t limit) {
  SQLite::Statement query(db, "SELECT DISTINCT path FROM paths LIMIT ?");
  query.bind(1, static_cast<std::int64_t>(limit));
  std::vector<std::string> paths;
  while (query.executeStep()) paths.emplace_back(blob(query.getColumn(0)));
  return paths;
}

void prune(SQLite::Database& db, std::uint64_t max_bytes) {
  std::uint64_t live = live_bytes(db);
  if (live <= max_bytes) return;
  const std::uint64_t target = max_bytes / 4 * 3;
  // Each round drops the share of entries by which the file is over its
  // target; the pages of the indexes empty more slowly than the entries'
  // own, hence a few rounds.
  for (int round = 0; round < kPruneRounds && live > target; ++round) {
    const std::int64_t rows = db.execAndGet("SELECT count(*) FROM commits").getInt64();
    if (rows == 0) break;
    const double share = static_cast<double>(live - target) / static_cast<double>(live);
    drop_oldest(db, std::max<std::int64_t>(1, static_cast<std::int64_t>(
                                                  std::ceil(static_cast<double>(rows) * share))));
    drop_unused_paths(db);
    live = live_bytes(db);
  }
  db.exec("PRAGMA incremental_vacuum");
}

}  // namespace lomarind::commit_cache
